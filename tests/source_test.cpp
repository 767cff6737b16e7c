#include "link/rangelists.h"
#include "source/frmsource.h"
#include "source/frmsrcvalueset.h"
#include "source/sourcecommands.h"
#include "testing/linkrig.h"
#include "testing/rows.h"

#include <QAbstractItemView>
#include <QClipboard>
#include <QComboBox>
#include <QGuiApplication>
#include <QLabel>
#include <QLineEdit>
#include <QPointer>
#include <QPushButton>
#include <QWheelEvent>

using namespace px40;

namespace {

/// The commands of the source on the simulated instrument. The port is open, and a status has come, with the
/// value " 05.000".
struct SourceRig : LinkRig
{
    explicit SourceRig(int mode = 0, int replyTimeoutMs = 5000) : LinkRig(Unpaced(), replyTimeoutMs)
    {
        SetMode(mode);
        instrument.Status.SourceValue = u" 05.000"_qs;
        Open();
        state.StatusPolled = true;
        QObject::connect(&source, &SourceCommands::failed, [this](const QString &why) { told << why; });
        QObject::connect(&source, &SourceCommands::recovered,
                         [this](const QString &why) { told << u'-' + why; });
    }

    void SetMode(int mode) { instrument.Status.SourceMode = static_cast<qint16>(mode); }

    /// All commands since the start, when nothing is under way or waits any more.
    QString Sent() const
    {
        const bool settled = WaitUntil([&] { return jobs.Running() == 0 && !source.IsWaiting(); });
        const bool idle = !state.LinkBusy && state.LinkActivity == ActivityIdle;
        return settled && idle ? Commands().join(u' ') : u"not settled"_qs;
    }

    QStringList told; ///< what has failed; with a "-" what is over
    SourceCommands source{link};
};

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

using Meanwhile = std::pair<void (*)(SourceCommands &), QString>; // what is asked for, and all that is sent
using Trouble = std::pair<QString, QString>;                      // what is told, and what was sent

} // namespace

/// The commands of the source and its two windows.
class SourceTest : public QObject
{
    Q_OBJECT

  private Q_SLOTS:
    void TheLatestRequestWaitsForTheLink()
    {
        for (const bool polled : {false, true}) {
            SourceRig rig;
            rig.state.StatusPolled = polled;
            std::optional<LinkUse> check;
            if (polled)
                check.emplace(rig.gate, ActivityStatusCheck);
            for (const int digit : {0, 4, 4, 1})
                rig.source.StepUp(digit);
            QCOMPARE(rig.source.tmSrcInter.Interval(), 10);
            Q_EMIT rig.source.tmSrcInter.tick();
            QCOMPARE(rig.jobs.Running(), 0);
            rig.state.StatusPolled = true;
            check.reset();
            QVERIFY(WaitUntil([&] { return rig.jobs.Running() == 1; }));
            QVERIFY(rig.state.LinkBusy && rig.state.LinkActivity == ActivitySourceCommand);
            QCOMPARE(rig.Sent(), u"UP2"_qs);
            QCOMPARE(rig.told, QStringList({u"\"UP1\" was not sent: \"UP5\" has taken its place."_qs,
                                            u"\"UP5\" was not sent: \"UP2\" has taken its place."_qs}));
        }
    }

    void AskedForDuringTheExchange_data()
    {
        AddRows<Meanwhile>({
            {"another step", {[](SourceCommands &source) { source.StepDown(4); }, u"DW1 DW5"_qs}},
            {"once more", {[](SourceCommands &source) { source.SwitchRatio(); }, u"DW1 DW1"_qs}},
            {"not in this mode", {[](SourceCommands &source) { source.StepUp(4); }, u"DW1"_qs}},
        });
    }

    void AskedForDuringTheExchange()
    {
        const auto [ask, sent] = ThisRow<Meanwhile>();
        SourceRig rig(1);
        rig.source.SwitchRatio(); // there is no last command yet
        QCOMPARE(rig.Sent(), QString());
        rig.source.StepDown(0);
        Q_EMIT rig.source.tmSrcInter.tick();
        ask(rig.source);
        Q_EMIT rig.source.tmSrcInter.tick();
        QCOMPARE(rig.jobs.Running(), 1);
        QCOMPARE(rig.Sent(), sent);
    }

    void OnAndOffByWhatIsKnown()
    {
        SourceRig rig;
        rig.source.SwitchOnOff(); // replaced in time by the next one, which goes by what this one will bring
        const std::tuple<int, QString, int> presses[] = {{1, u"SO0"_qs, 0},
                                                         {0, u" SO1"_qs, 1},
                                                         {0, u" SO1"_qs, 1},
                                                         {1, u" SO0"_qs, 0},
                                                         {2, u" SO1"_qs, 3}};
        QString sent;
        for (const auto &[status, command, expected] : presses) {
            rig.instrument.Status.SourceOn = status;
            rig.source.SwitchOnOff();
            QCOMPARE(rig.instrument.Status.SourceOn, expected); // until a status says otherwise
            QCOMPARE(rig.Sent(), sent += command);
        }
    }

