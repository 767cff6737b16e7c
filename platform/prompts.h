#pragma once

#include <QCoro/QCoroTask>
#include <QString>

namespace px40 {

enum class Answer { Yes, No, Cancel };
enum class PromptIcon { Question, Exclamation };

/// What a procedure asks the user. Handed in, so that a test can answer from a script. An answer always comes
/// later, from the event loop.
class Prompts
{
  public:
    Prompts() = default;
    Prompts(const Prompts &) = delete;
    Prompts &operator=(const Prompts &) = delete;
    virtual ~Prompts() = default;

    /// A box with the exclamation icon and OK; done when the user has closed it.
    virtual QCoro::Task<void> Warn(QString text) = 0;

    /// A box with Yes, No and Cancel; closing it counts as Cancel. With `offerYes` false the Yes button
    /// stands there disabled.
    virtual QCoro::Task<Answer> AskYesNoCancel(QString text, PromptIcon icon, bool offerYes = true) = 0;

    /// Closes what is open, as if the user had dismissed it, and shows nothing from now on.
    virtual void DismissAll() = 0;
};

} // namespace px40
