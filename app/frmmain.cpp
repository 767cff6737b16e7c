#include "app/frmmain.h"

#include "acquire/frminterval.h"
#include "app/about.h"
#include "app/frmcancel.h"
#include "app/frmport.h"
#include "app/help.h"
#include "app/live.h"
#include "app/mainactions.h"
#include "app/maincommands.h"
#include "app/services.h"
#include "app/statusbar.h"
#include "app/windowround.h"
#include "app/workspace.h"
#include "document/frmdata.h"
#include "document/frmsetting.h"
#include "forward/frmforward.h"
#include "forward/spreadsheet.h"
#include "forward/workbookplace.h"
#include "platform/desktop.h"
#include "platform/geometry.h"
#include "platform/oneshot.h"
#include "resources/icons.h"
#include "resources/strings.h"

#include <QAbstractButton>
#include <QApplication>
#include <QCloseEvent>
#include <QFileInfo>
#include <QMenu>
#include <QMenuBar>
#include <QMimeData>
#include <QToolBar>
#include <QUrl>

#include <algorithm>

namespace px40 {

namespace {

// Of the smallest workspace, in letters and lines.
constexpr int LeastColumns = 104;
constexpr int LeastLines = 19;

QStringList LocalFiles(const QMimeData *mime)
{
    QStringList names;
    const QList<QUrl> urls = mime->urls();
    for (const QUrl &url : urls) {
        if (url.isLocalFile())
            names << url.toLocalFile();
    }
    return names;
}

} // namespace

frmMain::frmMain(Services &services)
    : services_(&services), workspace_(new Workspace(this)), actions_(new MainActions(this)),
      frmCancel_(new frmCancel(
          services.state, services.comm, [this](bool enabled) { EnableApplication(enabled); }, this)),
      commands_(new MainCommands(services, *this, *frmCancel_, tmRealtime)),
      live_(new Live(services, *commands_, tmCheckStat, this)), statusBar_(new StatusBar(services, this)),
      help_(new Help(services, this))
{
    commands_->setParent(this);
    setObjectName(QStringLiteral("frmMain"));
    setWindowIcon(ApplicationIcon());
    ShowTitle();
    setCentralWidget(workspace_);
    for (const auto &[command, purpose] :
         {std::pair{Command::RealtimeNew, Str::StartRealtime},
          std::pair{Command::DataMemory, Str::StartMemory}, std::pair{Command::FileOpen, Str::StartOpen}})
        workspace_->Offer(actions_->Item(command), Text(purpose));
    actions_->TabAfter(workspace_->findChildren<QAbstractButton *>().constLast());
    setAcceptDrops(true);
    setStatusBar(statusBar_);
    ConnectAll();
    actions_->ShowRecentFiles(commands_->Files().Recent().Names());
    commands_->RefreshRules();
    actions_->Item(Command::ViewToolbar)->setChecked(true);
    actions_->Item(Command::ViewStatusbar)->setChecked(true);

    SetLeastSize();
    const auto pixels = [this](double twips) { return TwipsToPixels(twips, logicalDpiX()); };
    const QRect usual(pixels(1000), pixels(1000), pixels(10000), pixels(6500));
    RestoreGeometry(*this, QStringLiteral("Main"), usual, services.store);
    const QString state = services.store.Get(QStringLiteral("Settings"), QStringLiteral("MainState"));
    if (state.toInt() == WindowShape::Maximised)
        setWindowState(Qt::WindowMaximized);
}

/// So that nothing on the bars is cut, and a data window can be seen as a whole.
void frmMain::SetLeastSize()
{
    workspace_->setMinimumSize(LeastColumns * fontMetrics().averageCharWidth(),
                               LeastLines * fontMetrics().lineSpacing());
    const int bars = actions_->MainBar()->sizeHint().width() + actions_->SubBar()->sizeHint().width();
    constexpr int MaximisedButtons = 110; // and the icon of a maximised data window, in the menu bar
    setMinimumWidth(std::max(menuBar()->sizeHint().width() + MaximisedButtons, bars));
    setMinimumSize(minimumSize().expandedTo(minimumSizeHint()));
}

void frmMain::ConnectAll()
{
    RecentFiles *const recent = &commands_->Files().Recent();
    connect(actions_, &MainActions::triggered, this, &frmMain::Run);
    connect(actions_, &MainActions::recentFileChosen, this, [this](const QString &name) {
        services_->jobs.Launch(commands_->Files().OpenRecent(name), "opening a recent file");
    });
    connect(actions_, &MainActions::recentFilesCleared, this, [recent] { recent->Clear(); });
    const QMenu *const file = actions_->Menu(MainMenu::File);
    connect(file, &QMenu::aboutToShow, commands_, &MainCommands::RefreshRules);
    connect(file, &QMenu::aboutToShow, this, [this, recent] { actions_->ShowRecentFiles(recent->Names()); });
    connect(actions_->Menu(MainMenu::Realtime), &QMenu::aboutToShow, commands_,
            &MainCommands::OpenRealtimeMenu);
    connect(actions_->Menu(MainMenu::Setup), &QMenu::aboutToShow, commands_, &MainCommands::RefreshRules);
    connect(workspace_, &QMdiArea::subWindowActivated, this, &frmMain::OnWindowActivated);
    connect(commands_, &MainCommands::rulesChanged, this, [this] { actions_->Show(commands_->Rules()); });
    connect(commands_, &MainCommands::left, this, [this] {
        mayGo_ = true;
        close();
        Q_EMIT left();
    });
    connect(live_, &Live::windowsChanged, this, &frmMain::ShowLiveWindows);
    new WindowRound(*actions_, *workspace_, *live_, this);
}

void frmMain::ShowTitle()
{
    QString title = Text(Str::ApplicationTitle);
    if (services_->simulated)
        title += Text(Str::DemoTitleSuffix);
    const QList<std::shared_ptr<DataSet>> sets = DataSets();
    if (!std::all_of(sets.begin(), sets.end(), [](const auto &set) { return set->Protected(); }))
        title += u' ' + Text(Str::NotProtected);
    setWindowTitle(title);
}

void frmMain::ShowProtection(const DataSet &set)
{
    ShowTitle();
    if (!set.Protected())
        services_->statusLine.Warn(
            Text(Str::NotProtectedWhy).arg(QFileInfo(set.Caption()).fileName(), set.WhyNotProtected()));
}

void frmMain::ShowPlaced()
{
    if (QWidget *const place = workspace_->FocusPlace())
        place->setFocus(); // not a tool
    show();
    activateWindow();
    live_->OpenMoniter();
    live_->OpenSource();
}

void frmMain::ShowSelection()
{
    const frmData *const active = ActiveWindow();
    statusBar_->ShowSelection(active ? active->SelectionText() : QString());
}

void frmMain::ShowLiveWindows()
{
    const auto check = [this](Command command, bool open) {
        actions_->Item(command)->setChecked(open);
        actions_->Button(command)->setChecked(open);
    };
    check(Command::ViewMoniter, live_->Moniter() != nullptr);
    check(Command::ViewSource, live_->Source() != nullptr);
}

void frmMain::OnWindowActivated()
{
    commands_->RefreshRules();
    ShowSelection();
    workspace_->viewport()->update();
}

void frmMain::EnableApplication(bool enabled)
{
    actions_->Enable(enabled);
    workspace_->EnableWindows(enabled);
}

void frmMain::Run(Command command)
{
    frmData *const active = ActiveWindow();
    const bool checked = actions_->Item(command) && actions_->Item(command)->isChecked();
    switch (command) {
    case Command::FileClose:
        if (active)
            active->close();
        break;
    case Command::FileExit:
        close();
        break;
    case Command::SetupCommport:
        services_->jobs.Launch(RunPortDialog(), "port dialog");
        break;
    case Command::SetupInterval:
        if (active)
            (new frmInterval(active->Data(), services_->prompts, services_->jobs, this))->open();
        break;
    case Command::SetupGraph:
        if (active)
            (new frmSetting(active->Data(), services_->prompts, services_->jobs, this))->open();
        break;
    case Command::ViewToolbar:
        actions_->MainBar()->setVisible(checked);
        actions_->SubBar()->setVisible(checked);
        break;
    case Command::ViewStatusbar:
        statusBar_->setVisible(checked);
        break;
    case Command::ViewMoniter:
        live_->ToggleMoniter();
        break;
    case Command::ViewSource:
        live_->ToggleSource();
        break;
    case Command::HelpContents:
        help_->Show();
        break;
    case Command::HelpAbout:
        ShowAbout(this);
        break;
    default:
        commands_->Run(command);
        break;
    }
}

QCoro::Task<bool> frmMain::Accepted(QDialog *dialog)
{
    const OneShot<bool> closed;
    connect(dialog, &QDialog::finished, dialog,
            [closed](int result) { closed.Complete(result == QDialog::Accepted); });
    connect(dialog, &QObject::destroyed, [closed] { closed.Complete(false); });
    dialog->open();
    const bool accepted = co_await closed;
    co_return accepted;
}

QCoro::Task<void> frmMain::RunPortDialog()
{
    const bool chosen = co_await Accepted(new frmPort(*services_, tmCheckStat, this));
    if (chosen && !services_->leaving)
        live_->PortChosen();
}

QCoro::Task<std::optional<ForwardChoice>> frmMain::AskForward(std::shared_ptr<ForwardMemory> memory)
{
    ForwardOptions options;
    options.withExcel = HasSpreadsheet();
    if (!options.withExcel)
        options.check = &CheckExistingWorkbook;
    auto *const dialog =
        new frmForward(services_->state, services_->prompts, services_->jobs, memory.get(), options, this);
    const auto choice = std::make_shared<ForwardChoice>(); // the dialog is deleted before this goes on
    connect(dialog, &QDialog::finished, dialog, [dialog, choice] { *choice = dialog->Choice(); });
    const bool accepted = co_await Accepted(dialog);
    if (!accepted)
        co_return std::nullopt;
    co_return *choice;
}

frmData *frmMain::ActiveWindow() const
{
    // The current one, because none is active while MEASURE or SOURCE has the focus.
    return qobject_cast<frmData *>(workspace_->currentSubWindow());
}

frmData *frmMain::WindowOf(const std::shared_ptr<DataSet> &dataSet) const
{
    const QList<QMdiSubWindow *> windows = workspace_->subWindowList();
    for (QMdiSubWindow *const window : windows) {
        auto *const one = qobject_cast<frmData *>(window);
        if (one && one->Data() == dataSet)
            return one;
    }
    return nullptr;
}

QList<std::shared_ptr<DataSet>> frmMain::DataSets() const
{
    QList<std::shared_ptr<DataSet>> sets;
    const QList<QMdiSubWindow *> windows = workspace_->subWindowList();
    for (QMdiSubWindow *const window : windows) {
        if (const auto *const one = qobject_cast<frmData *>(window))
            sets << one->Data();
    }
    return sets;
}

std::shared_ptr<DataSet> frmMain::ActiveData() const
{
    const frmData *const active = ActiveWindow();
    return active ? active->Data() : nullptr;
}

void frmMain::AddDataWindow(std::shared_ptr<DataSet> dataSet, bool fromFile)
{
    const auto confirmClose = [this](std::shared_ptr<DataSet> set) {
        return commands_->Files().ConfirmClose(std::move(set));
    };
    const auto saveGraph = [this](std::shared_ptr<DataSet> set, GraphWriter write) {
        return commands_->Files().SaveGraph(std::move(set), std::move(write));
    };
    auto *const window = new frmData(dataSet, {&services_->state, &services_->jobs, confirmClose, saveGraph});
    connect(dataSet.get(), &DataSet::protectedChanged, this,
            [this, set = dataSet.get()] { ShowProtection(*set); });
    workspace_->addSubWindow(window);
    workspace_->Place(window);
    connect(window, &frmData::selectionTextChanged, this, &frmMain::ShowSelection);
    if (fromFile) {
        window->ApplyShape();
        workspace_->MoveIntoView(window);
    }
    window->show();
    if (!fromFile && window->isMaximized()) { // because the active one was
        WindowShape shape = dataSet->Shape();
        shape.state = WindowShape::Maximised;
        dataSet->SetShape(shape);
    }
    OnWindowActivated();
}

void frmMain::Activate(const std::shared_ptr<DataSet> &dataSet)
{
    workspace_->setActiveSubWindow(WindowOf(dataSet));
}

void frmMain::BringToFront(const std::shared_ptr<DataSet> &dataSet)
{
    frmData *const window = WindowOf(dataSet);
    if (window->isMinimized())
        window->setWindowState(window->windowState() & ~Qt::WindowMinimized);
    Activate(dataSet);
}

void frmMain::ShowFile(const QString &name, const std::function<void()> &failed)
{
    OpenByDesktop(name, this, failed);
}

void frmMain::ShowBusy(bool busy)
{
    if (busy)
        QApplication::setOverrideCursor(Qt::WaitCursor);
    else
        QApplication::restoreOverrideCursor();
}

void frmMain::CloseAll()
{
    if (!isMinimized()) { // if it is, the saved state stays
        const int state = isMaximized() ? WindowShape::Maximised : WindowShape::Normal;
        services_->store.Save(QStringLiteral("Settings"), QStringLiteral("MainState"),
                              QString::number(state));
    }
    SaveGeometry(*this, QStringLiteral("Main"), services_->store);
    live_->Leave();
    tmRealtime.SetEnabled(false);
    const QList<QDialog *> dialogs = findChildren<QDialog *>(Qt::FindDirectChildrenOnly);
    for (QDialog *const dialog : dialogs) {
        if (dialog != frmCancel_)
            dialog->close();
    }
}

void frmMain::closeEvent(QCloseEvent *event)
{
    event->setAccepted(mayGo_);
    if (!mayGo_)
        commands_->Leave();
}

void frmMain::changeEvent(QEvent *event)
{
    QMainWindow::changeEvent(event);
    if (event->type() == QEvent::PaletteChange)
        actions_->MakeIcons();
    if (event->type() == QEvent::ActivationChange && isActiveWindow())
        workspace_->ReturnFocusSoon();
}

void frmMain::dragEnterEvent(QDragEnterEvent *event)
{
    TakeDrop(event);
}

/// True when the drop brings files to open. They are never moved, even if the user asks for that.
bool frmMain::TakeDrop(QDropEvent *event) const
{
    // Not while a long operation has disabled the menus.
    if (!actions_->Menu(MainMenu::File)->isEnabled() || LocalFiles(event->mimeData()).isEmpty() ||
        !(event->possibleActions() & Qt::CopyAction))
        return false;
    event->setDropAction(Qt::CopyAction);
    event->accept();
    return true;
}

void frmMain::dropEvent(QDropEvent *event)
{
    if (TakeDrop(event))
        services_->jobs.Launch(commands_->Files().Open(LocalFiles(event->mimeData())),
                               "opening dropped files");
}

} // namespace px40
