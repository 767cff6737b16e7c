#include "acquire/frmmoniter.h"
#include "acquire/measuredisplay.h"
#include "acquire/spokenreading.h"
#include "link/reply.h"
#include "platform/geometry.h"
#include "testing/linkrig.h"

#include <QApplication>
#include <QLabel>
#include <QPointer>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>

#include <cmath>
#include <utility>

using namespace px40;

namespace {

struct Rig : LinkRig
{
    explicit Rig(int timeoutMs = ReplyTimeoutMs) : LinkRig(Unpaced(), timeoutMs) { Open(); }
    ~Rig() { delete window; }

    void Show(QWidget *parent = nullptr)
    {
        window = new frmMoniter(link, store, parent);
        window->show();
    }

    QPushButton *Button() const { return window->findChild<QPushButton *>(u"btMeasOnOff"_qs); }

    /// All that is shown, with colons between: the texts, the names of visible drawings, the button.
    QString Seen() const
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
        return parts.join(u':') + (Button()->isEnabled() ? u":may"_qs : u":may not"_qs);
    }

    QPointer<frmMoniter> window;
};

} // namespace

class MoniterTest : public QObject
{
    Q_OBJECT

  private Q_SLOTS:
    void IsReadAloud()
    {
        const auto spoken = [](const Captions &captions, const char16_t *value, const QString &fault = {}) {
            return SpokenReading({captions, true, true, {}, fault}, QString::fromUtf16(value));
        };
        QCOMPARE(spoken({u"V"_qs, u"DC"_qs}, u"+3.1390"), u"3.1390 volts DC"_qs);
        QCOMPARE(spoken({{}, u"K"_qs, Captions::ThermocoupleSymbol}, u"-040.4"),
                 u"minus 40.4 degrees Celsius type K"_qs);
        QCOMPARE(spoken({u"mA"_qs, u"DC"_qs}, u" 00.500"), u"0.500 milliamperes DC"_qs);
        QCOMPARE(spoken({u"Ohm"_qs, u"PT100"_qs}, u"000.0"), u"0.0 ohms PT100"_qs);
        QCOMPARE(spoken({u"CPM"_qs, {}}, u"+00120"), u"120 counts per minute"_qs);
        QCOMPARE(spoken({u"V"_qs, u"AC"_qs}, u"-----", u"Over range."_qs), u"Over range."_qs);
        QCOMPARE(spoken({}, u""), u"no reading"_qs);
        QCOMPARE(SpokenReading({}, u"1"_qs), u"no reading"_qs); // of an instrument of which nothing is known
    }

    void ShowsWhatItIsTold()
    {
        Rig rig;
        rig.Show();
        const OptionIndicators options = {u"SWEEP"_qs, u"16s"_qs,       {}, {}, u"AUTO OFF"_qs,
                                          {},          u"CONTACT IN"_qs};
        const auto lit = [](Captions captions, const QString &value) {
            return MeasureDisplay{{std::move(captions), true, true, {}}, value};
        };
        const std::pair<MeasureDisplay, QString> cases[] = {
            {{}, u"::::::::::may"_qs},
            {lit({u"V"_qs, u"DC"_qs, Captions::NoSymbol}, u"+10.503"_qs), u"+10.503:V:DC:shOn::::::::may"_qs},
            {lit({{}, u"K"_qs, Captions::ThermocoupleSymbol}, u"-1234.5"_qs),
             u"-1234.5::K:imUnit0:shOn::::::::may"_qs},
            {lit({{}, u"K"_qs, Captions::Jpt100Symbol}, u"-1234.5"_qs),
             u"-1234.5::K:imUnit2:shOn::::::::may"_qs},
            {{{{}, true, false, options}, {}, false},
             u":::shOff:SWEEP:16s:::AUTO OFF::CONTACT IN:may not"_qs},
            {{}, u"::::::::::may"_qs},
        };
        for (const auto &[display, expected] : cases) {
            rig.window->Show(display);
            QCOMPARE(rig.Seen(), expected);
        }
        QCOMPARE(rig.window->focusWidget(), rig.Button()); // again, after it was disabled

        // Why there is no value stands before what came of a command, as long as it is so.
        MeasureDisplay display = cases[1].first;
        display.fault = ValueFault(SplitValue(u"VDCO+10.503"_qs));
        rig.window->Show(display);
        rig.window->ShowMessage(u"Refused."_qs);
        const auto *const message = rig.window->findChild<QLabel *>(u"llMessage"_qs);
        QCOMPARE(message->text(), u"Over range.  Refused."_qs);
        rig.window->Fade();
        QCOMPARE(message->text(), u"Refused."_qs);

        // A digit that changes moves no other one.
        auto *const value = rig.window->findChild<QLabel *>(u"llValue"_qs);
        const auto picture = [&](const QString &text) {
            value->setText(text);
            return value->grab(QRect(value->width() / 2, 0, value->width() / 2, value->height())).toImage();
        };
        QCOMPARE(picture(u"+11.503"_qs), picture(u"-98.503"_qs));
        QVERIFY(picture(u"+11.503"_qs) != picture(u"+11.504"_qs));
    }

