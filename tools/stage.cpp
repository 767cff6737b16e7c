#include "tools/stage.h"

#include "acquire/frmmoniter.h"
#include "document/frmdata.h"
#include "graph/chart.h"
#include "source/frmsource.h"

#include <QAction>
#include <QApplication>
#include <QDesktopServices>
#include <QDialog>
#include <QDir>
#include <QLineEdit>
#include <QMdiArea>
#include <QMenu>
#include <QMenuBar>
#include <QPointer>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTableView>
#include <QTest>
#include <QToolBar>
#include <QWindow>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace px40 {

namespace {

constexpr int HourMs = 3600 * 1000;
/// Three silent attempts do not take long; an instrument that answers does so much sooner.
constexpr int ReplyTimeoutMs = 400;

/// The top-level window of that kind and object name that is open; another one may be about to go.
template <typename Window>
Window *OpenOne(const char *name = nullptr)
{
    const QWidgetList windows = QApplication::topLevelWidgets();
    for (QWidget *const one : windows) {
        auto *const window = qobject_cast<Window *>(one);
        if (window && window->isVisible() && (!name || window->objectName() == QLatin1StringView(name)))
            return window;
    }
    return nullptr;
}

} // namespace

Desktop::Desktop()
{
    QDesktopServices::setUrlHandler(u"file"_s, this, "Show");
}

Desktop::~Desktop()
{
    QDesktopServices::unsetUrlHandler(u"file"_s);
}

Stage::Stage(Camera &camera, Port port)
    : Program(prompts, Unpaced(), &clock, port, ReplyTimeoutMs), camera_(&camera)
{
}

Stage::~Stage()
{
    Settle();
}

QString Stage::Document(const QString &name)
{
    return QDir(QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation)).filePath(name);
}

void Stage::HoldTimers()
{
    for (Timer *const timer : {&window->tmCheckStat, window->findChild<Timer *>(u"tmFade"_s)}) {
        if (timer->Interval() != 0 && timer->Interval() != HourMs)
            timer->SetInterval(HourMs);
    }
}

void Stage::Wait(const std::function<bool()> &done, const QString &sentence)
{
    const auto held = [&] {
        HoldTimers();
        return done();
    };
    Await(held, sentence);
}

void Stage::Idle()
{
    Wait([this] { return services.jobs.Running() == 0; }, u"The procedure under way did not end."_s);
    for (int turn = 0; turn < 3; ++turn) // what windows put off until the next turn: scrolling, layouts
        QCoreApplication::processEvents();
}

void Stage::BeginSecond()
{
    HoldTimers();
    clock.Advance(1000);
    if (window->tmCheckStat.Enabled() && window->tmCheckStat.Interval() != 0)
        Q_EMIT window->tmCheckStat.tick();
    if (window->tmRealtime.Enabled())
        Q_EMIT window->tmRealtime.tick();
}

void Stage::Fade()
{
    Q_EMIT window->findChild<Timer *>(u"tmFade"_s)->tick();
}

void Stage::Second()
{
    BeginSecond();
    Idle();
}

void Stage::SecondsUntil(const std::function<bool()> &done, const QString &sentence)
{
    for (int second = 0; !done(); ++second) {
        Require(second < 60, sentence);
        Second();
    }
}

void Stage::StartUp(const QPoint &sourcePlace)
{
    Send([this] {
        Program::StartUp();
        Idle();
        Second();
    });
    Second();
    Source()->move(sourcePlace);
}

void Stage::Send(const std::function<void()> &act)
{
    const auto sent = [this] {
        static const QRegularExpression all(u"^(MO|SO|UP|DW|NM|ND|SR|TE|PU|SD)"_s);
        return Commands().filter(all).size();
    };
    const qsizetype before = sent();
    act();
    Wait([&] { return sent() > before; }, u"No command was sent."_s);
    Idle();
}

