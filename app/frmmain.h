#pragma once

#include "app/commandrules.h"
#include "app/filecommands.h"
#include "app/recentfiles.h"
#include "document/dataset.h"
#include "link/storeddata.h"
#include "platform/timer.h"

#include <QCoro/QCoroTask>
#include <QElapsedTimer>
#include <QMainWindow>
#include <QPointer>
#include <QStringList>

#include <memory>
#include <optional>

class QCloseEvent;
class QDragEnterEvent;
class QDropEvent;
class QEvent;
class QLabel;
class QMdiSubWindow;

namespace px40 {

class ElidedLabel;
class Forwarding;
class frmCancel;
class frmData;
class Live;
class MainActions;
class Workspace;
struct ForwardChoice;
struct Services;

/// The main window: menus, tool bars, status bar and timers, and the data windows as its children. Every
/// command of the user enters here and calls the part that does the work.
class frmMain : public QMainWindow
{
    Q_OBJECT

  public:
    /// `services` must outlive the window, and the window its jobs: it closes only when none is left.
    explicit frmMain(Services &services);
    ~frmMain() override;

    /// Shows the window where and how it stood at the end of the last run.
    void ShowPlaced();

    /// A new, empty data set of that kind in a window of its own.
    std::shared_ptr<DataSet> NewDataWindow(int kind);

    /// Opens data files, each in a window of its own, and tells of those that cannot be read. A file that is
    /// already open is passed over.
    QCoro::Task<void> OpenFiles(QStringList names);

    /// Saves the active data window.
    void mnuFileSave_Click();

    /// Shows the port dialog; done when it is closed.
    QCoro::Task<void> RunPortDialog();

    /// Shows the MEASURE and the SOURCE window.
    void OpenLiveWindows();

    void Run(Command command);

    /// Shows a text in the status bar's panel "Msg".
    void ShowMessage(const QString &text);

    Timer tmCheckInter{0, true};
    Timer tmCheckStat{0, false};
    Timer tmRealtime{100, false};

  Q_SIGNALS:
    /// The window has closed and no job is left: the program may end.
    void left();

  protected:
    void closeEvent(QCloseEvent *event) override;
    void changeEvent(QEvent *event) override;
    void dragEnterEvent(QDragEnterEvent *event) override;
    void dropEvent(QDropEvent *event) override;

  private:
    void ConnectAll();
    void BuildStatusBar();
    void ShowWarning(const QString &text);
    void ShowFileMessage(const QString &text);
    void OnSaved(const QString &name);
    void ShowSelection();
    void ShowPort();
    void ShowTitle();
    void OnWindowActivated();
    void RefreshCommands();
    void OnRealtimeMenu();
    void ShowCommands();
    void EnableApplication(bool enabled);
    void ReturnFocus();
    void ActivateAgain();
    ShellSituation Situation() const;
    frmData *ActiveData() const;
    QList<std::shared_ptr<DataSet>> OpenSets() const;
    static void ShowHourglass(bool shown);

    bool TakeDrop(QDropEvent *event) const;
    frmData *AddDataWindow(const std::shared_ptr<DataSet> &dataSet);
    QCoro::Task<void> AskAndOpen();
    void OpenRecent(const QString &name);
    void ShowRecentFiles();
    QCoro::Task<void> SaveActive(bool underNewName);
    void ShowGraphSetup();
    void ShowIntervalSetup();
    void StartRealtime();
    void ToggleMoniter();
    void ToggleSource();
    void ShowLiveWindows();
    QCoro::Task<void> ReceiveStored(StoredData::Mode mode);
    QCoro::Task<void> ReceiveAndForward(StoredData::Mode mode, std::optional<ForwardChoice> choice);
    QString ReceivedText(StoredData::Mode mode, bool complete, const DataSet &dataSet) const;
    QCoro::Task<void> ForwardActive();
    QCoro::Task<void> CloseAll();
    void Leave();
    void SavePlacement();

    Services *services_;
    Workspace *workspace_;
    MainActions *actions_;
    frmCancel *frmCancel_;
    StoredData storedData_;
    FileCommands files_;
    RecentFiles recent_;
    Forwarding *forwarding_;
    Live *live_;
    CommandStates menuStates_;
    CommandStates buttonStates_;
    QPointer<QMdiSubWindow> activeBefore_;
    ElidedLabel *message_ = nullptr;
    ElidedLabel *selection_ = nullptr;
    QLabel *port_ = nullptr;
    QElapsedTimer warned_; ///< since a warning, which the messages of a run leave standing for a while
    bool downloadAsked_ = false;
    bool forwardAsked_ = false;
    bool asking_ = false;
    bool mayGo_ = false;
};

} // namespace px40