    void StaysWhileTheLinkNeedsItAndKeepsItsPlace()
    {
        Rig rig;
        const QRect screen = UsableScreens().first();
        QWidget desk;
        desk.setGeometry(QRect(screen.topLeft(), QSize(screen.width() - 100, 500)));
        rig.Show(&desk);
        for (const LinkActivityCode activity : {ActivityRealtime, ActivityDownload}) {
            const LinkUse use(rig.gate, activity);
            rig.window->close();
            QVERIFY(rig.window->isVisible());
        }
        const LinkUse check(rig.gate, ActivityStatusCheck);
        QVERIFY(screen.contains(rig.window->geometry()));
        QVERIFY(rig.window->geometry().right() < desk.frameGeometry().right()); // there is no room beside it
        const QRect place(screen.topLeft() + QPoint(20, 30), QSize(400, 250));
        rig.window->setGeometry(place);

        const QSignalSpy closed(rig.window, &frmMoniter::closed);
        QApplication::setActiveWindow(rig.window);
        QTest::keyClick(rig.window, Qt::Key_Escape); // closes dialogs only
        QVERIFY(rig.window->isVisible());
        rig.window->close();
        QVERIFY(WaitUntil([&] { return !rig.window; }));
        QCOMPARE(closed.size(), 1);
        QCOMPARE(rig.store.GetNumber(u"Settings"_qs, u"MoniterTop"_qs, 0),
                 std::round(place.top() * 1440.0 / desk.logicalDpiX()));

        rig.Show(&desk);
        QCOMPARE(rig.window->geometry(), place);
        rig.window->setGeometry(place.translated(30000, 0)); // a screen that is gone at the next opening
        rig.window->close();
        rig.Show(&desk);
        QVERIFY(screen.contains(rig.window->geometry()));
        QCOMPARE(rig.window->size(), place.size());
        for (const QString &noise : {u"abc"_qs, u"1e300"_qs, u"nan"_qs, u"-99999999999"_qs}) {
            delete rig.window;
            for (const QString &key : {u"MoniterLeft"_qs, u"MoniterWidth"_qs})
                rig.store.Save(u"Settings"_qs, key, noise);
            rig.Show(&desk);
            QVERIFY2(screen.contains(rig.window->geometry()), qPrintable(noise));
        }
    }

    void EachPressSendsACommand()
    {
        Rig rig(5000); // no command is repeated
        rig.Show();
        // Someone else's exchange, which lasts for several ticks of the button's timer.
        rig.Fault("late=60");
        const auto exchange = [&] {
            const LinkUse use(rig.gate, ActivityStatusCheck);
            return Running(rig.comm.SendCommand(Preparations().back())).Finish();
        };

        std::optional<LinkUse> other(std::in_place, rig.gate, ActivityStatusCheck);
        QTest::keyClick(rig.Button(), Qt::Key_Space);
        rig.Button()->click();
        QVERIFY(exchange());
        QCOMPARE(rig.jobs.Running(), 0);
        QCOMPARE(rig.instrument.Status.MeasureOn, 0);

        other.reset();
        QVERIFY(WaitUntil([&] { return rig.state.LinkActivity == ActivityMonitorCommand; }));
        QVERIFY(rig.state.LinkBusy);
        QCOMPARE(rig.instrument.Status.MeasureOn, 1); // before the answer
        QVERIFY(WaitUntil([&] { return rig.Commands().size() == 3 && rig.jobs.Running() == 0; }));
        QVERIFY(exchange());
        QCOMPARE(rig.Commands(), QStringList({u"H1"_qs, u"MO1"_qs, u"MO0"_qs, u"H1"_qs}));
        QCOMPARE(rig.jobs.Running(), 0);
    }

    void ClosedDuringTheExchange()
    {
        Rig rig;
        rig.Fault("silent");
        rig.Show();
        rig.Button()->click();
        QVERIFY(WaitUntil([&] { return rig.Commands().size() == 1; }));
        rig.window->close();
        QVERIFY(WaitUntil([&] { return !rig.window; }));
        QCOMPARE(rig.jobs.Running(), 1);
        QVERIFY(WaitUntil([&] { return rig.jobs.Running() == 0; }));
        QCOMPARE(rig.Commands().size(), 3);
        QCOMPARE(rig.state.LinkActivity, int{ActivityIdle});
        QVERIFY(!rig.state.LinkBusy);
    }
};

QTEST_MAIN(MoniterTest)
#include "moniter_test.moc"
