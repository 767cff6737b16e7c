// The MEASURE window: what it shows of each state of the instrument, its button, its sizes.

#include "tools/scenes.h"
#include "tools/stage.h"

#include <QScreen>

#include <tuple>

using namespace Qt::Literals::StringLiterals;

namespace px40 {

void Measure(Stage &stage)
{
    stage.StartUp();
    stage.TakeAll("20a-measure-at-start");
    // The pictures, the keys pressed before each, and what the reading is like.
    static constexpr std::tuple<const char *, const char *, char> States[] = {
        {"20b-measure-dc-volts", "measure 1 0", sim::NormalState},
        {"20b-measure-dc-millivolts", "measure 4 0", sim::NormalState},
        {"20b-measure-ac-volts", "measure 0 0", sim::NormalState},
        {"20b-measure-thermocouple", "measure 4 1", sim::NormalState},
        {"20b-measure-pt100", "measure 5 0", sim::NormalState},
        {"20b-measure-jpt100", "measure 5 1", sim::NormalState},
        {"20b-measure-kilohertz", "measure 6 2", sim::NormalState},
        {"20b-measure-counts", "measure 6 3", sim::NormalState},
        {"20b-measure-milliamperes", "measure 7 0", sim::NormalState},
        {"20c-measure-over-range", "measure 3 0", sim::OverState},
        {"20d-measure-burn-out", "measure 4 1", sim::BurnOutState},
        {"20e-measure-off", "MO0", sim::NormalState},
    };
    for (const auto &[picture, orders, state] : States) {
        stage.server.WithInstrument([state = state](sim::Instrument &i) { i.SetMeasureState(state); });
        stage.Set(orders);
        stage.TakeOnly(QString::fromLatin1(picture), {stage.Moniter()});
    }

    stage.See([&] { stage.Click("btMeasOnOff", stage.Moniter()); });
    // The source side has just taken measuring away, of which the program does not know yet.
    stage.server.WithInstrument([](sim::Instrument &i) { i.SetSourceMode(9); });
    stage.Send([&] { stage.Click("btMeasOnOff", stage.Moniter()); });
    stage.TakeOnly(u"20j-measure-refused"_s, {stage.Moniter()});
    stage.Set("measure 6 1; source 3 1; mode 1; options 10000000");
    stage.TakeAll("20f-measure-source-mode");
    stage.Set("mode 0; measure 1 0");

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
    stage.Dismiss();
}

} // namespace px40
