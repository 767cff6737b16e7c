// The MEASURE window: what it shows of each state of the instrument, its button, its sizes.

#include "tools/scenes.h"
#include "tools/stage.h"

#include <QScreen>

using namespace Qt::Literals::StringLiterals;

namespace px40 {

namespace {

/// Where SOURCE covers nothing, beside the main window as it comes.
constexpr QPoint BelowMeasure(742, 384);

} // namespace

void StartLive(Stage &stage)
{
    stage.StartUp(BelowMeasure);
    stage.TakeAll("20a-measure-at-start");
}

void MeasureStates(Stage &stage)
{
    struct Range
    {
        const char16_t *name;
        int function;
        int range;
    };
    static constexpr Range Ranges[] = {
        {u"dc-volts", 1, 0},     {u"dc-millivolts", 4, 0}, {u"ac-volts", 0, 0},
        {u"thermocouple", 4, 1}, {u"pt100", 5, 0},         {u"jpt100", 5, 1},
        {u"kilohertz", 6, 2},    {u"counts", 6, 3},        {u"milliamperes", 7, 0},
    };
    for (const Range &range : Ranges) {
        stage.Set([&](sim::Instrument &i) { i.SetMeasure(range.function, range.range); });
        stage.TakeOnly(u"20b-measure-"_s + QString::fromUtf16(range.name), {stage.Moniter()});
    }
    stage.Set([](sim::Instrument &i) {
        i.SetMeasure(3, 0);
        i.SetMeasureState(sim::OverState);
    });
    stage.TakeOnly(u"20c-measure-over-range"_s, {stage.Moniter()});
    stage.Set([](sim::Instrument &i) {
        i.SetMeasure(4, 1);
        i.SetMeasureState(sim::BurnOutState);
    });
    stage.TakeOnly(u"20d-measure-burn-out"_s, {stage.Moniter()});
    stage.Set([](sim::Instrument &i) {
        i.SetMeasureState(sim::NormalState);
        i.SetMeasureOn(false);
    });
    stage.TakeOnly(u"20e-measure-off"_s, {stage.Moniter()});
}

void MeasureInUse(Stage &stage)
{
    stage.Send([&] { stage.Click("btMeasOnOff", stage.Moniter()); });
    stage.Second();
    // The source side has just taken measuring away, of which the program does not know yet.
    stage.server.WithInstrument([](sim::Instrument &i) { i.SetSourceMode(9); });
    stage.Send([&] { stage.Click("btMeasOnOff", stage.Moniter()); });
    stage.TakeOnly(u"20j-measure-refused"_s, {stage.Moniter()});
    stage.Set([](sim::Instrument &i) {
        i.SetMeasure(6, 1);
        i.SetSource(3, 1);
        i.SetSourceMode(1);
        i.SetOptionFlags("10000000");
    });
    stage.TakeAll("20f-measure-source-mode");
    stage.Set([](sim::Instrument &i) {
        i.SetSourceMode(0);
        i.SetMeasure(1, 0);
    });

    QWidget *const moniter = stage.Moniter();
    const QRect before = moniter->geometry();
    moniter->resize(moniter->minimumSize());
    stage.TakeOnly(u"20g-measure-smallest"_s, {moniter});
    moniter->setGeometry(moniter->screen()->availableGeometry().adjusted(40, 60, -40, -40));
    stage.TakeOnly(u"20h-measure-large"_s, {moniter});
    moniter->setGeometry(before.translated(60, -20));

    stage.server.WithInstrument([](sim::Instrument &i) { i.SetCommMode(sim::CommMode::Printer); });
    stage.BeginSecond();
    stage.TakeAll("20i-printer-mode", {stage.Box()});
    stage.Answer(QMessageBox::Ok);
    stage.Idle();
}

} // namespace px40
