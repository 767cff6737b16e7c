#pragma once

#include "platform/oneshot.h"
#include "platform/prompts.h"

#include <QList>
#include <QPointer>

class QMessageBox;

namespace px40 {

/// Asks with the toolkit's message boxes, modal over the whole program, without a nested event loop.
class MessagePrompts : public Prompts
{
  public:
    QCoro::Task<void> Warn(QString text) override;
    QCoro::Task<Answer> AskYesNoCancel(QString text, PromptIcon icon, bool offerYes) override;
    void DismissAll() override;

  private:
    OneShot<int> Open(QMessageBox *box);

    QList<QPointer<QMessageBox>> open_;
    bool dismissed_ = false;
};

} // namespace px40
