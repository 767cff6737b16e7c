#pragma once

#include "platform/oneshot.h"
#include "platform/prompts.h"
#include "resources/strings.h"

#include <QList>
#include <QMessageBox>
#include <QPointer>

#include <initializer_list>
#include <utility>

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
    QCoro::Task<QString> AskSaveFile(QString name, QString filter) override;
    void DismissAll() override;

  private:
    using Button = std::pair<QMessageBox::StandardButton, Str>;

    /// The first of the buttons is the default.
    OneShot<int> OpenBox(const QString &text, QMessageBox::Icon icon, std::initializer_list<Button> buttons);
    OneShot<int> Open(QMessageBox *box);
    /// The folder in which the next file dialog is to open.
    QString Folder() const;
    /// Shows a file dialog until a name that can be used is chosen, or it is cancelled.
    QCoro::Task<QString> AskFile(QPointer<FileDialog> dialog);
    OneShot<QString> Choose(FileDialog *dialog);
    /// Whether that file can be opened, or saved under that name, as things stand; asks or tells the user.
    QCoro::Task<bool> MayUse(QString name, bool saving);

    QList<QPointer<QDialog>> open_;
    QString folder_; ///< of the file chosen last
    bool dismissed_ = false;
};

} // namespace px40
