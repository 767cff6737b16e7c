#include "app/headless.h"

#include "app/commandline.h"
#include "app/demo.h"
#include "app/services.h"
#include "link/storeddata.h"
#include "platform/filenames.h"
#include "platform/oneshot.h"
#include "platform/progressview.h"
#include "platform/prompts.h"
#include "platform/singleinstance.h"
#include "platform/terminal.h"
#include "resources/strings.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QLoggingCategory>
#include <QScopeGuard>

#include <utility>

namespace px40 {

namespace {

/// There is nobody to ask: texts are kept, questions are answered with Cancel.
class NobodyToAsk : public Prompts
{
  public:
    QCoro::Task<void> Warn(QString text) override
    {
        told = text;
        const OneShot<bool> turn;
        const auto complete = [turn] { turn.Complete(true); };
        QMetaObject::invokeMethod(QCoreApplication::instance(), complete, Qt::QueuedConnection);
        co_await turn;
    }
    QCoro::Task<Answer> AskYesNoCancel(QString, PromptIcon) override { co_return Answer::Cancel; }
    QCoro::Task<QString> AskOpenFile(QString) override { co_return QString(); }
    QCoro::Task<QString> AskSaveFile(QString, QString, QString) override { co_return QString(); }
    void DismissAll() override {}

    QString told; ///< the last text
};

/// One line on the terminal that counts up.
class ProgressLine : public ProgressView
{
  public:
    void Show() override {}
    void SetCaption(const QString &) override {}
    void SetMessage(const QString &message) override { message_ = message; }
    void RenProgress(bool, int current, int total) override
    {
        if (current > 0 && total > 0)
            ShowOnTerminal(QStringLiteral("%1 %2/%3").arg(message_).arg(current).arg(total));
    }
    void DisableCancel() override {}
    void Unload() override { ShowOnTerminal(QString()); }

  private:
    QString message_;
};

QString About(const QString &file, const QString &sentence)
{
    return file + QStringLiteral(": ") + sentence;
}

int PortToUse(const CommandLine &line, const Services &services)
{
    if (line.downloadPort != 0)
        return line.downloadPort;
    if (services.simulated)
        return PortMap::First;
    return line.portDevices.isEmpty() ? services.settings.PortNumber() : line.portDevices.constFirst().first;
}

/// How it ended.
struct Outcome
{
    bool good = false;
    QString reason; ///< why not
};

bool PrintResult(const DataSet &dataSet)
{
    bool printed = true;
    for (const auto &[label, text] : {std::pair(Str::StatisticMax, dataSet.GetDispmax(true)),
                                      std::pair(Str::StatisticMin, dataSet.GetDispmin(true)),
                                      std::pair(Str::StatisticAvg, dataSet.GetDispavg())})
        printed = PrintLine(Text(label) + u' ' + text) && printed;
    return printed;
}

QCoro::Task<void> Download(Services *services, NobodyToAsk *prompts, QString name, Outcome *outcome)
{
    const bool opened = co_await services->comm.OpenPort();
    outcome->reason = FirstLine(prompts->told);
    if (!opened)
        co_return;
    ProgressLine progress;
    StoredData storedData(services->state, services->gate, services->comm, *prompts, progress);
    services->shared.MemoryNumbers = true;
    const auto dataSet = std::make_shared<DataSet>(services->state, services->shared);
    dataSet->OpenNew(KindMemory);
    services->gate.Take();
    const bool complete = co_await storedData.ReceiveMemoryData(dataSet);
    services->comm.ClosePort();
    outcome->reason = FirstLine(prompts->told);
    if (!complete)
        co_return;
    if (!dataSet->SaveFile(name))
        outcome->reason = About(name, services->state.ErrorMessage);
    else if (!PrintResult(*dataSet))
        outcome->reason = Text(Str::NotPrinted);
    else if (const int unreadable = dataSet->UnreadableCount(); unreadable > 0)
        outcome->reason = About(name, Text(Str::FileUnreadable).arg(unreadable).arg(dataSet->GetDatacount()));
    else
        outcome->good = true;
}

QCoro::Task<void> DownloadAndQuit(Services *services, NobodyToAsk *prompts, QString name, Outcome *outcome)
{
    const auto quit = qScopeGuard([] { QCoreApplication::quit(); });
    co_await Download(services, prompts, name, outcome);
}

/// Nothing but the one sentence is to stand on the error stream, unless somebody asks for more.
void KeepLogsQuiet()
{
    if (qEnvironmentVariableIsEmpty("QT_LOGGING_RULES"))
        QLoggingCategory::setFilterRules(QStringLiteral("default.warning=false\npx40.*=false"));
}

int Fail(const QString &sentence)
{
    PrintError(sentence.simplified());
    return 1;
}

} // namespace

int RunDownload(const CommandLine &line)
{
    KeepLogsQuiet();
    SingleInstance instance(QStringLiteral("px40ap"));
    if (!instance.Acquire())
        return Fail(Text(Str::OtherCopyRuns));
    const QString name = QDir::toNativeSeparators(QFileInfo(line.downloadTo).absoluteFilePath());
    // Looked at now, not after a download that nobody can keep.
    const QFileInfo target(name);
    if (!QFileInfo(target.path()).isDir())
        return Fail(About(target.path(), Text(Str::FolderNotThere)));
    if (target.exists() && !target.isFile())
        return Fail(About(name, Text(Str::FileNotRegular)));
    if (!MayBeWritten(name))
        return Fail(About(name, Text(Str::FileReadOnly)));

    QString error;
    const QString folder = DataFolder(line.dataFolder, &error);
    if (!error.isEmpty())
        return Fail(error);
    NobodyToAsk prompts;
    Services services(UserStore(Text(Str::ApplicationTitle)), PathsIn(folder), prompts);
    const std::unique_ptr<Demo> demo = TakePorts(line, services, &error);
    if (!error.isEmpty())
        return Fail(error);
    services.settings.ReadFile();
    services.comm.SetPortNumber(PortToUse(line, services));

    Outcome outcome;
    services.jobs.Launch(DownloadAndQuit(&services, &prompts, name, &outcome), "download");
    if (services.jobs.Running() > 0)
        QCoreApplication::exec();
    if (outcome.good)
        return 0;
    return Fail(outcome.reason.isEmpty() ? Text(Str::DownloadFailed) : outcome.reason);
}

} // namespace px40
