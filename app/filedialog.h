#pragma once

#include "platform/oneshot.h"

#include <QFileDialog>

namespace px40 {

/// The dialog in which the user chooses one data file: the desktop's own where it has one, else Qt's.
///
/// It only finds out a name and opens no box itself: the owner looks at the name and either ends the dialog
/// or waits for the next choice, so that it stays while a box before it says what is wrong. It is not closed
/// by choosing; the owner deletes it.
///
/// It must not get the `Q_OBJECT` macro: Qt lends the desktop's dialog to its own class alone.
class FileDialog : public QFileDialog
{
  public:
    FileDialog(AcceptMode mode, const QString &folder, const QString &filter, QWidget *parent);
    ~FileDialog() override;

    /// A name in the dialog's folder, or one with a folder, which is then shown.
    void Propose(const QString &name);

    /// Shows the dialog, unless it is still open; completed with the absolute name that the user
    /// chooses, or with an empty one when the dialog is cancelled or destroyed.
    OneShot<QString> Choose();

    void accept() override;

  private:
    /// In Qt's own dialog: shows that folder instead of taking it for an answer.
    void Enter(const QString &folder);
    /// Takes from Qt's own dialog what the other dialogs here do without.
    void FitIn();
    QString WithSuffix(const QString &name) const;

    QString proposal_;
    OneShot<QString> chosen_;
};

} // namespace px40
