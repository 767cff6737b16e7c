#include "app/cli/export.h"

#include "app/cli/commandline.h"
#include "app/cli/console.h"
#include "app/services.h"
#include "forward/forwarder.h"
#include "platform/files.h"
#include "platform/terminal.h"
#include "resources/strings.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <memory>
#include <utility>

namespace px40 {

namespace {

/// The file that is written, and where it goes from there.
struct ExportTarget
{
    QString workbook;
    QString told; ///< what the user calls it
    bool toOutput = false;
    QFile output;
    std::unique_ptr<QTemporaryDir> folder; ///< of what goes to the standard output
};

Result<> PrepareExport(const QString &to, ExportTarget *target)
{
    target->toOutput = to == ToOutput;
    if (!target->toOutput) {
        const Result<QString> name = NameForWriting(to);
        if (!name)
            return Fail(name.error());
        target->workbook = target->told = *name;
        return {};
    }
    target->told = Text(Str::StandardOutput);
    target->folder = std::make_unique<QTemporaryDir>(); // a workbook is not written from beginning to end
    target->workbook = target->folder->filePath(QStringLiteral("PX40.xlsx"));
    if (!target->folder->isValid())
        return Fail(About(QDir::tempPath(), target->folder->errorString()));
    const Result<> opened = OpenOutput(&target->output);
    if (!opened)
        return Fail(About(target->told, opened.error().text));
    return {};
}

/// The data set of a file, headed as after a download if it is one.
Result<std::shared_ptr<DataSet>> Load(const QString &name, Services *services)
{
    auto dataSet = std::make_shared<DataSet>(services->shared);
    Result<> loaded = dataSet->OpenFile(name);
    if (loaded && DataKind(dataSet->Kind()) == KindMemory) {
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
    const ForwardServices unasked = {services->state, services->store};
    ProgressLine progress;
    Forwarder forwarder(unasked, services->gate, progress);
    ForwardChoice choice = {QString(), title, false, workbook};
    if (QFileInfo::exists(workbook))
        choice.fileName = std::exchange(choice.newName, QString());
    Result<ForwardOutcome> outcome = co_await forwarder.ForwardData(dataSet, choice);
    if (!outcome && outcome.error().code == FailureCode::FileTaken) { // made meanwhile: it grows
        choice.fileName = std::exchange(choice.newName, QString());
        outcome = co_await forwarder.ForwardData(dataSet, choice);
    }
    if (outcome)
        co_return Result<>();
    co_return Fail(FirstLine(outcome.error().text));
}

/// Sends a workbook that is not to stay where it is to the standard output.
Result<> Deliver(ExportTarget *target)
{
    if (!target->toOutput)
        return {};
    QFile written(target->workbook);
    if (!written.open(QIODevice::ReadOnly | QIODevice::Unbuffered))
        return Fail(written.errorString());
    return CopyBytes(written, target->output);
}

} // namespace

int RunExport(const CommandLine &line)
{
    KeepLogsQuiet();
    if (line.exportTo == ToOutput && IsOutputTerminal()) {
        PrintError(Text(Str::WorkbookOnTerminal));
        return ExitWrongOptions;
    }
    ExportTarget target;
    if (const Result<> prepared = PrepareExport(line.exportTo, &target); !prepared)
        return EndFailed(prepared.error());

    // Without a work file: a program that is open has the one there is.
    DecliningPrompts prompts;
    Services services(UserStore(Text(Str::ApplicationTitle)), Paths(), prompts);
    const Result<std::shared_ptr<DataSet>> dataSet =
        Load(QDir::toNativeSeparators(QFileInfo(line.exportFrom).absoluteFilePath()), &services);
    if (!dataSet)
        return EndFailed(dataSet.error());

    const QString failed = Text(Str::ExportFailed);
    Result<> exported =
        RunToEnd(services.jobs, Export(&services, *dataSet, target.workbook, line.exportTitle), failed);
    if (exported)
        exported = Deliver(&target);
    if (!exported)
        return EndFailed({About(target.told, exported.error().text)});
    const int rows = (*dataSet)->GetDatacount();
    const QString count = rows == 1 ? Text(Str::OneRow) : Text(Str::Rows).arg(rows);
    const bool printed = target.toOutput || PrintLine(Text(Str::ForwardDone).arg(count, target.workbook));
    return EndWritten(target.told, **dataSet, printed);
}

} // namespace px40
