#include "app/headlessexport.h"

#include "app/commandline.h"
#include "app/services.h"
#include "app/unattended.h"
#include "forward/forwarder.h"
#include "forward/xlsxfile.h"
#include "platform/terminal.h"
#include "resources/strings.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QScopeGuard>
#include <QTemporaryDir>

#include <utility>

namespace px40 {

namespace {

/// Answers with the name for a new workbook that the command line gives, but not a second time, and not when
/// there is a file by now.
class ExportPrompts : public NobodyToAsk
{
  public:
    explicit ExportPrompts(const QString &workbook) : workbook_(workbook), newName_(workbook) {}

    /// What to do about another program that has the workbook open, or has made it meanwhile.
    QCoro::Task<int> AskOneOf(QString, QStringList choices) override
    {
        taken = !choices.contains(Text(Str::Retry));
        if (!taken)
            held = Text(Str::ExportInUse).arg(XlsxFile::HolderOf(workbook_));
        co_return static_cast<int>(choices.size()) - 1;
    }
    QCoro::Task<QString> AskSaveFile(QString, QString, QString) override
    {
        taken = QFileInfo::exists(workbook_);
        co_return taken ? QString() : std::exchange(newName_, QString());
    }
    const QString &Name() const { return workbook_; }

    QString held;       ///< who has the workbook open
    bool taken = false; ///< what was to be new is there by now

  private:
    QString workbook_;
    QString newName_;
};

/// The data set of a file, headed as after a download if it is one; null with the reason in `ErrorMessage`.
std::shared_ptr<DataSet> Load(const QString &name, Services *services)
{
    auto dataSet = std::make_shared<DataSet>(services->state, services->shared);
    bool loaded = dataSet->OpenFile(name);
    if (loaded && DataKind(dataSet->Kind()) == KindMemory) {
        services->shared.MemoryNumbers = true;
        dataSet = std::make_shared<DataSet>(services->state, services->shared);
        loaded = dataSet->OpenFile(name);
    }
    return loaded ? dataSet : nullptr;
}

QCoro::Task<void> Export(Services *services, ExportPrompts *prompts, std::shared_ptr<DataSet> dataSet,
                         ForwardChoice choice, Outcome *outcome)
{
    const auto quit = qScopeGuard([] { QCoreApplication::quit(); });
    const ForwardServices forwardServices = {services->state, *prompts, services->clock, services->store, {}};
    ProgressLine progress;
    Forwarder forwarder(forwardServices, services->gate, progress);
    ForwardOutcome forwarded = co_await forwarder.ForwardData(dataSet, choice);
    if (prompts->taken) {
        choice.fileName = prompts->Name();
        forwarded = co_await forwarder.ForwardData(dataSet, choice);
    }
    outcome->good = forwarded.done;
    outcome->reason = prompts->held.isEmpty() ? FirstLine(prompts->told) : prompts->held;
}

} // namespace

int RunExport(const CommandLine &line)
{
    KeepLogsQuiet();
    const QString name = QDir::toNativeSeparators(QFileInfo(line.exportFrom).absoluteFilePath());
    const QString workbook = QDir::toNativeSeparators(QFileInfo(line.exportTo).absoluteFilePath());
    const QFileInfo target(workbook);
    if (!QFileInfo(target.path()).isDir())
        return Fail(About(target.path(), Text(Str::FolderNotThere)));
    if (target.exists() && !target.isFile())
        return Fail(About(workbook, Text(Str::FileNotRegular)));

    // A work file of its own: a program that is open has the other one.
    const QTemporaryDir folder;
    if (!folder.isValid())
        return Fail(folder.errorString());
    ExportPrompts prompts(workbook);
    Services services(UserStore(Text(Str::ApplicationTitle)), PathsIn(folder.path()), prompts);
    const std::shared_ptr<DataSet> dataSet = Load(name, &services);
    if (!dataSet)
        return Fail(About(name, services.state.ErrorMessage));

    const ForwardChoice choice = {target.exists() ? workbook : QString(), line.exportTitle, false};
    Outcome outcome;
    services.jobs.Launch(Export(&services, &prompts, dataSet, choice, &outcome), "export");
    if (services.jobs.Running() > 0)
        QCoreApplication::exec();
    if (!outcome.good)
        return Fail(About(workbook, outcome.reason.isEmpty() ? Text(Str::ExportFailed) : outcome.reason));
    const int rows = dataSet->GetDatacount();
    const QString count = rows == 1 ? Text(Str::OneRow) : Text(Str::Rows).arg(rows);
    return PrintLine(Text(Str::ForwardDone).arg(count, workbook)) ? 0 : Fail(Text(Str::NotPrinted));
}

} // namespace px40
