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

using sim::PulseView;
using sim::TemperatureView;

/// Presses a button of the window; the picture shows what comes of it.
void Press(Stage &stage, const char *button)
{
    stage.Send([&] { stage.Click(button, stage.Source()); });
    stage.Second();
}

/// The key of a digit's buttons.
void Step(Stage &stage, Qt::Key key)
{
    stage.Send([&] { QTest::keyClick(stage.Source()->focusWidget(), key); });
    stage.Second();
}

/// Whatever was before: a current of so many microamperes, switched off.
void SetCurrent(Stage &stage, long counts)
{
    stage.Set([counts](sim::Instrument &i) {
        i.SetSource(6, 0);
        i.SetSourceMode(0);
        i.SetSourceOn(false);
        i.SetSourceCounts(counts);
    });
}

QDialog *OpenValueDialog(Stage &stage)
{
    stage.Click("btInput", stage.Source());
    return stage.Dialog("frmSrcValueSet");
}

} // namespace

void SourceStates(Stage &stage)
{
    struct Range
    {
        const char16_t *name;
        int function;
        int range;
        int view; ///< TemperatureView or PulseView
    };
    static constexpr Range Ranges[] = {
        {u"volts", 0, 0, 0},        {u"millivolts", 3, 0, 0},
        {u"thermocouple", 3, 1, 0}, {u"thermocouple-signal", 3, 1, 1},
        {u"ohms", 4, 0, 0},         {u"pt100", 4, 1, 0},
        {u"jpt100", 4, 2, 0},       {u"pt100-signal", 4, 1, 1},
        {u"frequency", 5, 0, 0},    {u"amplitude", 5, 0, 1},
        {u"count", 5, 0, 2},        {u"kilohertz", 5, 2, 0},
        {u"milliamperes", 6, 0, 0},
    };
    stage.TakeAll("24-source-at-start");
    for (const Range &range : Ranges) {
        stage.Set([&](sim::Instrument &i) {
            i.SetSource(range.function, range.range);
            i.SetTemperatureView(static_cast<TemperatureView>(range.view));
            i.SetPulseView(static_cast<PulseView>(range.view));
        });
        stage.TakeOnly(u"24a-source-"_s + QString::fromUtf16(range.name), {stage.Source()});
    }
    stage.Set([](sim::Instrument &i) {
        i.Answer("ND9901");
        i.SetSourceMode(sim::RatioMode); // 99 times 4 mA
    });
    stage.TakeOnly(u"24b-source-over-range"_s, {stage.Source()});
    stage.Set([](sim::Instrument &i) {
        i.SetSource(8, 0);
        i.SetSourceCounts(-2000);
        i.SetSourceMode(4);
        i.SetOptionBit(7, true);
    });
    stage.TakeOnly(u"24c-source-negative-sweep"_s, {stage.Source()});
    stage.Set([](sim::Instrument &i) {
        i.SetSource(3, 7);
        i.SetSourceCounts(10000);
        i.SetSourceMode(7);
        i.SetOptionBit(1, true);
        i.SetMeasure(6, 0);
    });
    QWidget *const source = stage.Source();
    stage.TakeOnly(u"24d-source-all-indicators"_s, {source});
    const QRect before = source->geometry();
    source->resize(source->minimumSize());
    stage.TakeOnly(u"24e-source-smallest"_s, {source});
    source->setGeometry(QRect(QPoint(60, 60), before.size() * 2));
    stage.TakeOnly(u"24f-source-large"_s, {source});
    source->setGeometry(before);
    stage.Set([](sim::Instrument &i) {
        i.SetOptionFlags("00000000");
        i.SetMeasure(1, 0);
    });
}

/// From 4 mA to 20 mA digit by digit, with the mouse and with keys; then a half of it; then thermocouples.
void SourceInUse(Stage &stage)
{
    SetCurrent(stage, 4000);
    Press(stage, "btUp0");
    Press(stage, "btSrcOnOff");
    stage.TakeOnly(u"25a-source-on"_s, {stage.Source()});
    stage.BringToFront(stage.Source());
    for (int i = 0; i < 6; ++i)
        Press(stage, "btUp1");
    Press(stage, "btDown4");
    QTest::keyClick(stage.Source()->focusWidget(), Qt::Key_Left);
    Step(stage, Qt::Key_Up);
    stage.TakeOnly(u"25b-source-digit-focus"_s, {stage.Source()});
    QTest::keyClick(stage.Source()->focusWidget(), Qt::Key_Right);
    Step(stage, Qt::Key_Up);
    QTest::keyClick(stage.Source()->focusWidget(), Qt::Key_Left);
    Step(stage, Qt::Key_Down);
    Press(stage, "btSrcOnOff");
    stage.TakeOnly(u"25c-source-off"_s, {stage.Source()});

    stage.Type("tbN", u"1"_s, stage.Source());
    stage.Type("tbM", u"2"_s, stage.Source());
    Press(stage, "btNmSet");
    Press(stage, "btNm");
    stage.TakeOnly(u"25d-source-ratio"_s, {stage.Source()});
    Press(stage, "btNm");

    stage.Set([](sim::Instrument &i) { i.SetSource(3, 1); });
    auto *const list = stage.Find<QComboBox>("cbTc", stage.Source());
    list->setFocus(Qt::TabFocusReason);
    stage.Send([&] { QTest::keyClick(list, Qt::Key_Down); });
    stage.Second();
    stage.Click(list);
    stage.TakeOnly(u"25e-source-list-open"_s, {stage.Source(), list->view()->window()});
    QTest::keyClick(list->view(), Qt::Key_Escape);
}

void SourceValue(Stage &stage)
{
    SetCurrent(stage, 20000);
    QDialog *dialog = OpenValueDialog(stage);
    stage.TakeAll("26a-source-value", {dialog});
    stage.Type("tbSrcValue", u"12.345"_s, dialog);
    stage.Send([&] { stage.CloseDialog(dialog, "btSet"); });
    stage.Second();
    dialog = OpenValueDialog(stage);
    stage.Type("tbSrcValue", u"abc"_s, dialog);
    stage.Send([&] { stage.CloseDialog(dialog, "btSet"); });
    stage.TakeAll("26b-source-value-refused");
    dialog = OpenValueDialog(stage);
    QApplication::clipboard()->setText(u"5 Ω"_s);
    QTest::keyClick(dialog->focusWidget(), Qt::Key_V, Qt::ControlModifier);
    stage.Click("btSet", dialog);
    stage.TakeAll("26c-source-value-character", {dialog});
    stage.CloseDialog(dialog, "btCancel");
}

} // namespace px40