    void RatioAsTyped()
    {
        const QString numbers =
            u"5>05|12>12|123>123|1.5>02|-3>-03|>|abc>abc|0.5>01|2.5>03| 7 >07|1e1>10|inf>inf|Inf>Inf| x > x |"
            u"nan>nan|99.5>100|.5>01|-0.2>00|-2.5>-03|7\r\n>07|1\n2>1\n2|5 6>5 6|0x10>0x10|1e999>1e999|"
            u"1e15>1000000000000000"_qs;
        for (const QString &number : numbers.split(u'|'))
            QCOMPARE(TwoDigits(number.section(u'>', 0, 0)), number.section(u'>', 1));

        SourceRig rig(9);
        const std::pair<QString, QString> ratios[] = {
            {u"5"_qs, u"7"_qs}, {u"x"_qs, u"1\r\n2"_qs}, {}, {u"1"_qs, u"😀"_qs}}; // the last cannot be sent
        for (const auto &[n, m] : ratios) {
            rig.source.SetRatio(n, m);
            rig.Sent();
        }
        QCOMPARE(rig.Sent(), u"ND0507 NDx12 ND"_qs);
        QCOMPARE(rig.told.last(), u"The PX40 does not know the character \"😀\"."_qs);
    }

    void TroubleIsToldAndOver_data()
    {
        AddRows<Trouble>({
            {"err", {u"The PX40 has refused \"DW1\": out of range or not possible."_qs, u"DW1"_qs}},
            {"silent", {u"The PX40 has not answered \"DW1\"."_qs, u"DW1 DW1 DW1"_qs}},
            {"hang-up=1", {u"The connection to the instrument was lost."_qs, u"DW1"_qs}},
            {"none", {u"The communications port is not open."_qs, {}}},
        });
    }

    void TroubleIsToldAndOver()
    {
        const auto [reason, sent] = ThisRow<Trouble>();
        SourceRig rig(0, SourceRig::ReplyTimeoutMs);
        rig.Fault(QTest::currentDataTag());
        if (sent.isEmpty())
            rig.comm.ClosePort();
        rig.source.LoadLists();
        rig.source.StepDown(0);
        QCOMPARE(rig.Sent(), sent);
        rig.source.LoadLists(); // nobody asked for it
        QVERIFY(rig.Sent().startsWith(sent));
        QCOMPARE(rig.told, QStringList(reason));

        rig.Fault("none");
        if (!rig.comm.IsOpen())
            rig.server.PlugIn();
        rig.Open();
        rig.source.StepDown(1);
        QVERIFY(rig.Sent().endsWith(u"DW2"_qs));
        QCOMPARE(rig.told, QStringList({reason, u'-' + reason}));
    }

    void TellsOfTheUsersCommandsOnly()
    {
        SourceRig rig(1); // in which n/m sends the last command once more: now it was asked for
        rig.Fault("err");
        rig.source.LoadLists();
        QCOMPARE(rig.Sent(), u"SR0"_qs);
        rig.source.SwitchRatio();
        rig.Sent();
        QCOMPARE(rig.told, QStringList(u"The PX40 has refused \"SR0\": out of range or not possible."_qs));
        rig.source.StepDown(3); // replaced before it is sent
        rig.SetMode(2); // in which no list sends anything, so that the user's command is still the one
        rig.source.StepDown(0);
        rig.source.LoadLists();
        QVERIFY(rig.Sent().endsWith(u"DW1"_qs));
        QCOMPARE(rig.told.size(), 3);
        QCOMPARE(rig.told[2], rig.told[1] + u"  "_qs + QString(rig.told[0]).replace(u"SR0"_qs, u"DW1"_qs));

        // A download has the link; then another window opens, whose lists are now what is to be sent.
        std::optional<LinkUse> download(std::in_place, rig.gate, ActivityDownload);
        rig.source.StepDown(1);
        QCOMPARE(rig.told.last(), u"\"DW2\" waits for the PX40."_qs);
        rig.SetMode(0);
        rig.source.LoadLists();
        QVERIFY(rig.told.contains(u"-\"DW2\" waits for the PX40."_qs));
        rig.comm.ClosePort();
        download.reset();
        rig.state.StatusPolled = false; // nothing was ever reached
        rig.source.StepDown(2);
        QVERIFY(rig.told.last().endsWith(u"  \"DW3\" waits for the PX40."));
    }

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
        display.inEffect = {true, false, true};
        display.ratioOn = true;
        rig.Refresh(display);
        const auto isStrong = [&](const QString &name) {
            return rig.Find(name)->font().weight() == QFont::DemiBold;
        };
        QVERIFY(rig.Find<QPushButton>(u"btNm"_qs)->isChecked() && isStrong(u"llState"_qs));
        QVERIFY(isStrong(u"llTc"_qs) && !isStrong(u"llRtd"_qs) && isStrong(u"llTemp"_qs));
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
