#include "app/frmmain.h"

#include "app/about.h"
#include "app/forwarding.h"
#include "app/frmcancel.h"
#include "app/live.h"
#include "app/mainactions.h"
#include "app/services.h"
#include "app/workspace.h"
#include "document/frmdata.h"
#include "platform/elidedlabel.h"
#include "platform/geometry.h"
#include "platform/prompts.h"
#include "resources/icons.h"
#include "resources/strings.h"

#include <QApplication>
#include <QLabel>
#include <QMenu>
#include <QStatusBar>
#include <QToolBar>

#include <algorithm>

namespace px40 {

namespace {
constexpr int WarningShownMs = 3000;
constexpr int MessageWidth = 28; // in characters
} // namespace

frmMain::frmMain(Services &services)
    : services_(&services), workspace_(new Workspace(this)), actions_(new MainActions(this)),
      frmCancel_(new frmCancel(
          services.state, services.comm, [this](bool enabled) { EnableApplication(enabled); }, this)),
      storedData_(services.state, services.gate, services.comm, services.prompts, *frmCancel_),
      files_(
          services.state, services.prompts, services.clock, [this] { return OpenSets(); }, ShowHourglass,
          [this](const QString &name) { OnSaved(name); }),
      recent_(services.store), forwarding_(new Forwarding(services, *frmCancel_, this)),
      live_(new Live(services, {tmCheckInter, tmCheckStat, tmRealtime}, *forwarding_, this)),
      menuStates_(InitialMenus()), buttonStates_(InitialButtons())
{
    setObjectName(QStringLiteral("frmMain"));
    setWindowIcon(ApplicationIcon());
    setCentralWidget(workspace_);
    setAcceptDrops(true);
    BuildStatusBar();
    ConnectAll();
    ShowTitle();
    ShowPort();
    ShowRecentFiles();
    RefreshCommands();
    actions_->Item(Command::ViewToolbar)->setChecked(true);
    actions_->Item(Command::ViewStatusbar)->setChecked(true);

    const auto pixels = [this](double twips) { return TwipsToPixels(twips, logicalDpiX()); };
    const QRect usual(pixels(1000), pixels(1000), pixels(10000), pixels(6500));
    RestoreGeometry(*this, QStringLiteral("Main"), usual, services.store);
    const QString state =
        services.store.Get(QStringLiteral("Settings"), QStringLiteral("MainState"), QString());
    if (state.toInt() == WindowShape::Maximised)
        setWindowState(Qt::WindowMaximized);
    services.state.LinkActivity = ActivityIdle;
}

frmMain::~frmMain() = default;

void frmMain::BuildStatusBar()
{
    statusBar()->setObjectName(QStringLiteral("sbMain"));
    message_ = new ElidedLabel(this);
    message_->setObjectName(QStringLiteral("Msg"));
    selection_ = new ElidedLabel(this);
    selection_->setObjectName(QStringLiteral("Sel"));
    for (ElidedLabel *const label : {message_, selection_}) {
        label->setContentsMargins(6, 0, 6, 0);
        label->setMinimumWidth(1); // a long text widens no window
        statusBar()->addWidget(label);
    }
    port_ = new QLabel(this);
    port_->setObjectName(QStringLiteral("Port"));
    port_->setContentsMargins(6, 0, 6, 0);
    statusBar()->addPermanentWidget(port_);
}

void frmMain::ConnectAll()
{
    connect(actions_, &MainActions::triggered, this, &frmMain::Run);
    connect(actions_, &MainActions::recentFileChosen, this, &frmMain::OpenRecent);
    connect(actions_, &MainActions::recentFilesCleared, this, [this] { recent_.Clear(); });
    connect(actions_->Menu(MainMenu::File), &QMenu::aboutToShow, this, &frmMain::RefreshCommands);
    connect(actions_->Menu(MainMenu::File), &QMenu::aboutToShow, this, &frmMain::ShowRecentFiles);
    connect(actions_->Menu(MainMenu::Realtime), &QMenu::aboutToShow, this, &frmMain::OnRealtimeMenu);
    connect(actions_->Menu(MainMenu::Setup), &QMenu::aboutToShow, this, &frmMain::RefreshCommands);
    connect(workspace_, &QMdiArea::subWindowActivated, this, &frmMain::OnWindowActivated);
    connect(forwarding_, &Forwarding::message, this, &frmMain::ShowMessage);
    connect(live_, &Live::message, this, &frmMain::ShowMessage);
    connect(live_, &Live::runMessage, this, [this](const QString &text) {
        if (!warned_.isValid() || warned_.hasExpired(WarningShownMs))
            ShowMessage(text);
    });
    connect(live_, &Live::windowsChanged, this, &frmMain::ShowLiveWindows);
    connect(live_, &Live::warning, this, &frmMain::ShowWarning);
    const auto takeBack = [this](const QString &text) {
        if (message_->text() == text)
            ShowMessage(QString());
    };
    connect(live_, &Live::warningOver, this, takeBack);
    connect(forwarding_, &Forwarding::messageOver, this, takeBack);
    connect(live_, &Live::runChanged, this, &frmMain::RefreshCommands);
    connect(live_, &Live::mainCommandsEnabled, this, [this](bool enabled) {
        ApplyStatusRules(enabled, &menuStates_, &buttonStates_);
        ShowCommands();
    });
    const QString lost = FirstLine(Text(Str::PortLost));
    connect(&services_->comm, &Comm::portLost, this, [this, lost] { ShowMessage(lost); });
    connect(&services_->comm, &Comm::portChanged, this, [this, lost, takeBack] {
        if (!services_->comm.IsLost())
            takeBack(lost);
        ShowPort();
    });
}

void frmMain::ShowPlaced()
{
    show();
    activateWindow();
}

void frmMain::ShowTitle()
{
    QString title = Text(Str::ApplicationTitle);
    if (services_->simulated)
        title += Text(Str::DemoTitleSuffix);
    setWindowTitle(title);
}

void frmMain::ShowMessage(const QString &text)
{
    message_->SetText(text);
    // So much of it is seen also in a narrow window, beside what is told of a selection.
    const QFontMetrics metrics = message_->fontMetrics();
    message_->setMinimumWidth(
        std::min(metrics.horizontalAdvance(text), MessageWidth * metrics.averageCharWidth()));
}

/// Of the active data window's selected rows, beside the message: neither takes the other away.
void frmMain::ShowSelection()
{
    const frmData *const active = ActiveData();
    const QString text = active ? active->SelectionText() : QString();
    selection_->setText(text);
    selection_->setToolTip(text + u'\n' + Text(Str::SelectionTip));
    selection_->setVisible(!text.isEmpty());
}

void frmMain::ShowWarning(const QString &text)
{
    warned_.start();
    ShowMessage(text);
}

void frmMain::ShowPort()
{
    const int number = services_->comm.PortNumber();
    if (services_->comm.IsOpen()) {
        const QString device = services_->simulated && services_->ports.IsFixed(number)
                                   ? Text(Str::PortPanelSimulated)
                                   : services_->ports.Device(number);
        port_->setText(Text(Str::PortPanelOpen).arg(number).arg(device));
    } else {
        port_->setText(
            Text(services_->comm.IsLost() ? Str::PortPanelLost : Str::PortPanelClosed).arg(number));
    }
}

frmData *frmMain::ActiveData() const
{
    // Also while the MEASURE or SOURCE window is the active one.
    return qobject_cast<frmData *>(workspace_->currentSubWindow());
}

ShellSituation frmMain::Situation() const
{
    ShellSituation situation;
    situation.linkActivity = services_->state.LinkActivity;
    situation.realtimeRun = services_->state.RealtimeRun;
    situation.anyDataWindow = !workspace_->subWindowList().isEmpty();
    if (const frmData *const active = ActiveData())
        situation.activeKind = DataKind(active->Data()->Kind());
    return situation;
}

void frmMain::OnWindowActivated()
{
    ApplyDataWindowButtons(ActiveData() != nullptr, &buttonStates_);
    RefreshCommands();
    ShowSelection();
    workspace_->viewport()->update();
}

void frmMain::RefreshCommands()
{
    // What the instrument's state says of New stands until the menu is opened.
    const bool mayMakeNew = menuStates_.IsEnabled(Command::RealtimeNew);
    ShellSituation situation = Situation();
    // Nor does it matter to the shortcuts that the status check has the link at this moment.
    if (MayClose(services_->state))
        situation.linkActivity = ActivityIdle;
    ApplyFileRules(situation, &menuStates_);
    ApplyRealtimeRules(situation, &menuStates_);
    ApplySetupRules(situation, &menuStates_);
    menuStates_.Enable(Command::RealtimeNew, mayMakeNew);
    ShowCommands();
}

void frmMain::OnRealtimeMenu()
{
    ApplyRealtimeRules(Situation(), &menuStates_);
    ShowCommands();
}

void frmMain::ShowCommands()
{
    CommandStates menus = menuStates_;
    CommandStates buttons = buttonStates_;
    OverlayRun(services_->state.RealtimeRun, &menus);
    OverlayRun(services_->state.RealtimeRun, &buttons);
    actions_->Show(menus, buttons);
}

void frmMain::EnableApplication(bool enabled)
{
    // Disabling takes the focus from the active data window; it gets it back.
    if (!enabled)
        activeBefore_ = workspace_->activeSubWindow();
    for (std::size_t i = 0; i < MainMenuCount; ++i)
        actions_->Menu(static_cast<MainMenu>(i))->setEnabled(enabled);
    actions_->MainBar()->setEnabled(enabled);
    const QList<QMdiSubWindow *> windows = workspace_->subWindowList();
    for (QMdiSubWindow *const window : windows)
        window->setEnabled(enabled);
    if (!enabled)
        return;
    ReturnFocus();
    QMetaObject::invokeMethod(this, &frmMain::ActivateAgain, Qt::QueuedConnection);
}

void frmMain::ReturnFocus()
{
    if (!activeBefore_)
        return;
    workspace_->setFocus(); // so that no other data window gets it while the table of this one is hidden
    activeBefore_->setFocus();
}

void frmMain::ActivateAgain()
{
    if (!isActiveWindow() || frmCancel_->isVisible())
        return;
    ReturnFocus();
    activeBefore_ = nullptr;
}

void frmMain::Run(Command command)
{
    switch (command) {
    case Command::FileOpen:
        services_->jobs.Launch(AskAndOpen(), "opening a file");
        break;
    case Command::FileSave:
        mnuFileSave_Click();
        break;
    case Command::FileSaveAs:
        services_->jobs.Launch(SaveActive(true), "saving under a new name");
        break;
    case Command::FileForward:
        services_->jobs.Launch(ForwardActive(), "forwarding");
        break;
    case Command::FileClose:
        if (frmData *const active = ActiveData())
            active->close();
        break;
    case Command::FileExit:
        close();
        break;
    case Command::RealtimeNew:
        services_->shared.MemoryNumbers = false;
        NewDataWindow(KindRealtime);
        break;
    case Command::RealtimeStart:
        StartRealtime();
        break;
    case Command::RealtimeStop:
        live_->Stop();
        break;
    case Command::DataMemory:
        services_->jobs.Launch(ReceiveStored(StoredData::Mode::Memory), "MEMORY-mode download");
        break;
    case Command::DataSave:
        services_->jobs.Launch(ReceiveStored(StoredData::Mode::Save), "SAVE-mode download");
        break;
    case Command::SetupCommport:
        services_->jobs.Launch(RunPortDialog(), "port dialog");
        break;
    case Command::SetupInterval:
        ShowIntervalSetup();
        break;
    case Command::SetupGraph:
        ShowGraphSetup();
        break;
    case Command::ViewToolbar:
        actions_->MainBar()->setVisible(actions_->Item(command)->isChecked());
        actions_->SubBar()->setVisible(actions_->Item(command)->isChecked());
        break;
    case Command::ViewStatusbar:
        statusBar()->setVisible(actions_->Item(command)->isChecked());
        break;
    case Command::ViewMoniter:
        ToggleMoniter();
        break;
    case Command::ViewSource:
        ToggleSource();
        break;
    case Command::HelpAbout:
        ShowAbout(this);
        break;
    }
}

void frmMain::changeEvent(QEvent *event)
{
    QMainWindow::changeEvent(event);
    if (event->type() == QEvent::PaletteChange)
        actions_->MakeIcons();
    if (event->type() == QEvent::ActivationChange && isActiveWindow())
        QMetaObject::invokeMethod(this, &frmMain::ActivateAgain, Qt::QueuedConnection);
}

} // namespace px40
