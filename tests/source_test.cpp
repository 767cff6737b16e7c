#include "link/rangelists.h"
#include "source/frmsource.h"
#include "tests/sourcerig.h"

#include <QAbstractItemView>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPaintEvent>
#include <QPointer>
#include <QPushButton>

#include <cstdlib>

using namespace px40;

namespace {

struct Rig : SourceRig
{
    explicit Rig(int mode = 5) // in which nothing is sent when the window opens
    {
        SetMode(mode);
        instrument.Status.SourceFunction = 3;
        Show();
    }
    ~Rig() { delete window; }

    void Show()
    {
        window = new frmSource({&state, &store, &ranges, &source});
        window->show();
    }

    template <typename T = QWidget>
    T *Find(const QString &name) const
    {
        return window->findChild<T *>(name);
    }

    QComboBox *List(const char *name) const { return Find<QComboBox>(QLatin1StringView(name)); }

    void Refresh(const SourceDisplay &display) const
    {
        window->Show(display);
        QCoreApplication::processEvents();
    }

    /// Chooses the last entry of a list, or clicks a button.
    void Use(const QString &name) const
    {
        if (auto *const list = Find<QComboBox>(name)) {
            list->setCurrentIndex(0);
            QTest::keyClick(list, Qt::Key_End);
        } else {
            QTest::mouseClick(Find<QPushButton>(name), Qt::LeftButton);
        }
    }

    RangeLists ranges = BuildRangeLists();
    QPointer<frmSource> window;
};

/// Counts how often the widgets below a window are painted.
class PaintCounter : public QObject
{
  public:
    explicit PaintCounter(QWidget *window)
    {
        for (QWidget *const widget : window->findChildren<QWidget *>())
            widget->installEventFilter(this);
    }

    QStringList painted;

  protected:
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (event->type() == QEvent::Paint)
            painted << watched->objectName();
        return false;
    }
};

SourceDisplay Milliamperes()
{
    SourceDisplay display;
    display.digits = {u"-"_qs, u"0"_qs, u"4"_qs, u"0"_qs, u"0"_qs, u"0"_qs};
    display.points = {false, true, false, false};
    display.unit = u"mA"_qs;
    display.function = u"DC"_qs;
    return display;
}

} // namespace

class SourceTest : public QObject
{
    Q_OBJECT

  private Q_SLOTS:
    void EveryControlInEveryMode();
    void ShowsWhatItIsTold();
    void DoesNotFightTheUser();
    void KeysOnTheDigits();
    void OpensAndCloses();
};

void SourceTest::EveryControlInEveryMode()
{
    struct Row
    {
        QString control;
        QString modes;
        QString command;
    };
    const QString any = u"0123456789"_qs;
    QList<Row> rows = {{u"btSrcOnOff"_qs, any, u"SO1"_qs}};
    for (int i = 0; i < 5; ++i)
        rows << Row{u"btUp%1"_qs.arg(i), u"04"_qs, u"UP%1"_qs.arg(i + 1)}
             << Row{u"btDown%1"_qs.arg(i), any, u"DW%1"_qs.arg(i + 1)};
    rows << Row{u"btNmSet"_qs, any, u"ND0512"_qs} << Row{u"btNm"_qs, u"04"_qs, u"NM1"_qs}
         << Row{u"btNm"_qs, u"68"_qs, u"NM0"_qs}
         << Row{u"btNm"_qs, u"123579"_qs, u"ND0512"_qs} // the last command once more
         << Row{u"cbTc"_qs, u"014"_qs, u"SR10"_qs} << Row{u"cbRtd"_qs, u"014"_qs, u"SR2"_qs}
         << Row{u"cbTemp"_qs, u"04"_qs, u"TE2"_qs} << Row{u"cbPulse"_qs, u"0"_qs, u"SR2"_qs}
         << Row{u"cbPulseSet"_qs, u"04"_qs, u"PU2"_qs};
    for (int mode = 0; mode <= 9; ++mode) {
        Rig rig;
        rig.SetMode(mode);
        rig.Find<QLineEdit>(u"tbN"_qs)->setText(u"5"_qs);
        rig.Find<QLineEdit>(u"tbM"_qs)->setText(u"12"_qs);
        QStringList expected;
        QString used;
        for (const Row &row : rows) {
            const bool open = row.modes.contains(QString::number(mode));
            if (open)
                expected << row.command;
            if (open || row.control != u"btNm")
                rig.Use(row.control);
            QCOMPARE(rig.Sent(), expected.join(u' '));
        }
    }
}

