#pragma once

#include "platform/progressview.h"
#include "platform/prompts.h"

#include <QStringList>

#include <deque>
#include <functional>

namespace px40 {

/// Answers from a script and keeps what was shown.
class ScriptedPrompts : public Prompts
{
  public:
    QCoro::Task<void> Warn(QString text) override;
    QCoro::Task<Answer> AskYesNoCancel(QString text, PromptIcon icon) override;
    QCoro::Task<int> AskOneOf(QString text, QStringList options) override;
    QCoro::Task<QString> AskOpenFile(QString filter, QString preferred) override;
    QCoro::Task<QString> AskSaveFile(QString name, QString filter) override;
    void DismissAll() override { ++dismissals; }

    QStringList warnings;
    QStringList questions;
    QStringList fileQuestions;        ///< "open:FILTER" and "save:NAME:FILTER"
    std::function<void()> onWarn;     ///< called while the box is up
    std::function<void()> onQuestion; ///< called while a question for Yes, No or Cancel is up
    std::deque<Answer> answers;       ///< Cancel when there is none left
    std::deque<int> choices;          ///< which of several buttons; the last one when there is none left
    std::deque<QString> files;        ///< answers to both file questions; cancelled when there is none left
    int dismissals = 0;

  private:
    QCoro::Task<QString> AnswerFile(QString question);
};

class RecordedProgress : public ProgressView
{
  public:
    void Show() override { shown = true; }
    void SetCaption(const QString &text) override { caption = text; }
    void SetMessage(const QString &text) override { message = text; }
    void RenProgress(bool throttle, int current, int total) override;
    void DisableCancel() override { cancelDisabled = true; }
    void Unload() override { shown = false; }

    std::function<void(int)> onStep; ///< called with each position
    QString caption;
    QString message;
    QStringList steps;
    bool shown = false;
    bool cancelDisabled = false;
};

} // namespace px40
