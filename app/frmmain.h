#pragma once

#include "app/commandrules.h"
#include "app/mainviews.h"
#include "platform/timer.h"

#include <QMainWindow>

class QCloseEvent;
class QDialog;
class QDragEnterEvent;
class QDropEvent;
class QEvent;

namespace px40 {

class Help;
class Live;
class MainActions;
class MainCommands;
class StatusBar;
class Workspace;
class frmCancel;
class frmData;
struct Services;

/// The main window: menus, tool bars, status bar and timers, and the data windows as its children. It builds
/// and wires; the work is done by `MainCommands`, and by `Live` for the MEASURE and SOURCE windows.
class frmMain : public QMainWindow, private MainViews
{
    Q_OBJECT

  public:
    /// `services` must outlive the window, and the window its jobs: it closes only when none is left.
    explicit frmMain(Services &services);

    /// Shows the window where and how it stood at the end of the last run, and MEASURE and SOURCE.
    void ShowPlaced();

    /// Shows the port dialog; done when it is closed.
    QCoro::Task<void> RunPortDialog();

    /// Every command of the user enters here.
    void Run(Command command);
    MainCommands &Commands() { return *commands_; }

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
    void SetLeastSize();
    void ShowTitle();
    void ShowProtection(const DataSet &set);
    void ShowSelection();
    void ShowLiveWindows();
    void OnWindowActivated();
    void EnableApplication(bool enabled);
    bool TakeDrop(QDropEvent *event) const;
    frmData *ActiveWindow() const;
    frmData *WindowOf(const std::shared_ptr<DataSet> &dataSet) const;
    static QCoro::Task<bool> Accepted(QDialog *dialog);

    QList<std::shared_ptr<DataSet>> DataSets() const override;
    std::shared_ptr<DataSet> ActiveData() const override;
    void AddDataWindow(std::shared_ptr<DataSet> dataSet, bool fromFile) override;
    void Activate(const std::shared_ptr<DataSet> &dataSet) override;
    void BringToFront(const std::shared_ptr<DataSet> &dataSet) override;
    QCoro::Task<std::optional<ForwardChoice>> AskForward(std::shared_ptr<ForwardMemory> memory) override;
    void ShowFile(const QString &name, const std::function<void()> &failed) override;
    void ShowBusy(bool busy) override;
    void TakeFocus() override { activateWindow(); }
    void CloseAll() override;

    Services *services_;
    Workspace *workspace_;
    MainActions *actions_;
    frmCancel *frmCancel_;
    MainCommands *commands_;
    Live *live_;
    StatusBar *statusBar_;
    Help *help_;
    bool mayGo_ = false;
};

} // namespace px40
