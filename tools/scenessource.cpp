// The SOURCE window: what it shows of each state of the instrument's source, its buttons, lists and keys, and
// the dialog that takes a value.

#include "tools/scenes.h"
#include "tools/stage.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QClipboard>
#include <QComboBox>
#include <QDialog>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace px40 {

namespace {

/// Presses a button of the window; the picture shows what comes of it.
void Press(Stage &stage, const char *button)
{
    stage.See([&] { stage.Click(button, stage.Source()); });
}

/// Moves on by an arrow key, and presses one of a digit's buttons by another.
void Step(Stage &stage, Qt::Key move, Qt::Key press)
{
    QTest::keyClick(stage.Source()->focusWidget(), move);
    stage.See([&] { QTest::keyClick(stage.Source()->focusWidget(), press); });
}

QDialog *OpenValueDialog(Stage &stage)
{
    stage.Click("btInput", stage.Source());
    return stage.Dialog("frmSrcValueSet");
}

void States(Stage &stage)
{
    // The pictures, and what is pressed and sent before each.
    static constexpr std::pair<const char *, const char *> States[] = {
        {"24a-source-volts", "source 0 0"},
        {"24a-source-millivolts", "source 3 0"},
        {"24a-source-thermocouple", "source 3 1"},
        {"24a-source-thermocouple-signal", "TE1"},
        {"24a-source-ohms", "source 4 0"},
        {"24a-source-pt100", "source 4 1; TE0"},
        {"24a-source-jpt100", "source 4 2"},
        {"24a-source-pt100-signal", "source 4 1; TE1"},
        {"24a-source-frequency", "source 5 0; PU0"},
        {"24a-source-amplitude", "PU1"},
        {"24a-source-count", "PU2"},
        {"24a-source-kilohertz", "source 5 2; PU0"},
        {"24a-source-milliamperes", "source 6 0"},
        {"24b-source-over-range", "ND9901; NM1"}, // 99 times 4 mA
        {"24c-source-negative-sweep", "source 8 0; SD-20; mode 4; options 10000000"},
        {"24d-source-all-indicators", "source 3 7; SD1000.0; mode 7; options 10000010; measure 6 0"},
    };
    stage.TakeAll("24-source-at-start");
    for (const auto &[picture, orders] : States) {
        stage.Set(orders);
        stage.TakeOnly(QString::fromLatin1(picture), {stage.Source()});
    }
    QWidget *const source = stage.Source();
    const QRect before = source->geometry();
    source->resize(source->minimumSize());
    stage.TakeOnly(u"24e-source-smallest"_s, {source});
    source->setGeometry(QRect(QPoint(60, 60), before.size() * 2));
    stage.TakeOnly(u"24f-source-large"_s, {source});
    source->setGeometry(before);
    stage.Set("options 00000000; measure 1 0");
}

/// From 4 mA to 20 mA digit by digit, with the mouse and with keys; then a half of it; then thermocouples.
void Controls(Stage &stage)
{
    stage.Set("source 6 0; mode 0; SO0; SD4.000");
    Press(stage, "btUp0");
    Press(stage, "btSrcOnOff");
    stage.TakeOnly(u"25a-source-on"_s, {stage.Source()});
    stage.BringToFront(stage.Source());
    for (int i = 0; i < 6; ++i)
        Press(stage, "btUp1");
    Press(stage, "btDown4");
    Step(stage, Qt::Key_Left, Qt::Key_Up);
    stage.TakeOnly(u"25b-source-digit-focus"_s, {stage.Source()});
    Step(stage, Qt::Key_Right, Qt::Key_Up);
    Step(stage, Qt::Key_Left, Qt::Key_Down);
    Press(stage, "btSrcOnOff");
    stage.TakeOnly(u"25c-source-off"_s, {stage.Source()});

    stage.Type(stage.Source(), {{"tbN", u"1"_s}, {"tbM", u"2"_s}});
    Press(stage, "btNmSet");
    Press(stage, "btNm");
    stage.TakeOnly(u"25d-source-ratio"_s, {stage.Source()});
    Press(stage, "btNm");

    stage.Set("source 3 1");
    auto *const list = stage.Find<QComboBox>("cbTc", stage.Source());
    list->setFocus(Qt::TabFocusReason);
    stage.See([&] { QTest::keyClick(list, Qt::Key_Down); });
    stage.Click(list);
    stage.TakeOnly(u"25e-source-list-open"_s, {stage.Source(), list->view()->window()});
    QTest::keyClick(list->view(), Qt::Key_Escape);
}

void Value(Stage &stage)
{
    stage.Set("source 6 0; mode 0; SO0; SD20.000");
    QDialog *dialog = OpenValueDialog(stage);
    stage.TakeAll("26a-source-value", {dialog});
    stage.Type(dialog, {{"tbSrcValue", u"12.345"_s}});
    stage.See([&] { stage.CloseDialog(dialog, "btSet"); });
    dialog = OpenValueDialog(stage);
    stage.Type(dialog, {{"tbSrcValue", u"abc"_s}});
    stage.Send([&] { stage.CloseDialog(dialog, "btSet"); });
    stage.TakeAll("26b-source-value-refused");
    dialog = OpenValueDialog(stage);
    QApplication::clipboard()->setText(u"5 Ω"_s);
    QTest::keyClick(dialog->focusWidget(), Qt::Key_V, Qt::ControlModifier);
    stage.Click("btSet", dialog);
    stage.TakeAll("26c-source-value-character", {dialog});
    stage.CloseDialog(dialog, "btCancel");
}

} // namespace

void Source(Stage &stage)
{
    stage.StartUp();
    States(stage);
    Controls(stage);
    Value(stage);
}

} // namespace px40
