#include "app/headlessexport.h"

#include "app/commandline.h"
#include "app/services.h"
#include "app/unattended.h"
#include "forward/forwarder.h"
#include "forward/xlsxfile.h"
#include "platform/files.h"
#include "platform/terminal.h"
#include "resources/strings.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QScopeGuard>
#include <QTemporaryDir>

#include <memory>
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
    const ForwardServices forwardServices = {services->state, *prompts, services->clock,
                                             services->store, {},       {}};
    ProgressLine progress;
    Forwarder forwarder(forwardServices, services->gate, progress);
    ForwardOutcome forwarded = co_await forwarder.ForwardData(dataSet, choice);
    if (prompts->taken) {
        choice.fileName = prompts->Name();
        forwarded = co_await forwarder.ForwardData(dataSet, choice);
    }
    outcome->code = forwarded.done ? ExitDone : ExitNothingChanged;
    if (!forwarded.done)
        outcome->told << (prompts->held.isEmpty() ? FirstLine(prompts->told) : prompts->held);
}

/// The file that is written, and where it goes from there.
struct Target
{
    QString workbook;
    QString told; ///< what the user calls it
    bool toOutput = false;
    QFile output;
    std::unique_ptr<QTemporaryDir> folder; ///< of what goes to the standard output
};

/// False with the reason in `outcome`.
bool Prepare(const QString &to, Target *target, Outcome *outcome)
{
    target->toOutput = to == ToOutput;
    if (target->toOutput) {
        target->told = Text(Str::StandardOutput);
        target->folder = std::make_unique<QTemporaryDir>();
        target->workbook = target->folder->filePath(QStringLiteral("PX40.xlsx"));
        QString error;
        if (IsOutputTerminal())
            *outcome = {ExitWrongOptions, {Text(Str::WorkbookOnTerminal)}};
        else if (!target->folder->isValid()) // a workbook is not written from its beginning to its end
            outcome->told << About(QDir::tempPath(), target->folder->errorString());
        else if (!OpenOutput(&target->output, &error))
            outcome->told << About(target->told, error);
        return outcome->told.isEmpty();
    }
    const QFileInfo file(to);
    target->workbook = QDir::toNativeSeparators(file.absoluteFilePath());
    target->told = target->workbook;
    const QString folder = QFileInfo(target->workbook).path();
    if (!QFileInfo(folder).isDir())
        outcome->told << About(folder, Text(Str::FolderNotThere));
    else if (file.exists() && !file.isFile())
        outcome->told << About(target->workbook, Text(Str::FileNotRegular));
    return outcome->told.isEmpty();
}

/// Sends it to where it is to go. False with the reason in `error`.
bool Deliver(Target *target, QString *error)
{
    if (!target->toOutput)
        return true;
    QFile written(target->workbook);
    if (written.open(QIODevice::ReadOnly | QIODevice::Unbuffered))
        return CopyBytes(written, target->output, error, error);
    *error = written.errorString();
    return false;
}

} // namespace

int RunExport(const CommandLine &line)
{
    KeepLogsQuiet();
    Outcome outcome;
    Target target;
    if (!Prepare(line.exportTo, &target, &outcome))
        return End(outcome);

    // Without a work file: a program that is open has the one there is.
    const QString name = QDir::toNativeSeparators(QFileInfo(line.exportFrom).absoluteFilePath());
    ExportPrompts prompts(target.workbook);
    Services services(UserStore(Text(Str::ApplicationTitle)), Paths(), prompts);
    const std::shared_ptr<DataSet> dataSet = Load(name, &services);
    if (!dataSet)
        return Fail(About(name, services.state.ErrorMessage));

    const bool grows = QFileInfo::exists(target.workbook);
    const ForwardChoice choice = {grows ? target.workbook : QString(), line.exportTitle, false};
    services.jobs.Launch(Export(&services, &prompts, dataSet, choice, &outcome), "export");
    if (services.jobs.Running() > 0)
        QCoreApplication::exec();
    QString error = outcome.told.join(u' ');
    if (outcome.code != ExitDone || !Deliver(&target, &error))
        return Fail(About(target.told, error.isEmpty() ? Text(Str::ExportFailed) : error));
    const int rows = dataSet->GetDatacount();
    const QString count = rows == 1 ? Text(Str::OneRow) : Text(Str::Rows).arg(rows);
    const bool printed = target.toOutput || PrintLine(Text(Str::ForwardDone).arg(count, target.workbook));
    TellWritten(target.told, *dataSet, printed, &outcome);
    return End(outcome);
}

} // namespace px40
