#include "acquire/measuredisplay.h"

#include "link/condition.h"
#include "link/rangelists.h"
#include "link/reply.h"
#include "resources/strings.h"

namespace px40 {

Captions ThermocoupleCaptions(int range, const QStringList &list, bool asSignal)
{
    const QString function = list.value(range);
    if (range == 0)
        return {QStringLiteral("mV"), QStringLiteral("DC")};
    if (function.isEmpty())
        return {};
    if (asSignal)
        return {QStringLiteral("mV"), function};
    return {QString(), function, Captions::ThermocoupleSymbol};
}

Captions ThermometerCaptions(int position, const RangeLists &ranges, bool asSignal)
{
    const QString function = ranges.RtdList.value(position);
    if (function.isEmpty())
        return {};
    if (position == 0 || asSignal)
        return {Text(Str::UnitOhm), function};
    return {QString(), function, position == 1 ? Captions::Pt100Symbol : Captions::Jpt100Symbol};
}

namespace {

Captions CaptionsFor(const InstrumentStatus &status, const RangeLists &ranges)
{
    static const QStringList frequencyUnits = {QStringLiteral("Hz"), QStringLiteral("Hz"),
                                               QStringLiteral("kHz"), QStringLiteral("CPM"),
                                               QStringLiteral("CPH")};
    const int range = status.MeasureRange;
    switch (status.MeasureFunction) {
    case 0:
        return {QStringLiteral("V"), QStringLiteral("AC")};
    case 1:
    case 2:
    case 3:
        return {QStringLiteral("V"), range != 0 ? QStringLiteral("AC") : QStringLiteral("DC")};
    case 4:
        return ThermocoupleCaptions(range, ranges.TcMeasureList, false);
    case 5:
        return ThermometerCaptions(range + 1, ranges, false);
    case 6:
        return {frequencyUnits.value(range), QString()};
    case 7:
        return {QStringLiteral("mA"), QString()};
    default:
        return {};
    }
}

} // namespace

MeasureDisplay ShowMeasure(const InstrumentStatus &status, const RangeLists &ranges)
{
    MeasureDisplay display;
    const bool hidden = HidesMeasurement(status.SourceMode);
    display.known = true;
    display.on = status.MeasureOn != 0 && !hidden;
    if (display.on) {
        static_cast<Captions &>(display) = CaptionsFor(status, ranges);
        display.value = MeasureValueText(status.MeasureValue);
        display.fault = ValueFault(SplitValue(status.MeasureValue));
    }
    display.buttonEnabled = !hidden && status.SourceMode != 2 && status.SourceMode != 9;
    if (hidden)
        display.indicators = ShowOptionIndicators(status);
    return display;
}

QString ValueFault(const ValueField &value)
{
    return value.state == u"O"   ? Text(Str::OverRange)
           : value.state == u"E" ? Text(Str::NoValue)
           : value.state == u"B" ? Text(Str::BurnOut)
                                 : QString();
}

QString MeasureValueText(const QString &field)
{
    const ValueField value = SplitValue(field);
    if (value.state == u"O" || value.state == u"E")
        return NoValueText();
    if (value.state == u"B")
        return BurnOutText();
    return value.sign + value.number;
}

OptionIndicators ShowOptionIndicators(const InstrumentStatus &status)
{
    OptionIndicators shown;
    const auto &bits = status.OptionBits;
    const int mode = status.SourceMode;
    if (mode == 6 || mode == 7) {
        shown[0] = QStringLiteral("AUTO STEP");
        shown[1] = bits[1] ? QStringLiteral("2.5s") : QStringLiteral("5s");
    }
    if (mode == 4 || mode == 5) {
        shown[0] = QStringLiteral("SWEEP");
        shown[1] = bits[1] ? QStringLiteral("16s") : QStringLiteral("32s");
    }
    const bool thermocouple = status.SourceFunction == 3 && status.SourceRange != 0;
    const bool thermometer = status.SourceFunction == 4 && status.SourceRange != 0;
    if (!bits[2] && thermocouple)
        shown[2] = QStringLiteral("RJON");
    if (!bits[3] && (thermocouple || thermometer))
        shown[3] = QStringLiteral("IPTS-68");
    if (bits[7])
        shown[4] = QStringLiteral("AUTO OFF");
    if (!bits[6] && status.MeasureFunction == 6)
        shown[6] = QStringLiteral("CONTACT IN");
    return shown;
}

} // namespace px40
