#pragma once

#include "acquire/livewindow.h"
#include "platform/timer.h"

#include <QCoro/QCoroTask>
#include <QPointer>

class QPushButton;

namespace px40 {

class Comm;
class InstrumentFace;
class InstrumentState;
class Jobs;
class LinkGate;
class UserStore;
struct LinkState;
struct MeasureDisplay;

/// What the MEASURE window works with. All of it outlives the window, and the exchanges that it started.
struct MoniterServices
{
    LinkState *state;
    LinkGate *gate;
    Comm *comm;
    Jobs *jobs;
    UserStore *store;
    InstrumentState *instrument;
};

/// "MEASURE": the instrument's measuring side in large digits, and the button that switches measuring on and
/// off.
///
/// `MonitorOpen` is set while it is open. It refuses to close while the link's work needs it (`MayClose`).
class frmMoniter : public LiveWindow
{
    Q_OBJECT

  public:
    /// A window of its own that stays above `parent`'s; shown by the caller.
    explicit frmMoniter(const MoniterServices &services, QWidget *parent = nullptr);

    void Show(const MeasureDisplay &display);
    /// Nothing new has come for a while: the last value fades until there is a new one.
    void Fade();

    /// The link may be free: a press that waits is sent at once instead of on the next tick.
    void SendNow();

  protected:
    bool MayCloseNow() const override;
    void Closing() override;
    void resizeEvent(QResizeEvent *event) override;

  private:
    static QCoro::Task<void> SwitchMeasuring(QPointer<frmMoniter> window, MoniterServices services);
    QPoint FirstPlace(const QSize &usual) const;

    MoniterServices services_;
    Timer tmMeasInter_{0, true};
    InstrumentFace *face_;
    QPushButton *btMeasOnOff_;
    int presses_ = 0; ///< of the button, whose command has not begun
};

} // namespace px40
