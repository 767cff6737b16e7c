#pragma once

#include "acquire/realtime.h"
#include "acquire/statuscheck.h"
#include "app/services.h"

#include <QCoro/QCoroTask>
#include <QObject>
#include <QPointer>

#include <memory>

class QWidget;

namespace px40 {

class Timer;
class frmData;
class frmMoniter;

/// What goes on by itself beside the commands of the main window: the status check, the MEASURE window that
/// it writes to, and real-time receive.
class Live : public QObject, private StatusViews, private RealtimeViews
{
    Q_OBJECT

  public:
    /// The main window's timers: a start that waits for the link, the status check, the run's clock.
    struct Timers
    {
        Timer &tmCheckInter;
        Timer &tmCheckStat;
        Timer &tmRealtime;
    };

    /// `services`, the timers and `window`, the main window, must outlive this and its jobs.
    Live(Services &services, const Timers &timers, QWidget *window);
    ~Live() override;

    bool IsMoniterOpen() const { return !moniter_.isNull(); }
    /// Opens the MEASURE window, which starts the status check if it stands still, or brings it to the front.
    void OpenMoniter();
    /// The user has chosen a port that could be opened: a MEASURE window that went with the old connection
    /// comes back, and the status check with it.
    void PortChosen();
    /// Closes it, unless a run or a download holds it.
    void CloseMoniter();

    /// Asks about forwarding and starts a run into the data set of that window, as soon as the link is free.
    QCoro::Task<void> Start(QPointer<frmData> window);
    /// Lets the run end with the present second.
    void Stop();

  Q_SIGNALS:
    void message(const QString &text);
    void runMessage(const QString &text); ///< each second of a run
    void moniterChanged();
    void mainCommandsEnabled(bool enabled);
    void runChanged();

  private:
    void StartChecking();
    void OnPortChanged();
    QCoro::Task<void> Check();
    void OnCheckInter();

    void ShowMeasure(const MeasureDisplay &display) override;
    void EnableMainCommands(bool enabled) override;
    void RunChanged() override;
    void ShowRun(const RunProgress &progress) override;
    void StatusStored() override;
    void SetData(const QString &rcvData) override;

    Services *services_;
    Timers timers_;
    QWidget *window_;
    StatusCheck statusCheck_;
    Realtime realtime_;
    QPointer<frmMoniter> moniter_;
    QPointer<frmData> waiting_; ///< a start into this window waits for the link
    bool waitingForward_ = false;
    bool closedByTrouble_ = false; ///< not by the user
    bool asking_ = false;
};

} // namespace px40
