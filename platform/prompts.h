#pragma once

#include <QCoro/QCoroTask>
#include <QString>
#include <QStringList>

namespace px40 {

enum class Answer { Yes, No, Cancel };
enum class PromptIcon { Question, Exclamation };

/// What a procedure asks the user. Handed in, so that a test can answer from a script. An answer always comes
/// later, from the event loop.
class Prompts
{
  public:
    virtual ~Prompts() = default;

    /// A box with the exclamation icon and OK; done when the user has closed it.
    virtual QCoro::Task<void> Warn(QString text) = 0;

    /// A box with Yes, No and Cancel; closing it counts as Cancel.
    virtual QCoro::Task<Answer> AskYesNoCancel(QString text, PromptIcon icon) = 0;

    /// A box with the exclamation icon and a button for each of the texts, of which there is at least one;
    /// the last one is the way out and stands for closing the box too. Gives the index of the answer.
    virtual QCoro::Task<int> AskOneOf(QString text, QStringList choices) = 0;

    /// The name of an existing file; empty when cancelled. `filter` in Qt's form, "CSV Files (*.CSV)",
    /// several joined by ";;"; `preferred` is the one of them that is chosen at first, empty: the first.
    virtual QCoro::Task<QString> AskOpenFile(QString filter, QString preferred) = 0;

    /// The name under which to save; empty when cancelled. `name` is proposed and may be empty. The folder of
    /// the answer exists; if the file does, the user has agreed to replace it. An answer without any suffix
    /// gets that of the filter that was chosen, so that it tells which of several that was.
    virtual QCoro::Task<QString> AskSaveFile(QString name, QString filter) = 0;

    /// Closes what is open, as if the user had dismissed it, and shows nothing from now on.
    virtual void DismissAll() = 0;
};

} // namespace px40
