#include "app/cli/export.h"

#include "app/cli/commandline.h"
#include "app/cli/console.h"
#include "app/services.h"
#include "forward/forwarder.h"
#include "platform/files.h"
#include "platform/terminal.h"
#include "resources/strings.h"

#include <QDir>
#include <QFileInfo>
#include <QTemporaryDir>

#include <utility>

namespace px40 {

namespace {

/// The data set of a file. Stored readings get the headings that they have after a download.
Result<std::shared_ptr<DataSet>> Load(const QString &name, Services *services)
{
    auto dataSet = std::make_shared<DataSet>(services->shared);
    Result<> loaded = dataSet->OpenFile(name);
    if (loaded && dataSet->Kind() == KindMemory) {
        services->shared.MemoryNumbers = true;
        dataSet = std::make_shared<DataSet>(services->shared);
        loaded = dataSet->OpenFile(name);
    }
    if (!loaded)
        return Fail(About(name, loaded.error().text));
    return dataSet;
}

QCoro::Task<Result<>> Export(Services *services, std::shared_ptr<DataSet> dataSet, QString workbook,
                             QString title)
{
    const ForwardServices askingNothing = {services->state, services->store};
    ProgressLine progress;
    Forwarder forwarder(askingNothing, services->gate, progress);
    ForwardChoice choice = {QString(), title, false, workbook};
    if (QFileInfo::exists(workbook))
        choice.fileName = std::exchange(choice.newName, QString());
    Result<ForwardOutcome> outcome = co_await forwarder.ForwardData(dataSet, choice);
    if (!outcome && outcome.error().code == FailureCode::FileTaken) { // it was created meanwhile: add a sheet
        choice.fileName = std::exchange(choice.newName, QString());
        outcome = co_await forwarder.ForwardData(dataSet, choice);
    }
    if (outcome)
        co_return Result<>();
    co_return Fail(FirstLine(outcome.error().text));
}

/// Copies a workbook to the standard output.
Result<> Deliver(const QString &workbook, QFile *output)
{
    QFile written(workbook);
    if (!written.open(QIODevice::ReadOnly | QIODevice::Unbuffered))
        return Fail(written.errorString());
    return CopyBytes(written, *output);
}

} // namespace

int RunExport(const CommandLine &line)
{
    KeepLogsQuiet();
    if (line.exportTo == ToOutput && IsOutputTerminal()) {
        PrintError(Text(Str::WorkbookOnTerminal));
        return ExitWrongOptions;
    }
    Target target;
    if (const Result<> prepared = Prepare(line.exportTo, &target); !prepared)
        return EndFailed(prepared.error());
    const QTemporaryDir folder; // a workbook cannot be written straight to the output, from start to end
    if (target.toOutput && !folder.isValid())
        return EndFailed({About(QDir::tempPath(), folder.errorString())});
    const QString workbook = target.toOutput ? folder.filePath(QStringLiteral("PX40.xlsx")) : target.name;

    // Without a work file, because an open program may be using it.
    DecliningPrompts prompts;
    Services services(StoreFor(PathsFor(line.dataFolder)), Paths(), prompts);
    const Result<std::shared_ptr<DataSet>> dataSet =
        Load(QDir::toNativeSeparators(QFileInfo(line.exportFrom).absoluteFilePath()), &services);
    if (!dataSet)
        return EndFailed(dataSet.error());

    const QString failed = Text(Str::ExportFailed);
    Result<> exported =
        RunToEnd(services.jobs, Export(&services, *dataSet, workbook, line.exportTitle), failed);
    if (exported && target.toOutput)
        exported = Deliver(workbook, &target.output);
    if (!exported)
        return EndFailed({About(target.name, exported.error().text)});
    const int rows = (*dataSet)->GetDatacount();
    const QString count = Counted(Str::Rows, rows);
    const bool printed = target.toOutput || PrintLine(Text(Str::ForwardDone).arg(count, target.name));
    return EndWritten(target.name, **dataSet, printed);
}

} // namespace px40
