#include "link/rangelists.h"
#include "source/frmsource.h"
#include "source/frmsrcvalueset.h"
#include "tests/sourcerig.h"

#include <QAbstractItemView>
#include <QClipboard>
#include <QComboBox>
#include <QGuiApplication>
#include <QLabel>
#include <QLineEdit>
#include <QPointer>
#include <QPushButton>
#include <QTest>
#include <QWheelEvent>

using namespace px40;

namespace {

struct Rig : SourceRig
{
    explicit Rig(int mode = 5) : SourceRig(mode) { window->show(); } // 5: nothing is sent on opening
    ~Rig() { delete window; }

    template <typename T = QWidget>
    T *Find(const QString &name) const
    {
        return window->findChild<T *>(name);
    }

    QComboBox *List(const char *name) const { return Find<QComboBox>(QLatin1StringView(name)); }

    QString Focus() const { return window->focusWidget()->objectName(); }

    void Refresh(const SourceDisplay &display) const
    {
        window->Show(display);
        QCoreApplication::processEvents();
    }

    /// Chooses the last entry of a list, presses Return in a box or clicks a button.
    void Use(const QString &name) const
    {
        auto *const control = Find(name);
        if (auto *const list = qobject_cast<QComboBox *>(control)) {
            list->setCurrentIndex(0);
            QTest::keyClick(list, Qt::Key_End);
        } else if (qobject_cast<QLineEdit *>(control)) {
            QTest::keyClick(control, Qt::Key_Return);
        } else {
            QTest::mouseClick(control, Qt::LeftButton);
        }
    }

    RangeLists ranges = BuildRangeLists();
    QPointer<frmSource> window{new frmSource(source, ranges, store)};
};

struct ValueRig : SourceRig
{
    ValueRig() { dialog->show(); }
    ~ValueRig() { delete dialog; }
    Q_DISABLE_COPY_MOVE(ValueRig)

    void Type(const QString &text) const { QTest::keyClicks(dialog->focusWidget(), text); }

    /// Presses a button, or a key in what has the focus.
    void Press(const QString &name) const
    {
        if (auto *const button = dialog->findChild<QPushButton *>(name))
            button->click();
        else
            QTest::keyClick(dialog->focusWidget(), QKeySequence(name)[0].key());
    }

    QPointer<frmSrcValueSet> dialog{new frmSrcValueSet(source, instrument, nullptr)};
    QLineEdit *box = dialog->findChild<QLineEdit *>(u"tbSrcValue"_qs);
};

} // namespace

class SourceTest : public QObject
{
    Q_OBJECT

  private Q_SLOTS:
    void EveryControlInEveryMode()
    {
        // What is used, the modes in which it sends a command, and the command. btNm otherwise sends the last
        // one.
        QStringList rows = u"btSrcOnOff any SO1|tbN any ND1207|tbM any ND1207|btNmSet any ND1207|btNm 04 NM1|"
                           "btNm 68 NM0|btNm 123579 ND1207|cbTc 014 SR10|cbRtd 014 SR2|cbTemp 04 TE2|"
                           "cbPulse 0 SR2|cbPulseSet 04 PU2"_qs.split(u'|');
        for (int i = 0; i < 5; ++i)
            rows << u"btUp%1 04 UP%2"_qs.arg(i).arg(i + 1) << u"btDown%1 any DW%2"_qs.arg(i).arg(i + 1);
        for (int mode = 0; mode <= 9; ++mode) {
            const Rig rig(mode);
            // The lists have just been filled, which counts as choosing their first entries.
            QStringList expected = QStringList({u"PU0"_qs, u"SR0"_qs, {}, {}, u"PU0"_qs}).mid(mode, 1);
            expected.removeAll(QString());
            QCOMPARE(rig.Sent(), expected.join(u' '));
            rig.Find<QLineEdit>(u"tbN"_qs)->setText(u"12"_qs);
            rig.Find<QLineEdit>(u"tbM"_qs)->setText(u"7"_qs);
            for (const QString &row : rows) {
                const QString control = row.section(u' ', 0, 0);
                const QString modes = row.section(u' ', 1, 1);
                const bool open = modes == u"any" || modes.contains(QString::number(mode));
                if (open)
                    expected << row.section(u' ', 2);
                if (open || control != u"btNm")
                    rig.Use(control);
                QCOMPARE(rig.Sent(), expected.join(u' '));
            }
        }
    }

