#pragma once

#include "platform/progressview.h"
#include "platform/prompts.h"
#include "platform/result.h"

#include <QFile>
#include <QStringList>

namespace px40 {

class DataSet;
class Jobs;

// What a job without any window, and without a user before it, has in place of windows.

/// Nobody is there: declines every question.
class DecliningPrompts : public Prompts
{
  public:
    QCoro::Task<void> Warn(QString) override { co_return; }
    QCoro::Task<Answer> AskYesNoCancel(QString, PromptIcon) override { co_return Answer::Cancel; }
    QCoro::Task<int> AskOneOf(QString, QStringList choices) override
    {
        co_return static_cast<int>(choices.size()) - 1;
    }
    QCoro::Task<QString> AskOpenFile(QString, QString) override { co_return QString(); }
    QCoro::Task<QString> AskSaveFile(QString, QString) override { co_return QString(); }
    void DismissAll() override {}
};

/// One line on the terminal that counts up.
class ProgressLine : public ProgressView
{
  public:
    void Show() override {}
    void SetCaption(const QString &) override {}
    void SetMessage(const QString &message) override { message_ = message; }
    void RenProgress(bool throttle, int current, int total) override;
    void DisableCancel() override {}
    void Unload() override;

  private:
    QString message_;
};

/// The program's exit codes.
enum ExitCode : int {
    ExitDone = 0,
    ExitNothingChanged = 1,
    ExitWrongOptions = 2,
    ExitWithNoise = 3, ///< done, but some readings are noise
};

/// In place of the name of a file to be written: the standard output.
inline constexpr QStringView ToOutput = u"-";

/// Only the one sentence is to appear on the error stream, unless somebody asks for more.
void KeepLogsQuiet();

/// What is wrong with a file or folder, and which one.
QString About(const QString &file, const QString &sentence);

/// What the system says of an error, as a sentence.
QString Sentence(const QString &reason);

/// Where a file is to go.
struct Target
{
    QString name;          ///< the full name, or what the user calls the standard output
    bool toOutput = false; ///< the standard output, which is open then
    QFile output;
};

/// Fills in and checks the target before the work, so that nothing is fetched that cannot be saved. The
/// folder of a file must exist, and the name must not be that of a folder or a device.
Result<> Prepare(const QString &to, Target *target);

/// Runs a task to its end in an event loop of its own. `otherwise`: what is told where it ends without a
/// reason.
Result<> RunToEnd(Jobs &jobs, QCoro::Task<Result<>> task, const QString &otherwise);

/// Reports on the error stream, a sentence each, what is wrong although the file was written: the result
/// could not be `printed`, or there is noise among its readings. Returns the program's exit code.
ExitCode EndWritten(const QString &file, const DataSet &dataSet, bool printed);

/// Reports why the job failed.
ExitCode EndFailed(const Failure &failure);

} // namespace px40