void Stage::Set(const std::function<void(sim::Instrument &)> &change)
{
    server.WithInstrument([&](sim::Instrument &instrument) { change(instrument); });
    Second();
}

void Stage::Settle()
{
    server.SetFaults({});
    const auto settled = [this] {
        if (QWidget *const popup = QApplication::activePopupWidget())
            popup->close();
        if (QWidget *const modal = QApplication::activeModalWidget())
            modal->close();
        for (const char *const name : {"frmCancel", "frmSrcValueSet"}) {
            if (auto *const dialog = OpenOne<QDialog>(name))
                dialog->close();
        }
        if (Action("Stop")->isEnabled()) {
            Action("Stop")->trigger();
            BeginSecond();
        }
        return services.jobs.Running() == 0;
    };
    WaitUntil(settled);
}

QWidget *Stage::Moniter() const
{
    return OpenOne<frmMoniter>();
}

QWidget *Stage::Source() const
{
    return OpenOne<frmSource>();
}

void Stage::Open(const QString &name)
{
    Choose("mnuFile", "mnuFileOpen");
    ChooseFile(name);
    Idle();
}

void Stage::SideBySide()
{
    const QList<frmData *> windows = DataWindows();
    const QRect room = Find<QMdiArea>("workspace")->viewport()->rect();
    const QRect half(room.topLeft(), QSize(room.width() / 2, room.height()));
    windows.first()->setGeometry(half);
    windows.last()->setGeometry(half.translated(half.width(), 0));
}

frmData *Stage::Data() const
{
    return DataWindows().last();
}

Chart *Stage::Graph() const
{
    return Find<Chart>("chData", Data());
}

int Stage::Rows() const
{
    return Find<QTableView>("fgData", Data())->model()->rowCount();
}

void Stage::AwaitRows(int rows)
{
    Wait([&] { return !DataWindows().isEmpty() && Rows() >= rows; },
         u"The %1. reading did not arrive."_s.arg(rows));
}

void Stage::Take(const char *name, const Widgets &inFront)
{
    TakeOnly(QString::fromLatin1(name), Widgets{window.get()} + inFront);
}

void Stage::TakeAll(const char *name, const Widgets &inFront)
{
    Widgets live = {Moniter(), Source()};
    live.removeAll(nullptr);
    Take(name, live + inFront);
}

void Stage::BringToFront(QWidget *front)
{
    static constexpr int LittleMs = 500;
    front->activateWindow();
    // Where there is nobody to hand out the focus the picture is good without it.
    WaitUntil([front] { return front->isActiveWindow(); }, LittleMs);
}

void Stage::Click(QWidget *widget)
{
    const QWidget *const modal = QApplication::activeModalWidget();
    Require(widget->isVisible() && widget->isEnabled() && (!modal || widget->window() == modal),
            u"\"%1\" cannot be clicked."_s.arg(widget->objectName()));
    QTest::mouseClick(widget, Qt::LeftButton);
}

void Stage::ClickTool(const char *name)
{
    auto *const main = Find<QToolBar>("tbMain")->widgetForAction(Action(name));
    Click(main ? main : Find<QToolBar>("tbSub")->widgetForAction(Action(name)));
}

void Stage::Type(const char *field, const QString &text, const QObject *parent)
{
    auto *const edit = Find<QLineEdit>(field, parent);
    Click(edit);
    edit->selectAll();
    QTest::keyClicks(edit, text);
}

QMenu *Stage::OpenMenu(const char *name)
{
    auto *const menu = Find<QMenu>(name);
    QMenuBar *const bar = window->menuBar();
    QTest::mouseClick(bar, Qt::LeftButton, {}, bar->actionGeometry(menu->menuAction()).center());
    Wait([menu] { return menu->isVisible(); }, u"The menu %1 did not open."_s.arg(menu->objectName()));
    return menu;
}

void Stage::CloseMenu(QMenu *menu)
{
    QTest::keyClick(menu, Qt::Key_Escape);
    QTest::keyClick(window->menuBar(), Qt::Key_Escape); // the highlight in the menu bar
    AwaitClosed(menu);
}

