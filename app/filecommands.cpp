#include "app/filecommands.h"

#include "document/dataset.h"
#include "link/linkstate.h"
#include "platform/filenames.h"
#include "platform/prompts.h"
#include "resources/strings.h"

#include <QDir>
#include <QFileInfo>
#include <QScopeGuard>

namespace px40 {

namespace {

QString DataSuffix()
{
    return QStringLiteral("CSV");
}

QString DataFilter()
{
    return QStringLiteral("%1 (*.%2)").arg(Text(Str::CsvFiles), DataSuffix());
}

QString Lines(const QStringList &lines)
{
    return lines.join(QStringLiteral("\r\n"));
}

} // namespace

FileCommands::FileCommands(LinkState &state, Prompts &prompts, const Clock &clock, OpenSets openSets,
                           ShowBusy showBusy, Saved saved)
    : state_(&state), prompts_(&prompts), clock_(&clock), openSets_(std::move(openSets)),
      showBusy_(std::move(showBusy)), saved_(std::move(saved))
{
}

bool FileCommands::Busily(bool (DataSet::*work)(const QString &), DataSet *set, const QString &name) const
{
    showBusy_(true);
    const bool done = (set->*work)(name);
    showBusy_(false);
    return done;
}

QCoro::Task<QString> FileCommands::AskOpen()
{
    return prompts_->AskOpenFile(DataFilter(), QString());
}

bool FileCommands::IsFileOpen(const QString &name) const
{
    return IsOpenElsewhere(nullptr, name);
}

bool FileCommands::IsOpenElsewhere(const DataSet *set, const QString &name) const
{
    const QList<std::shared_ptr<DataSet>> sets = openSets_();
    for (const std::shared_ptr<DataSet> &open : sets) {
        if (open.get() != set && IsFileKind(DataKind(open->Kind())) && SameFile(open->GetFilename(), name))
            return true;
    }
    return false;
}

QCoro::Task<bool> FileCommands::Load(std::shared_ptr<DataSet> set, QString name)
{
    if (Busily(&DataSet::OpenFile, set.get(), name))
        co_return true;
    const QString text = Lines({state_->ErrorMessage, name});
    co_await prompts_->Warn(text);
    co_return false;
}

QCoro::Task<bool> FileCommands::Save(std::shared_ptr<DataSet> set)
{
    if (saving_.contains(set.get()))
        co_return false;
    saving_.insert(set.get());
    const auto leave = qScopeGuard([this, set] { saving_.remove(set.get()); });
    const QString name = set->GetFilename();
    bool saved = false;
    if (!name.isEmpty() && MayBeWritten(name)) {
        saved = co_await Write(set, name);
        co_return saved;
    }
    if (!name.isEmpty()) {
        const QString text = Lines({Text(Str::FileReadOnly), Text(Str::OtherFilename), name});
        co_await prompts_->Warn(text);
    }
    saved = co_await AskAndSave(set);
    co_return saved;
}

QCoro::Task<bool> FileCommands::SaveAs(std::shared_ptr<DataSet> set)
{
    if (saving_.contains(set.get()))
        co_return false;
    saving_.insert(set.get());
    const auto leave = qScopeGuard([this, set] { saving_.remove(set.get()); });
    const bool saved = co_await AskAndSave(set);
    co_return saved;
}

QCoro::Task<bool> FileCommands::AskAndSave(std::shared_ptr<DataSet> set)
{
    const QString own = set->GetFilename();
    const QString filter = DataFilter();
    const QString suffix = DataSuffix();
    // A name from the command line may be relative, while a new one goes into the dialog's own folder.
    QString proposed =
        own.isEmpty() ? ProposedName(set->Caption(), *clock_, suffix) : QFileInfo(own).absoluteFilePath();
    bool saved = false;
    while (true) {
        const QString answer = co_await prompts_->AskSaveFile(proposed, filter, suffix);
        if (answer.isEmpty())
            co_return false;
        const QString name = QDir::toNativeSeparators(answer);
        QString refusal;
        if (!SameFile(name, own) && IsOpenElsewhere(set.get(), name))
            refusal = Lines({Text(Str::FileAlreadyOpen), Text(Str::OtherFilenameOpen), name});
        else if (!MayBeWritten(name))
            refusal = Lines({Text(Str::FileReadOnly), Text(Str::OtherFilename), name});
        if (refusal.isEmpty()) {
            saved = co_await Write(set, name);
            co_return saved;
        }
        co_await prompts_->Warn(refusal);
        proposed = name; // to be changed
    }
}

QCoro::Task<bool> FileCommands::Write(std::shared_ptr<DataSet> set, QString name)
{
    if (Busily(&DataSet::SaveFile, set.get(), name)) {
        saved_(set->GetFilename());
        co_return true;
    }
    const QString text = Lines({state_->ErrorMessage, name, NothingSaved(name)});
    co_await prompts_->Warn(text);
    co_return false;
}

} // namespace px40
