// The SOURCE window in use: its buttons, lists and keys, and the dialog that takes a value. What is asked for
// is seen in the commands, in the instrument and in the next status.

#include "tools/tour.h"

#include "resources/strings.h"
#include "source/frmsource.h"
#include "tools/stage.h"
#include "tools/tourchecks.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QClipboard>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>

using namespace Qt::Literals::StringLiterals;

namespace px40 {

namespace {

void Press(Stage &stage, const QString &button)
{
    stage.ClickButton(stage.Source(), button);
}

QComboBox *List(const Stage &stage, const QString &name)
{
    return stage.Find<QComboBox>(name, stage.Source());
}

/// A key for whatever has the focus in SOURCE, and where the focus is then.
void PressKey(const Stage &stage, Qt::Key key, const QString &focusAfter)
{
    QTest::keyClick(stage.Source()->focusWidget(), key);
    RequireText(u"What has the focus in SOURCE"_s, stage.Source()->focusWidget()->objectName(), focusAfter);
}

void RequireHeld(Stage &stage, long counts, bool on)
{
    const auto held = stage.server.WithInstrument(
        [](const sim::Instrument &i) { return std::pair(i.SourceCounts(), i.SourceOn()); });
    Require(held == std::pair(counts, on), u"The instrument holds %1 counts."_s.arg(held.first));
}

/// Whatever the step before has left.
void BeginWithCurrent(Stage &stage, long counts, const QString &value)
{
    stage.server.WithInstrument([counts](sim::Instrument &i) {
        i.SetSource(6, 0);
        i.SetSourceMode(0);
        i.SetSourceOn(false);
        i.SetSourceCounts(counts);
    });
    AwaitSource(stage, value + u" mA DC SOURCE OFF"_s);
}

QDialog *OpenValueDialog(Stage &stage)
{
    Press(stage, u"btInput"_s);
    QDialog *const dialog = stage.AwaitDialog(u"frmSrcValueSet"_s);
    const auto *const field = stage.Find<QLineEdit>(u"tbSrcValue"_s, dialog);
    RequireText(u"What of it is selected"_s, field->selectedText(), field->text());
    return dialog;
}

void AwaitMessage(const Stage &stage, const QString &message)
{
    AwaitIfPossible([&] { return stage.Message() == message; });
    RequireText(u"The status bar"_s, stage.Message(), message);
}

} // namespace

/// From 4 mA to 20 mA digit by digit, with the mouse and with keys, and the output switched on meanwhile.
void Tour::SourceDigits(Stage &stage)
{
    BeginWithCurrent(stage, 4000, u"04.000"_s);
    const SourceLog log(stage);
    Press(stage, u"btUp0"_s);
    log.Await({u"UP1"_s});
    Press(stage, u"btSrcOnOff"_s);
    AwaitSource(stage, u"14.000 mA DC SOURCE ON"_s);
    QStringList sent = {u"UP1"_s, u"SO1"_s};
    log.Await(sent);
    RequireHeld(stage, 14000, true);
    camera_.Take(u"25a-source-on"_s, {stage.Source()});

    Stage::BringToFront(stage.Source());
    for (int i = 0; i < 6; ++i) {
        Press(stage, u"btUp1"_s);
        log.Await(sent << u"UP2"_s);
    }
    Press(stage, u"btDown4"_s);
    log.Await(sent << u"DW5"_s);
    PressKey(stage, Qt::Key_Left, u"btDown3"_s);
    QTest::keyClick(stage.Source()->focusWidget(), Qt::Key_Up);
    log.Await(sent << u"UP4"_s);
    camera_.Take(u"25b-source-digit-focus"_s, {stage.Source()});
    AwaitSource(stage, u"20.009 mA DC SOURCE ON"_s);
    PressKey(stage, Qt::Key_Right, u"btDown4"_s);
    PressKey(stage, Qt::Key_Right, u"btDown4"_s); // there is none farther right
    QTest::keyClick(stage.Source()->focusWidget(), Qt::Key_Up);
    log.Await(sent << u"UP5"_s);
    PressKey(stage, Qt::Key_Left, u"btDown3"_s);
    QTest::keyClick(stage.Source()->focusWidget(), Qt::Key_Down);
    log.Await(sent << u"DW4"_s);
    Press(stage, u"btSrcOnOff"_s);
    log.Await(sent << u"SO0"_s);
    AwaitSource(stage, u"20.000 mA DC SOURCE OFF"_s);
    RequireHeld(stage, 20000, false);
    camera_.Take(u"25c-source-off"_s, {stage.Source()});
}

void Tour::SourceRatio(Stage &stage)
{
    BeginWithCurrent(stage, 20000, u"20.000"_s);
    const SourceLog log(stage);
    stage.Type(stage.Source(), u"tbN"_s, u"1"_s);
    stage.Type(stage.Source(), u"tbM"_s, u"2"_s);
    Press(stage, u"btNmSet"_s);
    log.Await({u"ND0102"_s});
    Press(stage, u"btNm"_s);
    AwaitSource(stage, u"10.000 mA DC SOURCE OFF"_s);
    log.Await({u"ND0102"_s, u"NM1"_s});
    Require(!List(stage, u"cbTc"_s)->isEnabled(), u"The range can be chosen although n/m is on."_s);
    camera_.Take(u"25d-source-ratio"_s, {stage.Source()});
    Press(stage, u"btNm"_s);
    AwaitSource(stage, u"20.000 mA DC SOURCE OFF"_s);
    log.Await({u"ND0102"_s, u"NM1"_s, u"NM0"_s});
}

void Tour::SourceValue(Stage &stage)
{
    BeginWithCurrent(stage, 20000, u"20.000"_s);
    const SourceLog log(stage);
    QDialog *const dialog = OpenValueDialog(stage);
    auto *const field = stage.Find<QLineEdit>(u"tbSrcValue"_s, dialog);
    RequireText(u"The value to be changed"_s, field->text().trimmed(), u"20.000"_s);
    camera_.Take(u"26a-source-value"_s, stage.Windows({dialog}));
    QTest::keyClicks(field, u"12.345"_s);
    QTest::keyClick(field, Qt::Key_Return);
    log.Await({u"SD12.345"_s});
    Require(!stage.Dialog(u"frmSrcValueSet"_s), u"Return does not close the value dialog."_s);
    RequireHeld(stage, 12345, false);
}

void Tour::SourceValueRefused(Stage &stage)
{
    BeginWithCurrent(stage, 12345, u"12.345"_s);
    const SourceLog log(stage);
    QDialog *dialog = OpenValueDialog(stage);
    QTest::keyClicks(stage.Find<QLineEdit>(u"tbSrcValue"_s, dialog), u"abc"_s);
    stage.CloseDialog(dialog, u"btSet"_s);
    log.Await({u"SDabc"_s});
    AwaitMessage(stage, Text(Str::CommandRefused).arg(u"SDabc"_s));
    camera_.Take(u"26b-source-value-refused"_s, stage.Windows());

    dialog = OpenValueDialog(stage);
    QApplication::clipboard()->setText(u"5 Ω"_s);
    auto *const field = stage.Find<QLineEdit>(u"tbSrcValue"_s, dialog);
    QTest::keyClick(field, Qt::Key_V, Qt::ControlModifier);
    stage.ClickButton(dialog, u"btSet"_s);
    const auto *const note = stage.Find<QLabel>(u"llRefused"_s, dialog);
    RequireText(u"The note in the value dialog"_s, note->text(),
                Text(Str::SourceUnknownCharacter).arg(u"Ω"_s));
    Require(dialog->isVisible() && field->selectedText() == u"Ω",
            u"The character that cannot be sent is not marked."_s);
    camera_.Take(u"26c-source-value-character"_s, stage.Windows({dialog}));
    stage.CloseDialog(dialog, u"btCancel"_s);
    log.Await({u"SDabc"_s});
    RequireHeld(stage, 12345, false);
}

/// The value dialog outlives the window from which it was opened.
void Tour::SourceClosedMeanwhile(Stage &stage)
{
    BeginWithCurrent(stage, 12345, u"12.345"_s);
    const SourceLog log(stage);
    QDialog *const dialog = OpenValueDialog(stage);
    const QRect place = stage.Source()->geometry();
    stage.Choose(u"mnuView"_s, u"mnuViewSource"_s);
    Require(!stage.Source(), u"The View menu does not close SOURCE."_s);
    RequireSourceChecked(stage, false);
    QTest::keyClicks(stage.Find<QLineEdit>(u"tbSrcValue"_s, dialog), u"7"_s);
    stage.CloseDialog(dialog, u"btSet"_s);
    log.Await({u"SD7"_s});
    RequireHeld(stage, 7000, false);
    AwaitMessage(stage, QString());

    // The lists that have just been filled send their last choice; that a current source refuses it is no
    // news.
    stage.ClickTool(u"Source"_s);
    AwaitSource(stage, u"07.000 mA DC SOURCE OFF"_s);
    RequireSourceChecked(stage, true);
    log.Await({u"SD7"_s, u"PU0"_s});
    RequireText(u"The status bar after SOURCE was opened"_s, stage.Message(), QString());
    Require(stage.Source()->geometry() == place, u"SOURCE does not open where it was closed."_s);
}

void Tour::SourceThermocouples(Stage &stage)
{
    stage.server.WithInstrument([](sim::Instrument &i) {
        i.SetSource(3, 1);
        i.SetSourceOn(false);
    });
    AwaitSource(stage, u"0100.0 imUnit0 K SOURCE OFF RJON IPTS-68"_s);
    const SourceLog log(stage);
    QComboBox *const list = List(stage, u"cbTc"_s);
    Stage::BringToFront(stage.Source());
    list->setFocus(Qt::TabFocusReason);
    QTest::keyClick(list, Qt::Key_Down);
    log.Await({u"SR2"_s});
    AwaitSource(stage, u"0100.0 imUnit0 E SOURCE OFF RJON IPTS-68"_s);

    // What comes in meanwhile leaves the open list alone, also when somebody turns the instrument's own knob.
    Stage::Click(list);
    stage.server.WithInstrument([](sim::Instrument &i) { i.SetSource(3, 3); });
    AwaitSource(stage, u"0100.0 imUnit0 J SOURCE OFF RJON IPTS-68"_s);
    QAbstractItemView *const popup = list->view();
    Require(popup->isVisible() && popup->currentIndex().row() == 2 && list->currentIndex() == 2,
            u"A status changes the list that the user has open."_s);
    camera_.Take(u"25e-source-list-open"_s, {stage.Source(), popup->window()});
    const QModelIndex wanted = list->model()->index(4, 0);
    QTest::mouseClick(popup->viewport(), Qt::LeftButton, {}, popup->visualRect(wanted).center());
    log.Await({u"SR2"_s, u"SR4"_s});
    Require(!popup->isVisible(), u"The list stays open after the choice."_s);
    AwaitSource(stage, u"0100.0 imUnit0 T SOURCE OFF RJON IPTS-68"_s);
    RequireText(u"The list after the choice"_s, list->currentText(), u"T"_s);
}

void Tour::SourcePulses(Stage &stage)
{
    stage.server.WithInstrument([](sim::Instrument &i) { i.SetSource(5, 0); });
    AwaitSource(stage, u"0050.0 Hz Freq. SOURCE OFF"_s);
    const SourceLog log(stage);
    QTest::keyClick(List(stage, u"cbPulse"_s), Qt::Key_End);
    log.Await({u"SR2"_s});
    QTest::keyClick(List(stage, u"cbPulseSet"_s), Qt::Key_Down);
    log.Await({u"SR2"_s, u"PU1"_s});
    AwaitSource(stage, u"005.00 V Amp. SOURCE OFF"_s);
    RequireText(u"The list of frequencies"_s, List(stage, u"cbPulse"_s)->currentText(), u"10kHz"_s);
    RequireText(u"The list of pulses"_s, List(stage, u"cbPulseSet"_s)->currentText(), u"Amp."_s);
}

} // namespace px40
