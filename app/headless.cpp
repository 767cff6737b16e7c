#include "app/headless.h"

#include "app/commandline.h"
#include "app/demo.h"
#include "app/services.h"
#include "app/unattended.h"
#include "link/storeddata.h"
#include "platform/filenames.h"
#include "platform/singleinstance.h"
#include "platform/terminal.h"
#include "resources/strings.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QScopeGuard>

#include <utility>

namespace px40 {

namespace {

int PortToUse(const CommandLine &line, const Services &services)
{
    if (line.downloadPort != 0)
        return line.downloadPort;
    if (services.simulated)
        return PortMap::First;
    return line.portDevices.isEmpty() ? services.settings.PortNumber() : line.portDevices.constFirst().first;
}

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
