// The SOURCE window: what it shows of each state of the instrument's source, and its sizes.

#include "tools/tour.h"

#include "simulator/replytext.h"
#include "source/frmsource.h"
#include "tools/stage.h"
#include "tools/tourchecks.h"

#include <QComboBox>
#include <QPushButton>
#include <QScreen>

using namespace Qt::Literals::StringLiterals;

namespace px40 {

namespace {

using sim::PulseView;
using sim::TemperatureView;

/// The entries at which the five lists stand.
QString ListTexts(const Stage &stage)
{
    QStringList texts;
    for (const QString &name : {u"cbTc"_s, u"cbRtd"_s, u"cbTemp"_s, u"cbPulse"_s, u"cbPulseSet"_s})
        texts << stage.Find<QComboBox>(name, stage.Source())->currentText();
    return texts.join(u", "_s);
}

void RequireUsable(const Stage &stage, bool usable)
{
    for (const QString &name : {u"btUp0"_s, u"btUp4"_s, u"cbTc"_s, u"cbPulseSet"_s})
        Require(stage.Find<QWidget>(name, stage.Source())->isEnabled() == usable,
                u"\"%1\" is wrong for the source's mode."_s.arg(name));
    for (const QString &name : {u"btDown0"_s, u"btSrcOnOff"_s, u"btInput"_s, u"btNm"_s, u"btNmSet"_s})
        Require(stage.Find<QWidget>(name, stage.Source())->isEnabled(),
                u"\"%1\" is not always enabled."_s.arg(name));
}

} // namespace

void Tour::StartSource(Stage &stage)
{
    stage.KeepSourcePlace(BelowMeasure);
    stage.Start(false);
    AwaitReading(stage);
    AwaitSource(stage, u"0100.0 imUnit0 K SOURCE OFF RJON IPTS-68"_s);
    RequireSourceChecked(stage, true);
    const QWidget *const source = stage.Source();
    Require(source->geometry().topLeft() == BelowMeasure || source->devicePixelRatioF() != 1,
            u"SOURCE does not open where it was kept."_s);
    Require(source->screen()->availableGeometry().contains(source->geometry()),
            u"SOURCE is not wholly on the screen."_s);
    // A status of the moment in which the filled lists send their choice does not move them.
    const QString lists = u"K, 400Ohm, Set value, 500.0Hz, Freq."_s;
    AwaitIfPossible([&] { return ListTexts(stage) == lists; });
    RequireText(u"The lists of SOURCE at the start"_s, ListTexts(stage), lists);
    camera_.Take(u"24-source-at-start"_s, stage.Windows());
}

/// The lists stand where the instrument stands; one that it says nothing about stays.
void Tour::SourceRanges(Stage &stage)
{
    struct Range
    {
        const char16_t *name;
        int function;
        int range;
        int view; ///< TemperatureView or PulseView
        const char16_t *face;
        const char16_t *lists;
    };
    static constexpr Range Ranges[] = {
        {u"volts", 0, 0, 0, u"1.0000 V DC SOURCE OFF", u"K, 400Ohm, Set value, 500.0Hz, Freq."},
        {u"millivolts", 3, 0, 0, u"050.00 mV DC SOURCE OFF", u"100mV, 400Ohm, Set value, 500.0Hz, Freq."},
        {u"thermocouple", 3, 1, 0, u"0100.0 imUnit0 K SOURCE OFF RJON IPTS-68",
         u"K, 400Ohm, Set value, 500.0Hz, Freq."},
        {u"thermocouple-signal", 3, 1, 1, u"04.000 mV K SOURCE OFF RJON IPTS-68",
         u"K, 400Ohm, mV, 500.0Hz, Freq."},
        {u"ohms", 4, 0, 0, u"100.00 Ohm 400Ohm SOURCE OFF", u"K, 400Ohm, Set value, 500.0Hz, Freq."},
        {u"pt100", 4, 1, 0, u"0100.0 imUnit1 PT100 SOURCE OFF IPTS-68",
         u"K, PT100, Set value, 500.0Hz, Freq."},
        {u"jpt100", 4, 2, 0, u"0100.0 imUnit2 JPT100 SOURCE OFF IPTS-68",
         u"K, JPT100, Set value, 500.0Hz, Freq."},
        {u"pt100-signal", 4, 1, 1, u"138.51 Ohm PT100 SOURCE OFF IPTS-68", u"K, PT100, Ohm, 500.0Hz, Freq."},
        {u"frequency", 5, 0, 0, u"0050.0 Hz Freq. SOURCE OFF", u"K, PT100, mV, 500.0Hz, Freq."},
        {u"amplitude", 5, 0, 1, u"005.00 V Amp. SOURCE OFF", u"K, PT100, mV, 500.0Hz, Amp."},
        {u"count", 5, 0, 2, u"001000 Cycle Count SOURCE OFF", u"K, PT100, mV, 500.0Hz, Count"},
        {u"kilohertz", 5, 2, 0, u"001.00 kHz Freq. SOURCE OFF", u"K, PT100, mV, 10kHz, Freq."},
        {u"milliamperes", 6, 0, 0, u"04.000 mA DC SOURCE OFF", u"K, PT100, mV, 10kHz, Freq."},
    };
    for (const Range &range : Ranges) {
        stage.server.WithInstrument([&](sim::Instrument &i) {
            i.SetSource(range.function, range.range);
            i.SetTemperatureView(static_cast<TemperatureView>(range.view));
            i.SetPulseView(static_cast<PulseView>(range.view));
        });
        AwaitSource(stage, QString::fromUtf16(range.face));
        RequireText(u"The lists of SOURCE"_s, ListTexts(stage), QString::fromUtf16(range.lists));
        camera_.Take(u"24a-source-"_s + QString::fromUtf16(range.name), {stage.Source()});
    }
}

void Tour::SourceStates(Stage &stage)
{
    RequireUsable(stage, true);
    stage.server.WithInstrument([](sim::Instrument &i) {
        i.Answer("ND9901");
        i.SetSourceMode(sim::RatioMode); // 99 times 4 mA
    });
    AwaitSource(stage, u"----- mA DC SOURCE OFF"_s);
    RequireUsable(stage, false);
    camera_.Take(u"24b-source-over-range"_s, {stage.Source()});

    stage.server.WithInstrument([](sim::Instrument &i) {
        i.SetSource(8, 0);
        i.SetSourceCounts(-2000);
        i.SetSourceMode(4);
        i.SetOptionBit(7, true);
    });
    AwaitSource(stage, u"-020.00 mA DC SOURCE OFF SWEEP 32s AUTO OFF"_s);
    camera_.Take(u"24c-source-negative-sweep"_s, {stage.Source()});

    // All indicators at once.
    stage.server.WithInstrument([](sim::Instrument &i) {
        i.SetSource(3, 7);
        i.SetSourceCounts(10000);
        i.SetSourceMode(7);
        i.SetOptionBit(1, true);
        i.SetMeasure(6, 0);
    });
    AwaitSource(stage, u"1000.0 imUnit0 S SOURCE OFF AUTO STEP 2.5s RJON IPTS-68 AUTO OFF CONTACT IN"_s);
    RequireUsable(stage, false);
    camera_.Take(u"24d-source-all-indicators"_s, {stage.Source()});
    SourceSizes(stage);

    stage.server.WithInstrument([](sim::Instrument &i) {
        i.SetSource(6, 0);
        i.SetSourceMode(0);
        i.SetOptionFlags("00000000");
        i.SetMeasure(1, 0);
    });
    AwaitSource(stage, u"04.000 mA DC SOURCE OFF"_s);
    RequireUsable(stage, true);
}

void Tour::SourceSizes(Stage &stage)
{
    QWidget *const source = stage.Source();
    const QRect before = source->geometry();
    source->resize(source->minimumSize());
    camera_.Take(u"24e-source-smallest"_s, {source});
    source->setGeometry(QRect(QPoint(60, 60), before.size() * 2));
    camera_.Take(u"24f-source-large"_s, {source});
    source->setGeometry(before);
}

} // namespace px40
