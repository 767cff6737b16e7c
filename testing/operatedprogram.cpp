#include "testing/operatedprogram.h"

#include "acquire/frmmoniter.h"
#include "document/frmdata.h"
#include "graph/chart.h"
#include "simulator/keyorders.h"
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
#include <QWindow>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace px40 {

namespace {

constexpr int HourMs = 3600 * 1000;
/// Three silent attempts do not take long; an instrument that answers does so much sooner.
constexpr int ReplyTimeoutMs = 400;
const QString NothingCame = u"What was to come next did not."_s;

} // namespace

Desktop::Desktop()
{
    QDesktopServices::setUrlHandler(u"file"_s, this, "Show");
}

Desktop::~Desktop()
{
    QDesktopServices::unsetUrlHandler(u"file"_s);
}

OperatedProgram::OperatedProgram(Port port) : Program(prompts, Unpaced(), &clock, port, ReplyTimeoutMs) {}

QString OperatedProgram::Document(const QString &name)
{
    return QDir(QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation)).filePath(name);
}

void OperatedProgram::HoldTimers()
{
    for (Timer *const timer : {&window->tmCheckStat, window->findChild<Timer *>(u"tmFade"_s)}) {
        if (timer->Interval() != 0 && timer->Interval() != HourMs)
            timer->SetInterval(HourMs);
    }
}

void OperatedProgram::Wait(const std::function<bool()> &done)
{
    const auto held = [&] {
        HoldTimers();
        return done();
    };
    Await(held, NothingCame);
}

void OperatedProgram::Idle()
{
    Wait([this] { return services.jobs.Running() == 0; });
    for (int turn = 0; turn < 3; ++turn) // what windows put off until the next turn: scrolling, layouts
        QCoreApplication::processEvents();
}

void OperatedProgram::BeginSecond()
{
    HoldTimers();
    clock.Advance(1000);
    if (window->tmCheckStat.Enabled() && window->tmCheckStat.Interval() != 0)
        Q_EMIT window->tmCheckStat.tick();
    if (window->tmRealtime.Enabled())
        Q_EMIT window->tmRealtime.tick();
}

void OperatedProgram::Seconds(int count)
{
    for (int second = 0; second < count; ++second)
        Second();
}

void OperatedProgram::Fade()
{
    Q_EMIT window->findChild<Timer *>(u"tmFade"_s)->tick();
}

void OperatedProgram::Second()
{
    BeginSecond();
    Idle();
}

void OperatedProgram::SecondsUntil(const std::function<bool()> &done)
{
    for (int second = 0; !done(); ++second) {
        Require(second < 60, NothingCame);
        Second();
    }
}

void OperatedProgram::StartUp()
{
    Send([this] {
        Program::StartUp();
        Idle();
        Second();
    });
}

void OperatedProgram::Send(const std::function<void()> &act)
{
    const auto sent = [this] {
        static const QRegularExpression all(u"^(MO|SO|UP|DW|NM|ND|SR|TE|PU|SD)"_s);
        return Commands().filter(all).size();
    };
    const qsizetype before = sent();
    act();
    Wait([&] { return sent() > before; });
    Idle();
}

void OperatedProgram::See(const std::function<void()> &act)
{
    Send(act);
    Second();
}

void OperatedProgram::Set(const char *orders)
{
    const QList<QByteArray> all = QByteArray(orders).split(';');
    for (const QByteArray &one : all) {
        const std::string order = one.trimmed().toStdString();
        std::string error;
        const bool done = server.WithInstrument([&](sim::Instrument &instrument) {
            return sim::IsKeyOrder(order) ? sim::ObeyKeys(order, instrument, &error)
                                          : instrument.Answer(order) == "OK";
        });
        Require(done, u"The instrument does not obey \"%1\"."_s.arg(QString::fromStdString(order)));
    }
    Second();
}

QWidget *OperatedProgram::Moniter() const
{
    return OpenOne<frmMoniter>();
}

QWidget *OperatedProgram::Source() const
{
    return OpenOne<frmSource>();
}

void OperatedProgram::Open(const QString &name)
{
    Choose("mnuFileOpen");
    ChooseFile(name);
    Idle();
}

frmData *OperatedProgram::Data() const
{
    return DataWindows().last();
}

Chart *OperatedProgram::Graph() const
{
    return Find<Chart>("chData", Data());
}

int OperatedProgram::Rows() const
{
    return Find<QTableView>("fgData", Data())->model()->rowCount();
}

