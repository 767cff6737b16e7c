#pragma once

#include "platform/progressview.h"

#include <QDialog>

#include <functional>

class QCloseEvent;
class QLabel;
class QProgressBar;
class QPushButton;

namespace px40 {

class Comm;
struct LinkState;

/// The small dialog beside every long operation: caption, message, progress bar, Cancel. While it is open
/// the rest of the program is disabled. Cancel only sets flags of the link state; the operation sees them
/// at its next check, ends and unloads the dialog.
class frmCancel : public QDialog, public ProgressView
{
    Q_OBJECT

  public:
    /// `enableApplication` enables or disables the main window's menus, tool bars and data windows.
    frmCancel(LinkState &state, Comm &comm, std::function<void(bool)> enableApplication, QWidget *parent);

    void Show() override;
    void SetCaption(const QString &caption) override;
    void SetMessage(const QString &message) override;
    void RenProgress(bool throttle, int current, int total) override;
    void DisableCancel() override;
    void Unload() override;

    /// Closing the dialog by key or frame is Cancel.
    void reject() override { PressCancel(); }

  protected:
    void closeEvent(QCloseEvent *event) override;

  private:
    void PressCancel();
    void LayOut();

    LinkState *state_;
    Comm *comm_;
    std::function<void(bool)> enableApplication_;
    QLabel *llMsg_;
    QProgressBar *pbNow_;
    QPushButton *btCancel_;
    bool open_ = false;
};

} // namespace px40
