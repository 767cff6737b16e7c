#pragma once

#include "acquire/livewindow.h"
#include "acquire/status.h"
#include "platform/timer.h"

#include <QCoro/QCoroTask>
#include <QPointer>

class QPushButton;

namespace px40 {

class InstrumentFace;
struct MeasureDisplay;

/// "MEASURE": the instrument's measuring side in large digits, and the button that switches measuring on and
/// off.
///
/// It refuses to close while the link's work needs it (`MayClose`).
class frmMoniter : public LiveWindow
{
    Q_OBJECT

  public:
    /// A window of its own that stays above `parent`'s; shown by the caller. The exchanges that it has
    /// started may outlive it, but not what is handed in.
    frmMoniter(const InstrumentLink &link, UserStore &store, QWidget *parent = nullptr);

    void Show(const MeasureDisplay &display);

    /// The link may be free: a press that waits is sent at once instead of on the next tick.
    void SendNow();

  protected:
    void closeEvent(QCloseEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;

  private:
    static QCoro::Task<void> SwitchMeasuring(QPointer<frmMoniter> window, InstrumentLink link);
    QPoint FirstPlace(const QSize &usual) const;

    InstrumentLink link_;
    Timer tmMeasInter_{0, true};
    InstrumentFace *face_;
    QPushButton *btMeasOnOff_;
    int presses_ = 0; ///< of the button, whose command has not begun
};

} // namespace px40
