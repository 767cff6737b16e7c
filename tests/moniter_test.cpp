#include "acquire/frmmoniter.h"
#include "acquire/measuredisplay.h"
#include "acquire/status.h"
#include "platform/screens.h"
#include "tests/support.h"

#include <QApplication>
#include <QLabel>
#include <QPointer>
#include <QPushButton>
#include <QSignalSpy>

#include <cmath>
#include <utility>

using namespace px40;

namespace {

struct Rig : LinkRig
{
    explicit Rig(int timeoutMs = ReplyTimeoutMs) : LinkRig(Unpaced(), timeoutMs) {}

    QPointer<frmMoniter> Window(QWidget *parent = nullptr)
    {
        const QPointer<frmMoniter> window =
            new frmMoniter({&state, &gate, &comm, &jobs, &store, &instrument}, parent);
        window->show();
        return window;
    }

    InstrumentState instrument;
};

QPushButton *Button(const frmMoniter *window)
{
    return window->findChild<QPushButton *>(u"btMeasOnOff"_qs);
}

/// All that the window shows, with colons between: the texts, the names of visible drawings, the button.
QString Seen(const frmMoniter *window)
{
    QStringList parts;
    for (const QString &name : {u"llValue"_qs, u"llUnit"_qs, u"llFunction"_qs})
        parts << window->findChild<QLabel *>(name)->text();
    for (const QString &name : {u"imUnit0"_qs, u"imUnit1"_qs, u"imUnit2"_qs, u"shOn"_qs, u"shOff"_qs}) {
        if (window->findChild<QWidget *>(name)->isVisible())
            parts << name;
    }
    for (int i = 0; i < 7; ++i)
        parts << window->findChild<QLabel *>(u"llDipsw%1"_qs.arg(i))->text();
    parts << (Button(window)->isEnabled() ? u"may"_qs : u"may not"_qs);
    return parts.join(u':');
}

} // namespace

class MoniterTest : public QObject
{
    Q_OBJECT

  private Q_SLOTS:
    void ShowsWhatItIsTold();
    void KeepsItsPlaceOnTheScreen();
    void StaysWhileTheLinkNeedsIt();
    void EachPressSendsACommand();
    void ClosedDuringTheExchange();
};

void MoniterTest::ShowsWhatItIsTold()
{
    Rig rig;
    const QPointer<frmMoniter> window = rig.Window();
    const MeasureDisplay volts{u"+10.503"_qs, u"V"_qs, u"DC"_qs, MeasureDisplay::NoSymbol, true, true, {}};
    MeasureDisplay sensor{u"-1234.5"_qs, {}, u"K"_qs, MeasureDisplay::ThermocoupleSymbol, true, true, {}};
    const MeasureDisplay thermocouple = sensor;
    sensor.symbol = MeasureDisplay::Jpt100Symbol;
    MeasureDisplay sweep;
    sweep.buttonEnabled = false;
    sweep.indicators = {u"SWEEP"_qs, u"16s"_qs, {}, {}, u"AUTO OFF"_qs, {}, u"CONTACT IN"_qs};
    const std::pair<MeasureDisplay, QString> cases[] = {
        {{}, u":::shOff::::::::may"_qs},
        {volts, u"+10.503:V:DC:shOn::::::::may"_qs},
        {thermocouple, u"-1234.5::K:imUnit0:shOn::::::::may"_qs},
        {sensor, u"-1234.5::K:imUnit2:shOn::::::::may"_qs},
        {sweep, u":::shOff:SWEEP:16s:::AUTO OFF::CONTACT IN:may not"_qs},
        {{}, u":::shOff::::::::may"_qs},
    };
    for (const auto &[display, expected] : cases) {
        window->Show(display);
        QCOMPARE(Seen(window), expected);
    }
    QCOMPARE(window->focusWidget(), Button(window)); // again, after it was disabled
    QCOMPARE(Button(window)->text(), u"MEAS\n ON"_qs);

    // A digit that changes moves no other one.
    auto *const value = window->findChild<QLabel *>(u"llValue"_qs);
    const auto picture = [&](const QString &text) {
        value->setText(text);
        return value->grab(QRect(value->width() / 2, 0, value->width() / 2, value->height())).toImage();
    };
    QCOMPARE(picture(u"+11.503"_qs), picture(u"-98.503"_qs));
    QVERIFY(picture(u"+11.503"_qs) != picture(u"+11.504"_qs));
    delete window;
}

