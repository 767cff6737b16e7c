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
#include <QFile>
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

/// What there is to say of a complete download.
QString ResultText(const DataSet &dataSet, int records)
{
    if (DataKind(dataSet.Kind()) == KindSave)
        return Text(Str::SaveModeReceived).arg(records);
    QStringList lines;
    for (const auto &[label, text] : {std::pair(Str::StatisticMax, dataSet.GetDispmax(true)),
                                      std::pair(Str::StatisticMin, dataSet.GetDispmin(true)),
                                      std::pair(Str::StatisticAvg, dataSet.GetDispavg())})
        lines << Text(label) + u' ' + text;
    return lines.join(u'\n');
}

/// Everything that a download without a window needs; `name`: the file, empty for the standard output.
struct Job
{
    Services *services;
    NobodyToAsk *prompts;
    StoredData::Mode mode;
    QString name;
    QFile *output;
    Outcome *outcome;
};

/// Puts a complete download where it is to go.
void Keep(const Job &job, DataSet *dataSet, const QString &result)
{
    Outcome &outcome = *job.outcome;
    if (job.name.isEmpty()) {
        QString reason;
        if (dataSet->Write(*job.output, &reason))
            TellWritten(Text(Str::StandardOutput), *dataSet, true, &outcome);
        else
            outcome.told << About(Text(Str::StandardOutput), reason);
        return;
    }
    if (dataSet->SaveFile(job.name))
        TellWritten(job.name, *dataSet, PrintLine(result), &outcome);
    else
        outcome.told << About(job.name,
                              Sentence(job.services->state.ErrorMessage) + u' ' + NothingSaved(job.name));
    if (!job.services->shared.WorkNote.isEmpty())
        outcome.told << job.services->shared.WorkNote;
}

QCoro::Task<void> Download(Job job)
{
    Services *const services = job.services;
    const bool opened = co_await services->comm.OpenPort();
    bool complete = false;
    ProgressLine progress;
    StoredData storedData(services->state, services->gate, services->comm, *job.prompts, progress);
    services->shared.MemoryNumbers = job.mode == StoredData::Mode::Memory;
    const auto dataSet = std::make_shared<DataSet>(services->state, services->shared);
    dataSet->OpenNew(job.mode == StoredData::Mode::Save ? KindSave : KindMemory);
    if (opened)
        complete = co_await storedData.Receive(job.mode, dataSet);
    services->comm.ClosePort();
    const QString reason = FirstLine(job.prompts->told);
    if (!complete)
        job.outcome->told << (reason.isEmpty() ? Text(Str::DownloadFailed) : reason);
    else if (job.mode == StoredData::Mode::Save && storedData.Records() == 0)
        job.outcome->told << Text(Str::SaveModeNone);
    else
        Keep(job, dataSet.get(), ResultText(*dataSet, storedData.Records()));
}

QCoro::Task<void> DownloadAndQuit(Job job)
{
    const auto quit = qScopeGuard([] { QCoreApplication::quit(); });
    co_await Download(job);
}

/// Why no file of that name will be written; empty when one can.
QString WhyNotWritten(const QString &name)
{
    const QFileInfo target(name);
    if (!QFileInfo(target.path()).isDir())
        return About(target.path(), Text(Str::FolderNotThere));
    if (target.exists() && !target.isFile())
        return About(name, Text(Str::FileNotRegular));
    return MayBeWritten(name) ? QString() : About(name, Text(Str::FileReadOnly));
}

} // namespace

int RunDownload(const CommandLine &line)
{
    KeepLogsQuiet();
    SingleInstance instance(QStringLiteral("px40ap"));
    if (!instance.Acquire())
        return Fail(Text(Str::OtherCopyRuns));
    // Looked at now, not after a download that nobody can keep.
    QString name;
    QFile output;
    QString error;
    if (line.downloadTo == ToOutput) {
        if (!OpenOutput(&output, &error))
            return Fail(About(Text(Str::StandardOutput), error));
    } else {
        name = QDir::toNativeSeparators(QFileInfo(line.downloadTo).absoluteFilePath());
        error = WhyNotWritten(name);
        if (!error.isEmpty())
            return Fail(error);
    }

    NobodyToAsk prompts;
    Services services(UserStore(Text(Str::ApplicationTitle)), PathsIn(DataFolder(line.dataFolder)), prompts);
    const std::unique_ptr<Demo> demo = TakePorts(line, services, &error);
    if (!error.isEmpty())
        return Fail(error);
    services.settings.ReadFile();
    services.comm.SetPortNumber(PortToUse(line, services));

    Outcome outcome;
    const StoredData::Mode mode = line.saveMode ? StoredData::Mode::Save : StoredData::Mode::Memory;
    const Job job = {&services, &prompts, mode, name, &output, &outcome};
    services.jobs.Launch(DownloadAndQuit(job), "download");
    if (services.jobs.Running() > 0)
        QCoreApplication::exec();
    const bool unsaid = outcome.code == ExitNothingChanged && outcome.told.isEmpty();
    return unsaid ? Fail(Text(Str::DownloadFailed)) : End(outcome);
}

} // namespace px40