    void ShowsWhatItIsTold()
    {
        const Rig rig;
        const auto text = [&](const QString &name) { return rig.Find<QLabel>(name)->text(); };
        const auto seen = [&] {
            QString all;
            for (int i = 0; i < 6; ++i) {
                all += text(u"llValue%1"_qs.arg(i));
                if (i > 0 && i < 5 && rig.Find(u"shDec%1"_qs.arg(i - 1))->isVisible())
                    all += u'.';
            }
            const auto *const lamp = rig.Find(u"spSourceOnOff"_qs);
            all += u' ' + (lamp->isVisible() ? lamp->accessibleName() : text(u"llState"_qs));
            for (const char *const name : {"cbTc", "cbRtd", "cbTemp", "cbPulse", "cbPulseSet"})
                all += (rig.List(name)->isEnabled() ? u", "_qs : u"! "_qs) + rig.List(name)->currentText();
            return all;
        };
        QCOMPARE(seen(), u" , 100mV, 400Ohm, Set value, 500.0Hz, Freq."_qs); // not off: nobody knows
        QCOMPARE(rig.Find<QPushButton>(u"btSrcOnOff"_qs)->text(), u"SOURCE\n  ON"_qs);
        QCOMPARE(rig.window->focusWidget(), rig.Find(u"btInput"_qs));
        // Buttons over and under their digits, points at the foot between theirs.
        const auto place = [&](const char *name, int i) {
            return rig.Find(QLatin1StringView(name) + QString::number(i))->geometry();
        };
        for (int i = 0; i < 5; ++i) {
            const QRect digit = place("llValue", i + 1);
            for (const QRect &button : {place("btUp", i), place("btDown", i)})
                QVERIFY(qAbs(button.center().x() - digit.center().x()) <= 1);
            QVERIFY(place("btUp", i).bottom() < digit.top() && place("btDown", i).top() > digit.bottom());
            const QPoint point = place("shDec", qMin(i, 3)).center();
            QVERIFY(i == 4 || (qAbs(point.x() - digit.right()) <= 2 && point.y() > digit.center().y()));
        }

        SourceDisplay display;
        display.digits = {u"-"_qs, u"0"_qs, u"4"_qs, u"0"_qs, u"0"_qs, u"0"_qs};
        display.points[1] = true;
        display.known = display.on = true;
        display.positions = {10, 2, 1, 2, 1};
        display.signalEntry = u"Ohm"_qs;
        display.mayStepUp = display.mayChooseRange = false;
        rig.Refresh(display);
        QCOMPARE(seen(), u"-04.000 SOURCE ON! U! JPT100! Ohm! 10kHz! Amp."_qs);
        QVERIFY(!rig.Find(u"btUp4"_qs)->isEnabled() && rig.Find(u"btDown4"_qs)->isEnabled());
        QCOMPARE(rig.Sent(), QString()); // none of this is a command

        for (QObject *const widget : rig.window->findChildren<QWidget *>())
            widget->installEventFilter(this);
        rig.Refresh(display);
        QCOMPARE(painted_, QStringList());
        display.digits[5] = u"1"_qs;
        rig.Refresh(display);
        QVERIFY(painted_.contains(u"llValue5"_qs) && !painted_.contains(u"llValue4"_qs));

        rig.window->Show({}); // nothing is known any more, also of the lists
        QCOMPARE(seen(), u" , U, JPT100, Ohm, 10kHz, Amp."_qs);
        display.on = false;
        rig.window->Show(display);
        QVERIFY(seen().contains(u" SOURCE OFF!"));
    }

