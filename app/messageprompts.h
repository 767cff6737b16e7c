#pragma once

#include "platform/oneshot.h"
#include "platform/prompts.h"

#include <QList>
#include <QMessageBox>
#include <QPointer>

class QDialog;

namespace px40 {

class FileDialog;

/// Asks with the toolkit's message boxes and file dialogs, modal over the whole program, without a nested
/// event loop. File dialogs open in the folder of the file chosen last in this run.
class MessagePrompts : public Prompts
{
  public:
    QCoro::Task<void> Warn(QString text) override;
    QCoro::Task<Answer> AskYesNoCancel(QString text, PromptIcon icon) override;
    QCoro::Task<int> AskOneOf(QString text, QStringList choices) override;
    QCoro::Task<QString> AskOpenFile(QString filter, QString preferred) override;
    QCoro::Task<QString> AskSaveFile(QString name, QString filter, QString suffix) override;
    void DismissAll() override;

  private:
    /// The first of the buttons is the default.
    OneShot<int> OpenBox(const QString &text, QMessageBox::Icon icon,
                         const QList<QMessageBox::StandardButton> &buttons);
    OneShot<int> Open(QMessageBox *box);
    /// Whether a file can be saved under that name as things stand, asking or telling the user.
    QCoro::Task<bool> MaySaveAs(QString name);
    /// The folder in which the next file dialog is to open.
    QString Folder() const;
    OneShot<QString> Choose(FileDialog *dialog);
    /// Ends a file dialog; `name`, if there is one, is its answer.
    void Finish(FileDialog *dialog, const QString &name);

    QList<QPointer<QDialog>> open_;
    QString folder_; ///< of the file chosen last
    bool dismissed_ = false;
};

} // namespace px40
