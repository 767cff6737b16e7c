#include "app/cli/console.h"

#include "app/progressrules.h"
#include "document/dataset.h"
#include "platform/jobs.h"
#include "platform/terminal.h"
#include "resources/strings.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QLoggingCategory>
#include <QScopeGuard>

namespace px40 {

namespace {

QCoro::Task<void> KeepAndQuit(QCoro::Task<Result<>> task, Result<> *result)
{
    const auto quit = qScopeGuard([] { QCoreApplication::quit(); });
    const Result<> ended = co_await task;
    *result = ended;
}

} // namespace

void ProgressLine::RenProgress(bool throttle, int current, int total)
{
    if (current > 0 && total > 0 && (!throttle || current % ProgressStep(total) == 0))
        ShowOnTerminal(QStringLiteral("%1 %2/%3").arg(message_).arg(current).arg(total));
}

void ProgressLine::Unload()
{
    ShowOnTerminal(QString());
}

void KeepLogsQuiet()
{
    if (qEnvironmentVariableIsEmpty("QT_LOGGING_RULES"))
        QLoggingCategory::setFilterRules(QStringLiteral("default.warning=false\npx40.*=false"));
}

QString About(const QString &file, const QString &sentence)
{
    return file + QStringLiteral(": ") + sentence;
}

QString Sentence(const QString &reason)
{
    return reason.endsWith(u'.') ? reason : reason + u'.';
}

Result<> Prepare(const QString &to, Target *target)
{
    target->toOutput = to == ToOutput;
    if (target->toOutput) {
        target->name = Text(Str::StandardOutput);
        const Result<> opened = OpenOutput(&target->output);
        return opened ? opened : Fail(About(target->name, opened.error().text));
    }
    target->name = QDir::toNativeSeparators(QFileInfo(to).absoluteFilePath());
    const QFileInfo file(target->name);
    if (!QFileInfo(file.path()).isDir())
        return Fail(About(file.path(), Text(Str::FolderNotThere)));
    if (file.exists() && !file.isFile())
        return Fail(About(target->name, Text(Str::FileNotRegular)));
    return {};
}

Result<> RunToEnd(Jobs &jobs, QCoro::Task<Result<>> task, const QString &otherwise)
{
    Result<> result = Fail(QString());
    jobs.Launch(KeepAndQuit(std::move(task), &result), "windowless job");
    if (jobs.Running() > 0)
        QCoreApplication::exec();
    if (!result && result.error().text.isEmpty())
        return Fail(otherwise);
    return result;
}

ExitCode EndWritten(const QString &file, const DataSet &dataSet, bool printed)
{
    if (!printed)
        PrintError(Text(Str::NotPrinted));
    const int unreadable = dataSet.UnreadableCount();
    if (unreadable == 0)
        return ExitDone;
    const QString noise = Counted(Str::FileUnreadable, dataSet.GetDatacount()).arg(unreadable);
    PrintError(About(file, noise).simplified());
    return ExitWithNoise;
}

ExitCode EndFailed(const Failure &failure)
{
    PrintError(failure.text.simplified());
    return ExitNothingChanged;
}

} // namespace px40
