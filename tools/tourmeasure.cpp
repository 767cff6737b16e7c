// The MEASURE window: what it shows of each state of the instrument, its button, its place.

#include "tools/tour.h"

#include "acquire/frmmoniter.h"
#include "acquire/status.h"
#include "resources/strings.h"
#include "simulator/replytext.h"
#include "tools/stage.h"
#include "tools/tourchecks.h"

#include <QAction>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QScreen>

#include <algorithm>
#include <cmath>

using namespace Qt::Literals::StringLiterals;

namespace px40 {

namespace {

QString LabelText(const Stage &stage, const QString &name)
{
    return stage.Find<QLabel>(name, stage.Moniter())->text();
}

bool IsShown(const Stage &stage, const QString &name)
{
    return stage.Find<QWidget>(name, stage.Moniter())->isVisible();
}

/// What MEASURE shows but for the value: function, unit, symbol, lamp, indicators.
QString Face(const Stage &stage)
{
    QStringList parts = {LabelText(stage, u"llFunction"_s), LabelText(stage, u"llUnit"_s)};
    for (const QString &name : {u"imUnit0"_s, u"imUnit1"_s, u"imUnit2"_s, u"shOn"_s, u"shOff"_s}) {
        if (IsShown(stage, name))
            parts << name;
    }
    for (int i = 0; i < 7; ++i)
        parts << LabelText(stage, u"llDipsw%1"_s.arg(i));
    parts.removeAll(QString());
    return parts.join(u' ');
}

void AwaitFace(const Stage &stage, const QString &face, const QString &value)
{
    const auto shown = [&] { return Face(stage) == face && LabelText(stage, u"llValue"_s) == value; };
    AwaitIfPossible(shown);
    Require(shown(), u"MEASURE shows \"%1\", \"%2\" instead of \"%3\", \"%4\"."_s.arg(
                         LabelText(stage, u"llValue"_s), Face(stage), value, face));
}

/// A value that lives, within a tenth of `about`.
void AwaitFaceAbout(const Stage &stage, const QString &face, double about)
{
    const auto near = [&] {
        bool number = false;
        const double value = LabelText(stage, u"llValue"_s).trimmed().toDouble(&number);
        return number && std::abs(value - about) < about / 10;
    };
    const auto shown = [&] { return Face(stage) == face && near(); };
    AwaitIfPossible(shown);
    Require(shown(), u"MEASURE shows \"%1\", \"%2\" instead of about %3, \"%4\"."_s.arg(
                         LabelText(stage, u"llValue"_s), Face(stage), QString::number(about), face));
}

/// The commands of the button among all that have arrived.
QStringList Presses(const Stage &stage)
{
    QStringList presses;
    for (const std::string &command : stage.server.Commands()) {
        if (command.starts_with("MO"))
            presses << QString::fromStdString(command);
    }
    return presses;
}

void AwaitPresses(const Stage &stage, const QStringList &commands)
{
    AwaitIfPossible([&] { return Presses(stage).size() >= commands.size(); });
    RequireText(u"What the button sent"_s, Presses(stage).join(u' '), commands.join(u' '));
}

} // namespace

/// Where the live windows begin: nothing has been done yet, and MEASURE stands beside the main window.
void Tour::StartLive(Stage &stage)
{
    stage.KeepSourcePlace(BelowMeasure);
    stage.Start(false);
    Await([&stage] { return stage.Moniter() != nullptr; }, u"MEASURE does not open at the start."_s);
    AwaitReading(stage);
    Require(stage.Find<QAction>(u"mnuViewMoniter"_s)->isChecked(),
            u"The View menu does not tell that MEASURE is open."_s);
    const QWidget *const moniter = stage.Moniter();
    const QRect screen = moniter->screen()->availableGeometry();
    Require(screen.contains(moniter->geometry()), u"MEASURE is not wholly on the screen."_s);
    const QRect main = stage.window->geometry();
    Require(!moniter->geometry().intersects(main) || screen.right() - main.right() < moniter->width(),
            u"MEASURE covers the main window, although there is room beside it."_s);
    camera_.Take(u"20a-measure-at-start"_s, stage.Windows());
}

void Tour::MeasureRanges(Stage &stage)
{
    struct Range
    {
        const char16_t *name;
        int function;
        int range;
        const char16_t *face;
        double about;
    };
    static constexpr Range Ranges[] = {
        {u"dc-volts", 1, 0, u"DC V shOn", 3.1416},     {u"dc-millivolts", 4, 0, u"DC mV shOn", 25.14},
        {u"ac-volts", 0, 0, u"AC V shOn", 100.2},      {u"thermocouple", 4, 1, u"K imUnit0 shOn", 421.3},
        {u"pt100", 5, 0, u"PT100 imUnit1 shOn", 23.6}, {u"jpt100", 5, 1, u"JPT100 imUnit2 shOn", 100.4},
        {u"kilohertz", 6, 2, u"kHz shOn", 3.275},      {u"counts", 6, 3, u"CPM shOn", 1482},
        {u"milliamperes", 7, 0, u"mA shOn", 12},
    };
    for (const Range &range : Ranges) {
        stage.server.WithInstrument([&](sim::Instrument &i) { i.SetMeasure(range.function, range.range); });
        AwaitFaceAbout(stage, QString::fromUtf16(range.face), range.about);
        camera_.Take(u"20b-measure-"_s + QString::fromUtf16(range.name), {stage.Moniter()});
    }
}

void Tour::MeasureStates(Stage &stage)
{
    stage.server.WithInstrument([](sim::Instrument &i) {
        i.SetMeasure(3, 0);
        i.SetMeasureState(sim::OverState);
    });
    AwaitFace(stage, u"DC V shOn"_s, u"-----"_s);
    camera_.Take(u"20c-measure-over-range"_s, {stage.Moniter()});
    stage.server.WithInstrument([](sim::Instrument &i) {
        i.SetMeasure(4, 1);
        i.SetMeasureState(sim::BurnOutState);
    });
    AwaitFace(stage, u"K imUnit0 shOn"_s, u" -bo-"_s);
    camera_.Take(u"20d-measure-burn-out"_s, {stage.Moniter()});
    stage.server.WithInstrument([](sim::Instrument &i) {
        i.SetMeasureState(sim::NormalState);
        i.SetMeasureOn(false);
    });
    AwaitFace(stage, u"shOff"_s, QString());
    camera_.Take(u"20e-measure-off"_s, {stage.Moniter()});
}

/// Two quick presses switch measuring on and off again, also when no status tells so in between.
void Tour::MeasureButton(Stage &stage)
{
    AwaitFace(stage, u"shOff"_s, QString());
    auto *const button = stage.Find<QPushButton>(u"btMeasOnOff"_s, stage.Moniter());
    Require(Presses(stage).isEmpty(), u"MEASURE switches measuring by itself."_s);
    stage.AwaitFreeLink();
    Stage::Click(button);
    Stage::Click(button);
    AwaitPresses(stage, {u"MO1"_s, u"MO0"_s});
    AwaitIdle(stage);
    Require(!stage.server.WithInstrument([](const sim::Instrument &i) { return i.MeasureOn(); }),
            u"The instrument measures after the second press."_s);
    Stage::Click(button);
    AwaitPresses(stage, {u"MO1"_s, u"MO0"_s, u"MO1"_s});
    AwaitFaceAbout(stage, u"K imUnit0 shOn"_s, 421.3);

    // The source side has just taken measuring away, of which the program does not know yet.
    stage.AwaitFreeLink();
    stage.server.WithInstrument([](sim::Instrument &i) { i.SetSourceMode(9); });
    Stage::Click(button);
    const auto *const told = stage.Find<QLabel>(u"llMessage"_s, stage.Moniter());
    Await([told] { return told->text() == Text(Str::CommandRefused).arg(u"MO0"_s); },
          u"MEASURE does not tell that its command was refused."_s);
    camera_.Take(u"20j-measure-refused"_s, {stage.Moniter()});
    stage.server.WithInstrument([](sim::Instrument &i) { i.SetSourceMode(0); });
    AwaitFaceAbout(stage, u"K imUnit0 shOn"_s, 421.3);
    Await([button] { return button->isEnabled(); }, u"MEAS ON stays disabled."_s);
}

/// The source side can take the measuring side away: indicators, no reading, nothing to be started.
void Tour::MeasureSourceMode(Stage &stage)
{
    const auto *const button = stage.Find<QPushButton>(u"btMeasOnOff"_s, stage.Moniter());
    const auto *const make = stage.Find<QAction>(u"New"_s);
    const auto *const memory = stage.Find<QAction>(u"mnuDataMemory"_s);
    stage.server.WithInstrument([](sim::Instrument &i) { i.SetMeasure(6, 1); });
    AwaitFaceAbout(stage, u"Hz shOn"_s, 440.2);
    stage.server.WithInstrument([](sim::Instrument &i) {
        i.SetSource(3, 1);
        i.SetSourceMode(1);
        i.SetOptionFlags("10000000");
    });
    AwaitFace(stage, u"shOff RJON IPTS-68 AUTO OFF CONTACT IN"_s, QString());
    Require(!button->isEnabled() && !make->isEnabled() && !memory->isEnabled(),
            u"Measuring can be used although the source side has taken it."_s);
    camera_.Take(u"20f-measure-source-mode"_s, stage.Windows());
    stage.server.WithInstrument([](sim::Instrument &i) {
        i.SetSourceMode(0);
        i.SetMeasure(1, 0);
    });
    AwaitFaceAbout(stage, u"DC V shOn"_s, 3.1416);
    Require(button->isEnabled() && make->isEnabled() && memory->isEnabled(),
            u"Measuring stays disabled after the source side has given it back."_s);
}

void Tour::MeasureSizes(Stage &stage)
{
    QWidget *moniter = stage.Moniter();
    const QRect before = moniter->geometry();
    moniter->resize(moniter->minimumSize());
    camera_.Take(u"20g-measure-smallest"_s, {moniter});
    moniter->setGeometry(moniter->screen()->availableGeometry().adjusted(40, 60, -40, -40));
    camera_.Take(u"20h-measure-large"_s, {moniter});

    // Closed and opened again it stands where it stood.
    const QRect kept = before.translated(60, -20);
    moniter->setGeometry(kept);
    Stage::BringToFront(moniter);
    QTest::keyClick(moniter, Qt::Key_Escape);
    Await([&stage] { return !stage.Moniter(); }, u"Escape does not close MEASURE."_s);
    stage.Choose(u"mnuView"_s, u"mnuViewMoniter"_s);
    AwaitReading(stage);
    moniter = stage.Moniter();
    const QPoint moved = moniter->geometry().topLeft() - kept.topLeft();
    Require(
        moved.manhattanLength() <= 2 && moniter->size() == kept.size(),
        u"MEASURE does not open where it was closed, but %1, %2 beside it."_s.arg(moved.x()).arg(moved.y()));
}

void Tour::PrinterMode(Stage &stage)
{
    stage.server.WithInstrument([](sim::Instrument &i) { i.SetCommMode(sim::CommMode::Printer); });
    QMessageBox *const box = stage.AwaitBox();
    RequireText(u"The message of an instrument in printer mode"_s, box->text(),
                CommModeMessage(CommModePrinter).replace(u"\r\n"_s, u"\n"_s));
    camera_.Take(u"20i-printer-mode"_s, stage.Windows({box}));
    stage.Answer(box, QMessageBox::Ok);
    RequireCheckEnded(stage);
    stage.server.WithInstrument([](sim::Instrument &i) { i.SetCommMode(sim::CommMode::Normal); });
    stage.ClickTool(u"Moniter"_s);
    AwaitReading(stage);
}

} // namespace px40