    void DoesNotFightTheUser()
    {
        const Rig rig(0);
        QComboBox *const cbTemp = rig.List("cbTemp");
        QComboBox *const cbRtd = rig.List("cbRtd");
        SourceDisplay display;
        display.positions = {3, 1, 2, 2, 2};
        display.signalEntry = u"Ohm"_qs;
        display.mayChooseRange = false;
        cbTemp->showPopup();
        rig.window->Show(display); // while the filled lists wait to be sent, which the user has not asked for
        QCOMPARE(cbTemp->currentText() + cbTemp->itemText(1), u"Set valuemV"_qs);
        QCOMPARE(cbRtd->currentIndex(), 1);
        QVERIFY(cbTemp->view()->isVisible() && cbRtd->isEnabled());
        QTest::keyClick(cbTemp->view(), Qt::Key_Escape); // closes the list, and the list alone
        QVERIFY(rig.window->isVisible() && !cbTemp->view()->isVisible());
        rig.window->Show(display);
        QCOMPARE(cbTemp->currentIndex(), 2);
        QVERIFY(!cbRtd->isEnabled());
        QCOMPARE(rig.Sent(), u"PU0"_qs);

        // What the user has just chosen stands until the instrument has been told.
        rig.window->Show({});
        rig.Use(u"cbRtd"_qs);
        rig.window->Show(display);
        QCOMPARE(cbRtd->currentIndex(), 2);
        QCOMPARE(rig.Sent(), u"PU0 SR2"_qs);
        rig.window->Show(display);
        QCOMPARE(cbRtd->currentIndex(), 1);

        rig.window->Show({});
        const QPoint middle = cbRtd->rect().center();
        QWheelEvent wheel(middle, middle, {}, {0, -120}, {}, {}, Qt::NoScrollPhase, false);
        QCoreApplication::sendEvent(cbRtd, &wheel);
        QCOMPARE(rig.Sent(), u"PU0 SR2"_qs);
        QCOMPARE(cbRtd->currentIndex(), 1);
    }

    void KeysAndClosing()
    {
        Rig rig(0);
        rig.Sent();
        rig.Find(u"btDown0"_qs)->setFocus();
        for (const Qt::Key key : {Qt::Key_Left, Qt::Key_Right, Qt::Key_Up, Qt::Key_Down, Qt::Key_Right,
                                  Qt::Key_Space, Qt::Key_Right, Qt::Key_Right, Qt::Key_Right, Qt::Key_Down}) {
            QTest::keyClick(rig.window->focusWidget(), key);
            rig.Sent();
        }
        QCOMPARE(rig.Sent(), u"PU0 UP2 DW2 DW3 DW5"_qs);

        // A key meant for a control that a status has just disabled steps no digit. The focus comes back,
        // unless the user has taken it elsewhere.
        SourceDisplay display;
        for (const QString &elsewhere : {QString(), u"tbM"_qs}) {
            rig.Find(u"btUp3"_qs)->setFocus();
            display.mayStepUp = false;
            rig.window->Show(display);
            QCOMPARE(rig.Focus(), u"btInput"_qs);
            if (!elsewhere.isEmpty())
                rig.Find(elsewhere)->setFocus();
            display.mayStepUp = true;
            rig.window->Show(display);
            QCOMPARE(rig.Focus(), elsewhere.isEmpty() ? u"btUp3"_qs : elsewhere);
        }

        // Nor does one after a click at a control that is disabled, now or when it is enabled again.
        for (const QString &disabled : {u"cbTc"_qs, u"btUp3"_qs}) {
            rig.Find(disabled == u"cbTc" ? u"btDown0"_qs : disabled)->setFocus();
            display.mayStepUp = display.mayChooseRange = false;
            rig.window->Show(display);
            QTest::mouseClick(rig.Find(disabled), Qt::LeftButton);
            QCOMPARE(rig.Focus(), u"btInput"_qs);
            display.mayStepUp = display.mayChooseRange = true;
            rig.window->Show(display);
            for (const Qt::Key key :
                 {Qt::Key_Up, Qt::Key_Up, Qt::Key_Up, Qt::Key_Down, Qt::Key_Left, Qt::Key_Down})
                QTest::keyClick(rig.window->focusWidget(), key);
        }
        QCOMPARE(rig.Sent(), u"PU0 UP2 DW2 DW3 DW5"_qs);

        // A run does not hold it, and the command goes out all the same.
        const LinkUse run(rig.gate, ActivityRealtime, LinkUse::Sharing::Shared);
        rig.Use(u"btDown0"_qs);
        rig.window->close();
        QVERIFY(WaitUntil([&] { return !rig.window; }));
        QCOMPARE(rig.Sent(), u"PU0 UP2 DW2 DW3 DW5 DW1"_qs);
        QCOMPARE(rig.store.GetNumber(u"Settings"_qs, u"SourceTop"_qs, 0), 1605.0); // 1600, in whole pixels
    }

