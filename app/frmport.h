#pragma once

#include "platform/portmap.h"
#include "platform/timer.h"

#include <QCoro/QCoroTask>
#include <QDialog>
#include <QPointer>

class QComboBox;
class QLabel;
class QPushButton;

namespace px40 {

struct Services;

/// "Communications Port setup": chooses the port, 1 to 16, and, where numbers are slots of our own, the
/// device behind it. OK opens the port; the dialog stays until that succeeds or the user cancels.
class frmPort : public QDialog
{
    Q_OBJECT

  public:
    /// `checkTimer` is the main window's timer of the status check.
    frmPort(Services &services, Timer &checkTimer, QWidget *parent);

  private:
    static QCoro::Task<void> Apply(QPointer<frmPort> dialog);
    void BuildDeviceRow();
    void OnTick();
    void ShowDeviceOfPort();
    void DescribeDevice();
    void KeepDevice();
    int ChosenPort() const;

    Services *services_;
    Timer *checkTimer_;
    Timer tmPortInter_{0, true};
    QLabel *llPort_;
    QComboBox *cbPort_;
    QLabel *llDevice_ = nullptr;
    QComboBox *cbDevice_ = nullptr;
    QLabel *llDeviceInfo_ = nullptr;
    QList<PortDevice> devices_; ///< as they were when last looked at
    QPushButton *btOk_;
    QPushButton *btCancel_;
};

/// The entry of the list "1" to "16" for a kept port number text: the one whose text is equal, else the
/// first. 0-based.
int PortEntryFor(const QString &portNumberText);

} // namespace px40
