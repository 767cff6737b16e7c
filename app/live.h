#pragma once

#include "acquire/statuscheck.h"
#include "app/services.h"
#include "platform/timer.h"
#include "source/sourcecommands.h"

#include <QCoro/QCoroTask>
#include <QObject>
#include <QPointer>

class QWidget;

namespace px40 {

class LiveWindow;
class MainCommands;
class frmMoniter;
class frmSource;
class frmSrcValueSet;
struct SourceDisplay;

/// The MEASURE and SOURCE windows, the status check that writes to them, and the commands of the SOURCE
/// window.
class Live : public QObject
{
    Q_OBJECT

  public:
    /// `services`, `commands`, the timer of the status check and `window`, the main window, must outlive this
    /// and its jobs.
    Live(Services &services, MainCommands &commands, Timer &tmCheckStat, QWidget *window);

    /// Null while it is closed.
    QWidget *Moniter() const;
    QWidget *Source() const;
    /// Opens the window, which starts the status check if it is not running, or brings it to the front.
    void OpenMoniter();
    void OpenSource();
    /// Opens the window, or closes it if it is open; a run or a download holds the MEASURE window.
    void ToggleMoniter();
    void ToggleSource();
    /// The user has chosen a port that could be opened: the windows that went with the old connection come
    /// back, and the status check with them.
    void PortChosen();
    /// The program is about to end: what has not been sent stays unsent, and the windows close.
    void Leave();

  Q_SIGNALS:
    void windowsChanged(); ///< MEASURE or SOURCE was opened or closed

  private:
    void ShowWindow(LiveWindow *window);
    void CloseWindows();
    void OpenValueEntry();
    void ShowSource(const SourceDisplay &display);
    void NoteNewStatus();
    void Fade();
    void ShowDemo();
    void ShowNotes();
    void OnLineReceived();
    void OnPortChanged();
    void OnRunChanged();
    void OnCommandFailed(const QString &reason);
    void OnCommandRecovered(const QString &reason);
    void StartChecking();
    QCoro::Task<void> Check();
    void ShowStatus();
    void SendWaiting();

    Services *services_;
    MainCommands *commands_;
    Timer *tmCheckStat_;
    QWidget *window_;
    StatusCheck statusCheck_;
    SourceCommands sourceCommands_;
    QPointer<frmMoniter> moniter_;
    QPointer<frmSource> source_;
    QPointer<frmSrcValueSet> valueEntry_;
    bool reopenMoniter_ = false; ///< it was closed because the instrument did not answer
    bool reopenSource_ = false;
    Timer tmFade_;          ///< runs out when nothing new has come for a while
    qint64 shownReply_ = 0; ///< the number of the status reply that was shown last
    QString since_;         ///< the time of day when it came
    bool faded_ = false;
};

} // namespace px40
