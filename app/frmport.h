#pragma once

#include "platform/formdialog.h"
#include "platform/portmap.h"

class QComboBox;

namespace px40 {

class ElidedLabel;
class Timer;
struct Services;

/// "Communications Port setup": chooses the port, 1 to 16, and, where numbers are slots of our own, the
/// device assigned to it. OK opens the port; the dialog stays until that succeeds or the user cancels.
class frmPort : public FormDialog
{
    Q_OBJECT

  public:
    /// `checkTimer` is the main window's timer of the status check.
    frmPort(Services &services, Timer &checkTimer, QWidget *parent);

  protected:
    void Confirm() override;

  private:
    static QCoro::Task<void> Apply(QPointer<frmPort> dialog);
    QComboBox *BuildDeviceBox();
    void NameDevices();
    void ShowDeviceOfPort();
    void DescribeDevice();
    void KeepDevice();
    int ChosenPort() const;

    Services *services_;
    Timer *checkTimer_;
    QComboBox *cbPort_;
    QComboBox *cbDevice_ = nullptr;
    ElidedLabel *llDeviceInfo_ = nullptr;
    QList<PortDevice> devices_; ///< as they were when last looked at
};

} // namespace px40