void SourceTest::ShowsWhatItIsTold()
{
    Rig rig;
    const auto text = [&](const QString &name) { return rig.Find<QLabel>(name)->text(); };
    const auto seen = [&] {
        QString all;
        for (int i = 0; i < 6; ++i) {
            all += text(u"llValue%1"_qs.arg(i));
            if (i > 0 && i < 5 && rig.Find(u"shDec%1"_qs.arg(i - 1))->isVisible())
                all += u'.';
        }
        all += u' ' + text(u"llUnit"_qs) + u' ' + text(u"llFunction"_qs) + u' ' + text(u"llDipsw4"_qs);
        const auto *const lamp = rig.Find(u"spSourceOnOff"_qs);
        return all + u' ' + (lamp->isVisible() ? lamp->accessibleName() : QString());
    };
    QCOMPARE(seen(), u"    "_qs); // not off: nobody knows
    QCOMPARE(rig.Find<QPushButton>(u"btSrcOnOff"_qs)->text(), u"SOURCE\n  ON"_qs);
    // Buttons over and under their digits, points at the foot between theirs.
    for (int i = 0; i < 5; ++i) {
        const auto place = [&](const char *name, int index) {
            return rig.Find(QLatin1StringView(name) + QString::number(index))->geometry();
        };
        const QRect digit = place("llValue", i + 1);
        for (const QRect &button : {place("btUp", i), place("btDown", i)})
            QVERIFY(std::abs(button.center().x() - digit.center().x()) <= 1);
        QVERIFY(place("btUp", i).bottom() < digit.top() && place("btDown", i).top() > digit.bottom());
        if (i == 4)
            continue;
        const QPoint point = place("shDec", i).center();
        QVERIFY(std::abs(point.x() - digit.right()) <= 2 && point.y() > digit.center().y());
    }
    SourceDisplay display = Milliamperes();
    display.known = display.on = true;
    display.indicators[4] = u"AUTO OFF"_qs;
    display.positions = {10, 2, 1, 2, 1};
    display.signalEntry = u"Ohm"_qs;
    display.mayStepUp = display.mayChooseRange = false;
    rig.Refresh(display);
    QCOMPARE(seen(), u"-04.000 mA DC AUTO OFF SOURCE ON"_qs);
    QStringList lists;
    for (const char *const name : {"cbTc", "cbRtd", "cbTemp", "cbPulse", "cbPulseSet"}) {
        lists << rig.List(name)->currentText();
        QVERIFY(!rig.List(name)->isEnabled());
    }
    QCOMPARE(lists.join(u' '), u"U JPT100 Ohm 10kHz Amp."_qs);
    QVERIFY(!rig.Find(u"btUp4"_qs)->isEnabled() && rig.Find(u"btDown4"_qs)->isEnabled());
    QCOMPARE(rig.Sent(), QString()); // none of this is a command

    const PaintCounter counter(rig.window);
    rig.Refresh(display);
    QCOMPARE(counter.painted, QStringList());
    display.digits[5] = u"1"_qs;
    rig.Refresh(display);
    QVERIFY(counter.painted.contains(u"llValue5"_qs) && !counter.painted.contains(u"llValue4"_qs));

    rig.window->Show({});
    QCOMPARE(seen(), u"    "_qs);
    display.on = false;
    rig.window->Show(display);
    QVERIFY(seen().endsWith(u"SOURCE OFF"));
    QCOMPARE(rig.List("cbTc")->currentText(), u"U"_qs);
}