void Stage::Choose(const char *menu, const char *item)
{
    QMenu *const opened = OpenMenu(menu);
    QTest::mouseClick(opened, Qt::LeftButton, {}, opened->actionGeometry(Action(item)).center());
    AwaitClosed(opened);
}

QMenu *Stage::OpenContextMenu(QWidget *widget, const QPoint &place)
{
    QWidget *const top = widget->window();
    QTest::mouseClick(top->windowHandle(), Qt::RightButton, {}, widget->mapTo(top, place));
    const auto menu = [] { return qobject_cast<QMenu *>(QApplication::activePopupWidget()); };
    Wait([&] { return menu() != nullptr; }, u"No context menu opened."_s);
    return menu();
}

void Stage::ChooseItem(QMenu *menu, const QString &text)
{
    const QList<QAction *> items = menu->actions();
    const auto item =
        std::find_if(items.begin(), items.end(), [&](auto *one) { return one->text().remove(u'&') == text; });
    Require(item != items.end(), u"The menu has no item \"%1\"."_s.arg(text));
    QTest::mouseClick(menu, Qt::LeftButton, {}, menu->actionGeometry(*item).center());
}

QMessageBox *Stage::Box()
{
    Wait([] { return OpenOne<QMessageBox>() != nullptr; }, u"No message box appeared."_s);
    auto *const box = OpenOne<QMessageBox>();
    BringToFront(box);
    return box;
}

void Stage::Answer(QMessageBox::StandardButton button, QMessageBox *box)
{
    QMessageBox *const asked = box ? box : Box();
    ClickAnswer(asked, asked->button(button));
}

void Stage::Answer(const QString &button, QMessageBox *box)
{
    QMessageBox *const asked = box ? box : Box();
    const QList<QAbstractButton *> all = asked->buttons();
    const auto found = std::find_if(all.begin(), all.end(), [&](auto *one) { return one->text() == button; });
    ClickAnswer(asked, found == all.end() ? nullptr : *found);
}

void Stage::ClickAnswer(QMessageBox *box, QWidget *button)
{
    Require(button, u"The message box lacks the button: %1"_s.arg(box->text()));
    const QPointer<QWidget> open = box;
    Click(button);
    Wait([open] { return !open; }, u"The message box did not close."_s);
}

QDialog *Stage::Dialog(const char *name)
{
    const auto opened = [&] { return OpenOne<QDialog>(name) != nullptr; };
    Wait(opened, u"The dialog %1 did not open."_s.arg(QLatin1StringView(name)));
    auto *const dialog = OpenOne<QDialog>(name);
    BringToFront(dialog);
    return dialog;
}

void Stage::CloseDialog(QDialog *dialog, const char *button)
{
    const QPointer<QDialog> open = dialog;
    Click(button, dialog);
    Wait([open] { return !open; }, u"The dialog did not close."_s);
}

void Stage::ChooseFile(const QString &name)
{
    auto *const edit = Find<QLineEdit>("fileNameEdit", FileDialog());
    edit->activateWindow();
    edit->setFocus();
    // The dialog takes what is marked in its list for the answer unless the user is in this field.
    Wait([edit] { return edit->hasFocus(); }, u"The file dialog's name field does not get the focus."_s);
    edit->setText(name); // at once: the list of proposals would take the keys
    QTest::keyClick(edit, Qt::Key_Return);
}

void Stage::CancelFile()
{
    const QPointer<QDialog> open = FileDialog();
    QTest::keyClick(open, Qt::Key_Escape);
    Wait([open] { return !open; }, u"The file dialog did not close."_s);
}

void Stage::AwaitClosed(QWidget *closing)
{
    Wait([closing] { return !closing->isVisible(); }, u"\"%1\" did not close."_s.arg(closing->objectName()));
}

} // namespace px40