void OperatedProgram::AwaitRows(int rows)
{
    Wait([&] { return !DataWindows().isEmpty() && Rows() >= rows; });
}

void OperatedProgram::BringToFront(QWidget *front)
{
    static constexpr int LittleMs = 500;
    front->activateWindow();
    // Where there is nobody to hand out the focus the picture is good without it.
    WaitUntil([front] { return front->isActiveWindow(); }, LittleMs);
}

void OperatedProgram::Click(QWidget *widget)
{
    const QWidget *const modal = QApplication::activeModalWidget();
    Require(widget->isVisible() && widget->isEnabled() && (!modal || widget->window() == modal),
            u"\"%1\" cannot be clicked."_s.arg(widget->objectName()));
    QTest::mouseClick(widget, Qt::LeftButton);
}

void OperatedProgram::Type(const QObject *parent, const std::vector<std::pair<const char *, QString>> &texts)
{
    for (const auto &[field, text] : texts) {
        auto *const edit = Find<QLineEdit>(field, parent);
        Click(edit);
        edit->selectAll();
        QTest::keyClicks(edit, text);
    }
}

QMenu *OperatedProgram::OpenMenu(const char *name)
{
    auto *const menu = Find<QMenu>(name);
    QMenuBar *const bar = window->menuBar();
    QTest::mouseClick(bar, Qt::LeftButton, {}, bar->actionGeometry(menu->menuAction()).center());
    Wait([menu] { return menu->isVisible(); });
    return menu;
}

void OperatedProgram::CloseMenu(QMenu *menu)
{
    QTest::keyClick(menu, Qt::Key_Escape);
    QTest::keyClick(window->menuBar(), Qt::Key_Escape); // the highlight in the menu bar
    Wait([menu] { return !menu->isVisible(); });
}

void OperatedProgram::Choose(const char *action)
{
    Require(Action(action)->isEnabled(), u"\"%1\" cannot be chosen."_s.arg(QLatin1StringView(action)));
    Action(action)->trigger();
}

QMenu *OperatedProgram::OpenContextMenu(QWidget *widget, const QPoint &place)
{
    QWidget *const top = widget->window();
    QTest::mouseClick(top->windowHandle(), Qt::RightButton, {}, widget->mapTo(top, place));
    const auto menu = [] { return qobject_cast<QMenu *>(QApplication::activePopupWidget()); };
    Wait([&] { return menu() != nullptr; });
    return menu();
}

void OperatedProgram::ChooseItem(QMenu *menu, const QString &text)
{
    const QList<QAction *> items = menu->actions();
    const auto item =
        std::find_if(items.begin(), items.end(), [&](auto *one) { return one->text().remove(u'&') == text; });
    Require(item != items.end(), u"The menu has no item \"%1\"."_s.arg(text));
    QTest::mouseClick(menu, Qt::LeftButton, {}, menu->actionGeometry(*item).center());
}

void OperatedProgram::Close(QWidget *closing, const std::function<void()> &act)
{
    const QPointer<QWidget> open = closing;
    const QString name = closing->objectName();
    act();
    Wait([open] { return !open; });
}

void OperatedProgram::Answer(const QString &button)
{
    QMessageBox *const box = Box();
    const QList<QAbstractButton *> all = box->buttons();
    const auto found =
        std::find_if(all.begin(), all.end(), [&](auto *one) { return one->text().remove(u'&') == button; });
    Require(found != all.end(), u"The message box lacks the button: %1"_s.arg(box->text()));
    Close(box, [&] { Click(*found); });
}

void OperatedProgram::Dismiss()
{
    Answer(u"OK"_s);
    Idle();
}

void OperatedProgram::CloseDialog(QDialog *dialog, const char *button)
{
    Close(dialog, [&] { Click(button, dialog); });
}

void OperatedProgram::ChooseFile(const QString &name)
{
    auto *const edit = Find<QLineEdit>("fileNameEdit", FileDialog());
    edit->activateWindow();
    edit->setFocus();
    // The dialog takes what is marked in its list for the answer unless the user is in this field.
    Wait([edit] { return edit->hasFocus(); });
    edit->setText(name); // at once: the list of proposals would take the keys
    QTest::keyClick(edit, Qt::Key_Return);
}

void OperatedProgram::Escape(QDialog *dialog)
{
    Close(dialog, [dialog] { QTest::keyClick(dialog, Qt::Key_Escape); });
}

} // namespace px40