void SourceTest::DoesNotFightTheUser()
{
    Rig rig(0);
    QCOMPARE(rig.Sent(), u"PU0"_qs); // the lists have just been filled
    SourceDisplay display;
    display.positions = {3, 1, 2, 2, 2};
    display.signalEntry = u"Ohm"_qs;
    display.mayChooseRange = false;
    rig.List("cbTemp")->showPopup();
    rig.Refresh(display);
    QCOMPARE(rig.List("cbTemp")->currentIndex(), 0);
    QCOMPARE(rig.List("cbTemp")->itemText(1), u"mV"_qs);
    QCOMPARE(rig.List("cbRtd")->currentIndex(), 1);
    QVERIFY(rig.List("cbTemp")->view()->isVisible() && rig.List("cbTc")->isEnabled());
    QTest::keyClick(rig.List("cbTemp")->view(), Qt::Key_Escape); // closes the list, and the list alone
    QVERIFY(rig.window->isVisible() && !rig.List("cbTemp")->view()->isVisible());
    rig.Refresh(display);
    QCOMPARE(rig.List("cbTemp")->currentIndex(), 2);
    QVERIFY(!rig.List("cbTc")->isEnabled());
    rig.Refresh({});

    // What the user has just chosen stands until the instrument has been told.
    rig.Use(u"cbRtd"_qs);
    rig.Refresh(display);
    QCOMPARE(rig.List("cbRtd")->currentIndex(), 2);
    QCOMPARE(rig.Sent(), u"PU0 SR2"_qs);
    rig.Refresh(display);
    QCOMPARE(rig.List("cbRtd")->currentIndex(), 1);

    const QPoint middle = rig.List("cbTc")->rect().center();
    QWheelEvent wheel(middle, middle, {}, {0, -120}, {}, {}, Qt::NoScrollPhase, false);
    QCoreApplication::sendEvent(rig.List("cbTc"), &wheel);
    QCOMPARE(rig.Sent(), u"PU0 SR2"_qs);
}

void SourceTest::KeysOnTheDigits()
{
    Rig rig(0);
    rig.Sent();
    auto *const first = rig.Find(u"btDown0"_qs);
    first->setFocus();
    for (const Qt::Key key :
         {Qt::Key_Left, Qt::Key_Right, Qt::Key_Up, Qt::Key_Down, Qt::Key_Right, Qt::Key_Space}) {
        QTest::keyClick(rig.window->focusWidget(), key);
        rig.Sent();
    }
    QCOMPARE(rig.Sent(), u"PU0 UP2 DW2 DW3"_qs);

    // A key meant for a control that a status has just disabled steps no digit.
    auto *const up = rig.Find(u"btUp3"_qs);
    up->setFocus();
    SourceDisplay display;
    for (const bool may : {false, true}) {
        display.mayStepUp = may;
        rig.Refresh(display);
        QCOMPARE(rig.window->focusWidget()->objectName(), may ? u"btUp3"_qs : u"btInput"_qs);
    }
    auto *const tbM = rig.Find<QLineEdit>(u"tbM"_qs);
    tbM->setText(u"7"_qs);
    QTest::keyClick(tbM, Qt::Key_Return);
    QCOMPARE(rig.Sent(), u"PU0 UP2 DW2 DW3 ND07"_qs);
}

void SourceTest::OpensAndCloses()
{
    Rig rig;
    QVERIFY(rig.state.SourceOpen);
    QCOMPARE(rig.window->geometry().topLeft(), QPoint(0, 107)); // 1600 twips
    rig.state.LinkActivity = ActivityRealtime;                  // a run does not hold it
    rig.Use(u"btDown0"_qs);
    rig.window->close();
    QVERIFY(!rig.state.SourceOpen);
    QVERIFY(WaitUntil([&] { return !rig.window; }));
    QCOMPARE(rig.Sent(), u"DW1"_qs); // all the same
    QCOMPARE(rig.store.GetNumber(u"Settings"_qs, u"SourceLeft"_qs, -1), 0.0);

    rig.store.Save(u"Settings"_qs, u"SourceLeft"_qs, u"1500"_qs);
    rig.store.Save(u"Settings"_qs, u"SourceTop"_qs, u"1440"_qs);
    rig.Show();
    QCOMPARE(rig.window->geometry().topLeft(), QPoint(100, 96));
}

QTEST_MAIN(SourceTest)
#include "source_test.moc"