    void TypedValueIsSent()
    {
        for (const QString &way : {u"Return"_qs, u"Enter"_qs, u"btSet"_qs, u"Esc"_qs, u"btCancel"_qs}) {
            const bool sends = way != u"Esc" && way != u"btCancel";
            for (const QString &text : {u"12.345"_qs, u""_qs, u" -ab\u00b5"_qs, QString(200, u'7')}) {
                ValueRig rig;
                QCOMPARE(rig.dialog->focusWidget(), rig.box);
                QCOMPARE(rig.box->selectedText(), u" 05.000"_qs);
                rig.instrument.Status.SourceValue = u" 06.000"_qs; // a status that comes in meanwhile
                text.isEmpty() ? rig.Press(u"Del"_qs) : rig.Type(text);
                rig.Press(way);
                QVERIFY(WaitUntil([&] { return !rig.dialog; }));
                QCOMPARE(rig.Sent(), sends ? u"SD"_qs + text : QString());
                QCOMPARE(rig.instrument.Status.SourceValue, sends ? text : u" 06.000"_qs);
            }
        }
    }

    void PastedValueIsOneLineAndMended()
    {
        for (const QString &unknown : {u"\u2212"_qs, u"\U0001F600"_qs}) {
            const ValueRig rig;
            auto *const note = rig.dialog->findChild<QLabel *>(u"llRefused"_qs);
            rig.Type(u"ab"_qs);
            rig.Press(u"Left"_qs);
            QGuiApplication::clipboard()->setText(u"1\n%1\r\n2\u2028"_qs.arg(unknown));
            QTest::keySequence(rig.box, QKeySequence::Paste);
            rig.Type(u"3"_qs);
            QCOMPARE(rig.box->text(), u"a1"_qs + unknown + u"23b"_qs);
            rig.dialog->findChild<QWidget *>(u"btSet"_qs)->setFocus();
            rig.Press(u"btSet"_qs);
            QVERIFY(rig.dialog->isVisible() && note->text().contains(u'"' + unknown + u'"'));
            QVERIFY(note->height() >= note->heightForWidth(note->width()));
            QCOMPARE(rig.dialog->focusWidget(), rig.box);
            QCOMPARE(rig.box->selectedText(), unknown);
            rig.Type(u"4"_qs);
            QVERIFY(note->text().isEmpty());
            rig.Press(u"Return"_qs);
            QVERIFY(WaitUntil([&] { return !rig.dialog; }));
            QCOMPARE(rig.Sent(), u"SDa1423b"_qs);
        }
    }

  private:
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (event->type() == QEvent::Paint)
            painted_ << watched->objectName();
        return false;
    }

    QStringList painted_; ///< of the widgets that this filters
};

QTEST_MAIN(SourceTest)
#include "source_test.moc"
