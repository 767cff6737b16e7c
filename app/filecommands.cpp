#include "app/filecommands.h"

#include "app/mainviews.h"
#include "app/services.h"
#include "document/dataset.h"
#include "document/leftjournals.h"
#include "platform/filenames.h"
#include "platform/prompts.h"
#include "platform/waiting.h"
#include "resources/strings.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLocale>
#include <QRegularExpression>
#include <QScopeGuard>
#include <QScopedValueRollback>

#include <algorithm>
#include <utility>

namespace px40 {

namespace {

const QString DataSuffix = QStringLiteral("CSV");

QString DataFilter()
{
    return QStringLiteral("%1 (*.%2)").arg(Text(Str::CsvFiles), DataSuffix);
}

QString Lines(const QStringList &lines)
{
    return lines.join(QStringLiteral("\r\n"));
}

/// Whether the file to which a data set was saved still holds just those rows: another one may have its name.
bool IsFileOf(const JournalContents &contents)
{
    QFile file(contents.about.fileName);
    const Result<DataFile> held = file.open(QIODevice::ReadOnly) ? ReadDataFile(file) : Fail(QString());
    const RowStore &rows = contents.data.rows;
    if (!held || held->rows.Count() != contents.about.savedRows || held->rows.Count() > rows.Count())
        return false;
    for (qsizetype row = 0; row < held->rows.Count(); ++row) {
        if (held->rows.Raw(row) != rows.Raw(row))
            return false;
    }
    return held->rows.Count() > 0;
}

} // namespace

FileCommands::FileCommands(Services &services, MainViews &views)
    : services_(&services), views_(&views), recent_(services.store)
{
}

std::shared_ptr<DataSet> FileCommands::HolderOf(const QString &name, const DataSet *butFor) const
{
    const QList<std::shared_ptr<DataSet>> sets = views_->DataSets();
    for (const std::shared_ptr<DataSet> &set : sets) {
        if (set.get() != butFor && IsFileKind(set->Kind()) && SameFile(set->GetFilename(), name))
            return set;
    }
    return nullptr;
}

QCoro::Task<void> FileCommands::AskAndOpen()
{
    const QString filter = DataFilter();
    const QString name = co_await services_->prompts.AskOpenFile(filter, QString());
    if (name.isEmpty())
        co_return;
    const QStringList names(name);
    co_await Open(names);
}

QCoro::Task<void> FileCommands::Open(QStringList names)
{
    QString message; // of the last one
    for (int i = 0; i < names.size(); ++i) {
        const QString name = QDir::toNativeSeparators(QFileInfo(names.at(i)).absoluteFilePath());
        if (services_->leaving)
            co_return;
        if (IsFileOpen(name))
            continue;
        // The window is made after the file was read, so that an unreadable one leaves no empty window.
        const auto dataSet = std::make_shared<DataSet>(services_->shared);
        views_->ShowBusy(true);
        const Result<> opened = dataSet->OpenFile(name);
        views_->ShowBusy(false);
        if (!opened) {
            services_->state.ErrorMessage = opened.error().text;
            const QString text = Lines({services_->state.ErrorMessage, name});
            co_await services_->prompts.Warn(text);
            if (!QFileInfo::exists(name))
                recent_.Remove(name);
            continue;
        }
        recent_.Add(name);
        views_->AddDataWindow(dataSet, true);
        const QString fileName = QFileInfo(name).fileName();
        message = Counted(Str::FileOpened, dataSet->GetDatacount()).arg(fileName);
    }
    if (!message.isEmpty())
        Tell(message);
}

QCoro::Task<void> FileCommands::OpenRecent(QString name)
{
    if (const std::shared_ptr<DataSet> open = HolderOf(name))
        views_->BringToFront(open);
    const QStringList names(name);
    co_await Open(names);
}

QCoro::Task<bool> FileCommands::Save(std::shared_ptr<DataSet> set, bool underNewName)
{
    if (saving_.contains(set.get()))
        co_return false;
    saving_.insert(set.get());
    const auto leave = qScopeGuard([this, set] { saving_.remove(set.get()); });
    const QString name = underNewName ? QString() : set->GetFilename();
    bool saved = false;
    if (!name.isEmpty() && MayBeWritten(name)) {
        saved = co_await Write(set, name);
        co_return saved;
    }
    if (!name.isEmpty()) {
        const QString text = Lines({Text(Str::FileReadOnly), Text(Str::OtherFilename), name});
        co_await services_->prompts.Warn(text);
    }
    saved = co_await AskAndSave(set);
    co_return saved;
}

QCoro::Task<bool> FileCommands::AskAndSave(std::shared_ptr<DataSet> set)
{
    const QString own = set->GetFilename();
    const QString filter = DataFilter();
    // A name from the command line may be relative, but only a new name is meant for the dialog's folder.
    QString proposed = own.isEmpty() ? ProposedName(set->Caption(), services_->clock, DataSuffix)
                                     : QFileInfo(own).absoluteFilePath();
    bool saved = false;
    while (true) {
        const QString answer = co_await services_->prompts.AskSaveFile(proposed, filter);
        if (answer.isEmpty())
            co_return false;
        const QString name = QDir::toNativeSeparators(answer);
        QString refusal;
        if (!SameFile(name, own) && HolderOf(name, set.get()))
            refusal = Lines({Text(Str::FileAlreadyOpen), Text(Str::OtherFilenameOpen), name});
        else if (!MayBeWritten(name))
            refusal = Lines({Text(Str::FileReadOnly), Text(Str::OtherFilename), name});
        if (refusal.isEmpty()) {
            saved = co_await Write(set, name);
            co_return saved;
        }
        co_await services_->prompts.Warn(refusal);
        proposed = name; // for the user to change
    }
}

QCoro::Task<bool> FileCommands::Write(std::shared_ptr<DataSet> set, QString name)
{
    views_->ShowBusy(true);
    const Result<> saved = set->SaveFile(name);
    views_->ShowBusy(false);
    if (saved) {
        recent_.Add(set->GetFilename());
        Tell(Text(Str::FileSaved).arg(QFileInfo(set->GetFilename()).fileName()));
        co_return true;
    }
    services_->state.ErrorMessage = saved.error().text;
    const QString text = Lines({services_->state.ErrorMessage, name, NothingSaved(name)});
    co_await services_->prompts.Warn(text);
    co_return false;
}

QCoro::Task<bool> FileCommands::ConfirmClose(std::shared_ptr<DataSet> set)
{
    if (set->Saved())
        co_return true;
    views_->Activate(set);
    const QString question = Lines({Text(Str::AskSaveChanges), set->Caption()});
    const Answer answer = co_await services_->prompts.AskYesNoCancel(question, PromptIcon::Exclamation);
    if (answer != Answer::Yes)
        co_return answer == Answer::No;
    co_await Save(set);
    co_return set->Saved();
}

QCoro::Task<void> FileCommands::SaveGraph(std::shared_ptr<DataSet> set,
                                          std::function<Result<>(const QString &)> write)
{
    const QFileInfo file(set->GetFilename());
    const QString proposal =
        file.fileName().isEmpty() ? set->Caption() : file.path() + u'/' + file.completeBaseName();
    const QString filter = Text(Str::GraphFilePng) + QStringLiteral(" (*.png);;") + Text(Str::GraphFileSvg) +
                           QStringLiteral(" (*.svg);;") + Text(Str::GraphFilePdf) +
                           QStringLiteral(" (*.pdf)");
    const QString name = co_await services_->prompts.AskSaveFile(proposal, filter);
    if (name.isEmpty())
        co_return;
    const Result<> written = write(name);
    if (written)
        co_return;
    const QString text = Lines({written.error().text, name, NothingSaved(name)});
    co_await services_->prompts.Warn(text);
}

/// Gives each data set that was left unsaved a window, and tells in the status bar what came back.
QCoro::Task<void> FileCommands::Recover()
{
    const QString folder = services_->journals.Folder();
    if (!services_->shared.journals || !QFileInfo(folder).isDir())
        co_return;
    const auto left = std::make_shared<LeftSets>();
    const OneShot<bool> read = RunInThread([left, folder] { *left = TakeLeftJournals(folder); });
    co_await read;
    if (services_->leaving)
        co_return;
    QStringList sets;
    for (LeftSet &one : left->sets)
        sets << Show(std::move(one));
    QStringList told = left->complaints;
    if (!sets.isEmpty())
        told.prepend(Text(Str::RecoveredSets).arg(sets.join(QStringLiteral("; "))));
    if (!told.isEmpty())
        services_->statusLine.Warn(told.join(u' '));
}

/// Gives a data set that was left unsaved its window, and tells of it.
QString FileCommands::Show(LeftSet &&left)
{
    const JournalAbout &about = left.contents.about;
    DocumentShared &shared = services_->shared;
    const QString told =
        Counted(Str::RecoveredSet, left.contents.data.rows.Count())
            .arg(QFileInfo(about.caption).fileName(), QLocale().toString(about.begun, QLocale::ShortFormat));
    static const QRegularExpression newName(QStringLiteral("^(\\d{1,5})New$"));
    const QRegularExpressionMatch number = newName.match(about.caption);
    if (number.hasMatch()) // the next new one has another name
        shared.NewCount = std::max(shared.NewCount, number.captured(1).toInt());
    const bool keepsFile = !about.fileName.isEmpty() && !HolderOf(about.fileName) && IsFileOf(left.contents);
    const QScopedValueRollback<bool> heading(shared.MemoryNumbers, about.memoryNumbers);
    const auto dataSet = std::make_shared<DataSet>(shared);
    dataSet->Recover(std::move(left.contents), std::move(left.journal), keepsFile);
    views_->AddDataWindow(dataSet, true);
    return told;
}

/// Shows the text in the status bar; with a note about the work file for a while even during a run.
void FileCommands::Tell(const QString &text) const
{
    const QString note = std::exchange(services_->shared.WorkNote, QString());
    if (note.isEmpty())
        services_->statusLine.Show(text);
    else
        services_->statusLine.Warn(text + u' ' + note);
}

} // namespace px40
