#include "tools/stage.h"

#include "app/startup.h"
#include "document/frmdata.h"

#include <QApplication>
#include <QLabel>
#include <QLineEdit>
#include <QMdiArea>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QPointer>
#include <QPushButton>
#include <QTest>
#include <QToolBar>
#include <QWindow>

namespace px40 {

namespace {

/// Short, so that three silent attempts do not take long; long enough for a picture to be taken meanwhile.
constexpr int ReplyTimeoutMs = 500;

/// Faster than the instrument's line: nobody watches.
sim::ServerOptions FasterLine()
{
    sim::ServerOptions options;
    options.line.baud = 38400;
    return options;
}

/// As the desktop does with a dialog that has just opened.
void BringToFront(QWidget *dialog)
{
    static constexpr int LittleMs = 500;
    dialog->activateWindow();
    // Where there is nobody to hand out the focus the picture is good without it.
    AwaitIfPossible([dialog] { return dialog->isActiveWindow(); }, LittleMs);
}

} // namespace

Stage::Stage(Instrument instrument)
    : server(FasterLine()), services(UserStore::InFile(folder.filePath(QStringLiteral("user.ini"))),
                                     PathsIn(folder.path()), prompts, ReplyTimeoutMs)
{
    if (instrument == Instrument::Demo) {
        services.simulated = true;
        services.ports.Fix(PortMap::First, Device());
    }
    window = std::make_unique<frmMain>(services);
    QObject::connect(window.get(), &frmMain::left, window.get(), [this] { left_ = true; });
}

Stage::~Stage()
{
    if (!left_) {
        Settle();
        const QList<frmData *> all = DataWindows();
        for (frmData *const data : all)
            data->Data()->MarkSaved();
        window->close();
        AwaitIfPossible([this] { return left_; });
    }
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

void Stage::Start(bool splash)
{
    services.jobs.Launch(RunStartup(&services, window.get(), splash), "start-up");
}

void Stage::SetFault(const QString &fault)
{
    sim::Faults faults;
    std::string error;
    Require(sim::ApplyFault(fault.toStdString(), faults, &error), QString::fromStdString(error));
    server.SetFaults(faults);
}

void Stage::PlugIn()
{
    server.PlugIn();
    services.ports.Fix(PortMap::First, Device());
}

QMdiArea *Stage::Workspace() const
{
    auto *const workspace = qobject_cast<QMdiArea *>(window->centralWidget());
    Require(workspace != nullptr, QStringLiteral("The main window has no workspace."));
    return workspace;
}

QList<frmData *> Stage::DataWindows() const
{
    QList<frmData *> windows;
    const QList<QMdiSubWindow *> all = Workspace()->subWindowList(QMdiArea::CreationOrder);
    for (QMdiSubWindow *const one : all) {
        if (auto *const data = qobject_cast<frmData *>(one))
            windows.append(data);
    }
    return windows;
}

QString Stage::Message() const
{
    return Find<QLabel>(QStringLiteral("Msg"))->text();
}

QString Stage::PortPanel() const
{
    return Find<QLabel>(QStringLiteral("Port"))->text();
}

QMessageBox *Stage::Box()
{
    const QWidgetList windows = QApplication::topLevelWidgets();
    for (QWidget *const one : windows) {
        auto *const box = qobject_cast<QMessageBox *>(one);
        if (box && box->isVisible())
            return box;
    }
    return nullptr;
}

QDialog *Stage::Dialog(const QString &name) const
{
    const QList<QDialog *> dialogs = window->findChildren<QDialog *>(name);
    for (QDialog *const dialog : dialogs) {
        if (dialog->isVisible()) // another one may be about to go
            return dialog;
    }
    return nullptr;
}

QMessageBox *Stage::AwaitBox()
{
    Await([] { return Box() != nullptr; }, QStringLiteral("No message box appeared."));
    QMessageBox *const box = Box();
    BringToFront(box);
    return box;
}

QDialog *Stage::AwaitDialog(const QString &name)
{
    Await([&] { return Dialog(name) != nullptr; }, QStringLiteral("The dialog %1 did not open.").arg(name));
    QDialog *const dialog = Dialog(name);
    BringToFront(dialog);
    return dialog;
}

QDialog *Stage::AwaitFileDialog()
{
    return AwaitDialog(QStringLiteral("dlgCommon"));
}

void Stage::TypeFileName(const QDialog *dialog, const QString &name)
{
    auto *const edit = Find<QLineEdit>(QStringLiteral("fileNameEdit"), dialog);
    edit->activateWindow();
    edit->setFocus();
    // The dialog takes what is marked in its list for the answer unless the user is in this field.
    Await([edit] { return edit->hasFocus(); },
          QStringLiteral("The file dialog's name field does not get the focus."));
    edit->setText(name); // at once: the list of proposals would take the keys
}

void Stage::ChooseFile(const QDialog *dialog, const QString &name)
{
    TypeFileName(dialog, name);
    QTest::keyClick(Find<QLineEdit>(QStringLiteral("fileNameEdit"), dialog), Qt::Key_Return);
}

void Stage::CancelFileDialog(QDialog *dialog)
{
    const QPointer<QDialog> open = dialog;
    QTest::keyClick(dialog, Qt::Key_Escape);
    Await([open] { return !open; }, QStringLiteral("The file dialog did not close."));
}

void Stage::Click(QWidget *widget)
{
    const QString name = widget->objectName();
    Require(widget->isVisible(), QStringLiteral("\"%1\" cannot be clicked: it is hidden.").arg(name));
    Require(widget->isEnabled(), QStringLiteral("\"%1\" cannot be clicked: it is disabled.").arg(name));
    const QWidget *const modal = QApplication::activeModalWidget();
    Require(!modal || widget->window() == modal,
            QStringLiteral("\"%1\" cannot be clicked: a dialog stands before it.").arg(name));
    QTest::mouseClick(widget, Qt::LeftButton);
}

void Stage::ClickButton(const QWidget *parent, const QString &name)
{
    Click(Find<QPushButton>(name, parent));
}

void Stage::ClickTool(const QString &key)
{
    auto *const action = Find<QAction>(key);
    for (const char16_t *const bar : {u"tbMain", u"tbSub"}) {
        if (QWidget *const button = Find<QToolBar>(QString::fromUtf16(bar))->widgetForAction(action)) {
            Click(button);
            return;
        }
    }
    Require(false, QStringLiteral("There is no tool button \"%1\".").arg(key));
}

QMenu *Stage::OpenMenu(const QString &name)
{
    auto *const menu = Find<QMenu>(name);
    QMenuBar *const bar = window->menuBar();
    const QRect title = bar->actionGeometry(menu->menuAction());
    QTest::mouseClick(bar, Qt::LeftButton, {}, title.center());
    Await([menu] { return menu->isVisible(); }, QStringLiteral("The menu %1 did not open.").arg(name));
    return menu;
}

void Stage::CloseMenu(QMenu *menu)
{
    QTest::keyClick(menu, Qt::Key_Escape);
    QTest::keyClick(window->menuBar(), Qt::Key_Escape); // the highlight in the menu bar
    Await([menu] { return !menu->isVisible(); },
          QStringLiteral("The menu %1 did not close.").arg(menu->objectName()));
}

void Stage::Choose(const QString &menuName, const QString &itemName)
{
    QMenu *const menu = OpenMenu(menuName);
    auto *const item = Find<QAction>(itemName);
    const bool enabled = item->isEnabled();
    if (enabled)
        QTest::mouseClick(menu, Qt::LeftButton, {}, menu->actionGeometry(item).center());
    else
        CloseMenu(menu);
    Require(enabled, QStringLiteral("The menu item %1 is disabled.").arg(itemName));
}

QMenu *Stage::OpenContextMenu(const QWidget *widget, const QPoint &place)
{
    QWidget *const top = widget->window();
    QTest::mouseClick(top->windowHandle(), Qt::RightButton, {}, widget->mapTo(top, place));
    const auto menu = [] { return qobject_cast<QMenu *>(QApplication::activePopupWidget()); };
    Await([&] { return menu() != nullptr; }, QStringLiteral("No context menu opened."));
    return menu();
}

void Stage::ChooseItem(QMenu *menu, const QString &text)
{
    const QList<QAction *> items = menu->actions();
    for (QAction *const item : items) {
        if (item->text().remove(u'&') == text) {
            QTest::mouseClick(menu, Qt::LeftButton, {}, menu->actionGeometry(item).center());
            return;
        }
    }
    Require(false, QStringLiteral("The menu has no item \"%1\".").arg(text));
}

void Stage::Answer(QMessageBox *box, int button)
{
    const QPointer<QMessageBox> open = box;
    QAbstractButton *const choice = box->button(static_cast<QMessageBox::StandardButton>(button));
    Require(choice != nullptr, QStringLiteral("The message box lacks the button."));
    Click(choice);
    Await([open] { return !open; }, QStringLiteral("The message box did not close."));
}

void Stage::DiscardActiveData()
{
    const qsizetype before = DataWindows().size();
    Choose(QStringLiteral("mnuFile"), QStringLiteral("mnuFileClose"));
    Answer(AwaitBox(), QMessageBox::No);
    Await([&] { return DataWindows().size() == before - 1 && Idle(); },
          QStringLiteral("The data window did not close."));
}

void Stage::Settle()
{
    server.SetFaults({});
    const auto settled = [this] {
        if (QWidget *const popup = QApplication::activePopupWidget())
            popup->close();
        if (QWidget *const modal = QApplication::activeModalWidget())
            modal->close();
        QDialog *const progress = window->findChild<QDialog *>(QStringLiteral("frmCancel"));
        if (progress && progress->isVisible())
            progress->close();
        return Idle();
    };
    AwaitIfPossible(settled);
}

} // namespace px40
