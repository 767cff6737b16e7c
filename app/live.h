#pragma once

#include "acquire/realtime.h"
#include "acquire/statuscheck.h"
#include "app/services.h"
#include "source/sourcecommands.h"

#include <QCoro/QCoroTask>
#include <QObject>
#include <QPointer>

#include <memory>

class QWidget;

namespace px40 {

class Forwarding;
class Timer;
class frmData;
class frmMoniter;
class frmSource;
class frmSrcValueSet;
struct SourceDisplay;

/// What goes on by itself beside the commands of the main window: the status check, the MEASURE and SOURCE
/// windows that it writes to, the commands of the SOURCE window, and real-time receive.
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

    /// `services`, the timers, `forwarding` and `window`, the main window, must outlive this and its jobs.
    Live(Services &services, const Timers &timers, Forwarding &forwarding, QWidget *window);
    ~Live() override;

    bool IsMoniterOpen() const { return !moniter_.isNull(); }
    bool IsSourceOpen() const { return !source_.isNull(); }
    /// Opens the MEASURE or SOURCE window, which starts the status check if it stands still, or brings it to
    /// the front.
    void OpenMoniter();
    void OpenSource();
    /// Closes it; a run or a download holds the MEASURE window.
    void CloseMoniter();
    void CloseSource();
    /// The user has chosen a port that could be opened: the windows that went with the old connection come
    /// back, and the status check with them.
    void PortChosen();
    /// The program is about to end: what has not been sent stays unsent, and the windows close.
    void Leave();

    /// Opens the port if need be, asks about forwarding, also where to, and starts a run into the data set of
    /// that window, as soon as the link is free. Without a port nothing begins.
    QCoro::Task<void> Start(QPointer<frmData> window);
    /// A question about a start is open, or a start waits for the link.
    bool IsStarting() const { return asking_ || !waiting_.isNull(); }
    /// Lets the run end with the present second.
    void Stop();

  Q_SIGNALS:
    void message(const QString &text);
    void runMessage(const QString &text);  ///< each second of a run
    void warning(const QString &text);     ///< must be seen, also during a run
    void warningOver(const QString &text); ///< what that warning told is no longer so
    void windowsChanged();                 ///< MEASURE or SOURCE was opened or closed
    void mainCommandsEnabled(bool enabled);
    void runChanged();

  private:
    template <typename Window>
    void ShowWindow(Window *window);
    void OpenValueEntry();
    void ShowSource(const SourceDisplay &display);
    void TakeNews();
    void Fade();
    QString Note() const;
    void ShowNotes();
    void OnLine();
    /// `tell`: also why a lost instrument cannot be found again.
    void StartChecking(bool tell);
    void OnPortChanged();
    QCoro::Task<void> Check();
    void OnCheckInter();
    QCoro::Task<void> Begin(std::shared_ptr<DataSet> dataSet, bool forward);
    QCoro::Task<bool> HavePort();

    void ShowMeasure(const MeasureDisplay &display) override;
    void ShowSourceStatus(const InstrumentStatus &status) override;
    void EnableMainCommands(bool enabled) override;
    void RunChanged() override;
    void ShowRun(const RunProgress &progress) override;
    void StatusStored() override;
    void SetData(const QString &rcvData) override;

    Services *services_;
    Timers timers_;
    Forwarding *forwarding_;
    QWidget *window_;
    StatusCheck statusCheck_;
    Realtime realtime_;
    SourceCommands sourceCommands_;
    QPointer<frmMoniter> moniter_;
    QPointer<frmSource> source_;
    QPointer<frmSrcValueSet> valueEntry_;
    QPointer<frmData> waiting_; ///< a start into this window waits for the link
    bool waitingForward_ = false;
    bool moniterByTrouble_ = false; ///< closed, but not by the user
    bool sourceByTrouble_ = false;
    bool asking_ = false;
    Timer tmFade_;      ///< runs out when nothing new has come for a while
    qint64 newest_ = 0; ///< of the status replies, the one shown last
    QString since_;     ///< the time of day when it came
    bool faded_ = false;
};

} // namespace px40
