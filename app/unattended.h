#pragma once

#include "platform/progressview.h"
#include "platform/prompts.h"

#include <QStringList>

namespace px40 {

class DataSet;

// What a job without any window and without anybody before it has in place of windows.

/// There is nobody to ask: texts are kept, questions are answered with Cancel or the last choice.
class NobodyToAsk : public Prompts
{
  public:
    QCoro::Task<void> Warn(QString text) override;
    QCoro::Task<Answer> AskYesNoCancel(QString, PromptIcon) override { co_return Answer::Cancel; }
    QCoro::Task<int> AskOneOf(QString, QStringList choices) override
    {
        co_return static_cast<int>(choices.size()) - 1;
    }
    QCoro::Task<QString> AskOpenFile(QString, QString) override { co_return QString(); }
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

/// How it ended.
struct Outcome
{
    ExitCode code = ExitNothingChanged;
    QStringList told; ///< a sentence each
};

/// In place of the name of a file to be written: the standard output.
inline constexpr QStringView ToOutput = u"-";

/// Nothing but the one sentence is to stand on the error stream, unless somebody asks for more.
void KeepLogsQuiet();

/// What is wrong with a file or folder, and which one.
QString About(const QString &file, const QString &sentence);

/// With the full stop that the system's own reasons lack.
QString Sentence(const QString &text);

/// Adds what is to be said of a file that has been written: noise among its readings, and a result that could
/// not be `printed`.
void TellWritten(const QString &file, const DataSet &dataSet, bool printed, Outcome *outcome);

/// Says the sentences on the error stream; gives the program's exit code.
int End(const Outcome &outcome);

/// The same where nothing came of it.
int Fail(const QString &sentence);

} // namespace px40
