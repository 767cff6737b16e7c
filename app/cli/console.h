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

/// What the program ends with.
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

/// Where a file is to go.
struct Target
{
    QString name;          ///< the full name, or what the user calls the standard output
    bool toOutput = false; ///< the standard output, which is open then
    QFile output;
};

/// Looks at it before the work, after which there would be data that nobody can keep. The folder of a file
/// must be there, and the file be no folder or device itself.
Result<> Prepare(const QString &to, Target *target);

/// Runs a task to its end in an event loop of its own. `otherwise`: what is told where it ends without a
/// reason.
Result<> RunToEnd(Jobs &jobs, QCoro::Task<Result<>> task, const QString &otherwise);

/// Says on the error stream, a sentence each, what is to be said of a file that was written: that the result
/// could not be `printed`, and noise among its readings. Gives the program's exit code.
ExitCode EndWritten(const QString &file, const DataSet &dataSet, bool printed);

/// Says why nothing came of it.
ExitCode EndFailed(const Failure &failure);

} // namespace px40