void MoniterTest::KeepsItsPlaceOnTheScreen()
{
    Rig rig;
    const QRect screen = UsableScreens().first();
    QWidget desk;
    desk.setGeometry(QRect(screen.topLeft(), QSize(screen.width() - 100, 500)));
    QPointer<frmMoniter> window = rig.Window(&desk);
    QVERIFY(rig.state.MonitorOpen);
    QVERIFY(screen.contains(window->geometry()));
    QVERIFY(window->geometry().right() < desk.frameGeometry().right()); // there is no room beside it
    const QRect place(screen.topLeft() + QPoint(20, 30), QSize(400, 250));
    window->setGeometry(place);

    const QSignalSpy closed(window, &frmMoniter::closed);
    QApplication::setActiveWindow(window);
    QTest::keyClick(window, Qt::Key_Escape);
    QVERIFY(WaitUntil([&] { return !window; }));
    QCOMPARE(closed.size(), 1);
    QVERIFY(!rig.state.MonitorOpen);
    QCOMPARE(rig.store.GetNumber(u"Settings"_qs, u"MoniterTop"_qs, 0),
             std::round(place.top() * 1440.0 / desk.logicalDpiX()));

    window = rig.Window(&desk);
    QCOMPARE(window->geometry(), place);
    window->setGeometry(place.translated(30000, 0)); // a screen that is gone at the next opening
    window->close();
    window = rig.Window(&desk);
    QVERIFY(screen.contains(window->geometry()));
    QCOMPARE(window->size(), place.size());
}

void MoniterTest::StaysWhileTheLinkNeedsIt()
{
    Rig rig;
    const QPointer<frmMoniter> window = rig.Window();
    using Case = std::tuple<LinkActivityCode, bool, bool>;
    for (const auto &[activity, run, closes] :
         {Case{ActivityRealtime, true, false}, Case{ActivityDownload, false, false},
          Case{ActivityIdle, true, false}, Case{ActivityStatusCheck, false, true}}) {
        rig.state.LinkActivity = activity;
        rig.state.RealtimeRun = run;
        window->close();
        QCOMPARE(!window->isVisible(), closes);
        QCOMPARE(!rig.state.MonitorOpen, closes);
    }
}

void MoniterTest::EachPressSendsACommand()
{
    Rig rig(5000); // no command is repeated
    rig.Open();
    const QPointer<frmMoniter> window = rig.Window();
    // Someone else's exchange, which lasts for several ticks of the button's timer.
    rig.Fault("late=60");
    const auto exchange = [&] {
        rig.state.LinkActivity = ActivityStatusCheck;
        const bool answered = Running(rig.comm.SendCommand(u"H1"_qs, 1)).Finish();
        return answered && std::exchange(rig.state.LinkActivity, ActivityIdle) == ActivityStatusCheck;
    };

    rig.gate.Take();
    QTest::keyClick(Button(window), Qt::Key_Space);
    Button(window)->click();
    QVERIFY(exchange());
    QCOMPARE(rig.jobs.Running(), 0);
    QCOMPARE(rig.instrument.Status.MeasureOn, 0);

    rig.gate.Release();
    QVERIFY(WaitUntil([&] { return rig.state.LinkActivity == ActivityMonitorCommand; }));
    QVERIFY(rig.state.LinkBusy);
    QCOMPARE(rig.instrument.Status.MeasureOn, 1); // before the answer
    QVERIFY(WaitUntil([&] { return rig.Commands().size() == 3 && rig.jobs.Running() == 0; }));
    QCOMPARE(rig.instrument.Status.MeasureOn, 0);
    QCOMPARE(rig.state.LinkActivity, int{ActivityIdle});
    QVERIFY(!rig.state.LinkBusy);
    QVERIFY(exchange());
    QCOMPARE(rig.Commands(), QStringList({u"H1"_qs, u"MO1"_qs, u"MO0"_qs, u"H1"_qs}));
    QCOMPARE(rig.jobs.Running(), 0);
    delete window;
}

void MoniterTest::ClosedDuringTheExchange()
{
    Rig rig;
    rig.Open();
    rig.Fault("silent");
    const QPointer<frmMoniter> window = rig.Window();
    Button(window)->click();
    QVERIFY(WaitUntil([&] { return rig.Commands().size() == 1; }));
    window->close();
    QVERIFY(WaitUntil([&] { return !window; }));
    QCOMPARE(rig.jobs.Running(), 1);
    QVERIFY(WaitUntil([&] { return rig.jobs.Running() == 0; }));
    QCOMPARE(rig.Commands().size(), 3);
    QCOMPARE(rig.state.LinkActivity, int{ActivityIdle});
    QVERIFY(!rig.state.LinkBusy);
}

QTEST_MAIN(MoniterTest)
#include "moniter_test.moc"
