#include "app/cli/download.h"

#include "acquire/storeddata.h"
#include "app/cli/commandline.h"
#include "app/cli/console.h"
#include "app/cli/ports.h"
#include "app/services.h"
#include "platform/filenames.h"
#include "platform/singleinstance.h"
#include "platform/terminal.h"
#include "resources/strings.h"

#include <QScopeGuard>

namespace px40 {

namespace {

QCoro::Task<Result<>> Download(Services *services, StoredData *download, bool needsRecords)
{
    const auto close = qScopeGuard([services] { services->comm.ClosePort(); });
    Result<> received = services->comm.OpenPort();
    if (received)
        received = co_await download->Receive();
    if (!received)
        co_return Fail(FirstLine(received.error().text));
    if (needsRecords && download->Records() == 0)
        co_return Fail(Text(Str::SaveModeNone));
    co_return received;
}

/// Puts a whole download where it is to go.
Result<> Keep(Target *target, DataSet *dataSet)
{
    const Result<> kept = target->toOutput ? dataSet->Write(target->output) : dataSet->SaveFile(target->name);
    if (kept)
        return {};
    QString error = kept.error().text;
    if (!target->toOutput)
        error = Sentence(error) + u' ' + NothingSaved(target->name);
    return Fail(About(target->name, error));
}

bool PrintStatistics(const DataSet &dataSet)
{
    return PrintLine(Text(Str::StatisticMax) + u' ' + dataSet.GetDispmax(true) + u'\n' +
                     Text(Str::StatisticMin) + u' ' + dataSet.GetDispmin(true) + u'\n' +
                     Text(Str::StatisticAvg) + u' ' + dataSet.GetDispavg());
}

} // namespace

int RunDownload(const CommandLine &line)
{
    KeepLogsQuiet();
    SingleInstance instance(QStringLiteral("px40ap"));
    if (!instance.Acquire())
        return EndFailed({Text(Str::OtherCopyRuns)});
    Target target;
    if (const Result<> prepared = Prepare(line.downloadTo, &target); !prepared)
        return EndFailed(prepared.error());
    if (!target.toOutput && !MayBeWritten(target.name))
        return EndFailed({About(target.name, Text(Str::FileReadOnly))});

    DecliningPrompts prompts;
    Paths paths = PathsFor(line.dataFolder);
    paths.UnsavedPath.clear(); // the instrument keeps its readings
    Services services(StoreFor(paths), paths, prompts);
    TakePorts(line, services);
    ChoosePort(line, services);

    const StoredData::Mode mode = line.saveMode ? StoredData::Mode::Save : StoredData::Mode::Memory;
    services.shared.MemoryNumbers = !line.saveMode;
    const auto dataSet = std::make_shared<DataSet>(services.shared);
    dataSet->OpenNew(line.saveMode ? KindSave : KindMemory);
    ProgressLine progress;
    StoredData download(services.link, progress, mode, dataSet);
    Result<> kept =
        RunToEnd(services.jobs, Download(&services, &download, line.saveMode), Text(Str::DownloadFailed));
    if (kept)
        kept = Keep(&target, dataSet.get());
    int code = ExitNothingChanged;
    if (kept) {
        const bool printed =
            target.toOutput || (line.saveMode ? PrintLine(Counted(Str::SaveModeReceived, download.Records()))
                                              : PrintStatistics(*dataSet));
        code = EndWritten(target.name, *dataSet, printed);
    } else {
        code = EndFailed(kept.error());
    }
    if (!services.shared.WorkNote.isEmpty())
        PrintError(services.shared.WorkNote.simplified());
    return code;
}

} // namespace px40
