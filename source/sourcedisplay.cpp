#include "source/sourcedisplay.h"

#include "link/condition.h"
#include "link/rangelists.h"
#include "link/reply.h"
#include "resources/strings.h"

#include <QStringList>

#include <algorithm>

namespace px40 {

namespace {

constexpr int Digits = 5; // beside the sign

Captions PulseCaptions(const InstrumentStatus &status, const RangeLists &ranges)
{
    static const QStringList frequencyUnits = {QStringLiteral("Hz"), QStringLiteral("Hz"),
                                               QStringLiteral("kHz")};
    const QString function = ranges.PulseKindList.value(status.PulseSubMode);
    switch (status.PulseSubMode) {
    case 0:
        return {frequencyUnits.value(status.SourceRange), function};
    case 1:
        return {QStringLiteral("V"), function};
    case 2:
        return {QStringLiteral("Cycle"), function};
    default:
        return {};
    }
}

Captions CaptionsFor(const InstrumentStatus &status, const RangeLists &ranges)
{
    // A temperature is given in degrees, or as the signal that the sensor would give for it.
    const bool asSignal = status.SourceSubMode == 1;
    switch (status.SourceFunction) {
    case 0:
    case 1:
    case 2:
        return {QStringLiteral("V"), QStringLiteral("DC")};
    case 3:
        return ThermocoupleCaptions(status.SourceRange, ranges.TcSourceList, asSignal);
    case 4:
        return ThermometerCaptions(status.SourceRange, ranges, asSignal);
    case 5:
        return PulseCaptions(status, ranges);
    case 6:
    case 7:
    case 8:
        return {QStringLiteral("mA"), QStringLiteral("DC")};
    default:
        return {};
    }
}

QString SignText(const QString &sign)
{
    return sign == u" " || sign == u"+" ? QString() : sign;
}

/// Sign, digits and point of a number. Anything else that came over the line is shown as it is, so that noise
/// does not pass for a number.
void ShowNumber(const QString &value, SourceDisplay *display)
{
    QString &first = display->digits[0];
    first = SignText(Field(value, 1, 1));
    QString number = Field(value, 2, Digits + 1);
    const qsizetype point = number.indexOf(u'.');
    if (point >= 0)
        number.remove(point, 1);
    else
        number = number.trimmed().rightJustified(Digits, u' ');
    if (point == 0)
        first += u'.';
    else if (point > 0 && point < Digits)
        display->points.at(static_cast<std::size_t>(point - 1)) = true;
    if (number.size() > Digits) {
        first += number.front();
        number.remove(0, 1);
    }
    for (qsizetype i = 0; i < number.size(); ++i) {
        if (number[i] != u' ')
            display->digits.at(static_cast<std::size_t>(i + 1)) = number[i];
    }
}

void ShowValue(const InstrumentStatus &status, SourceDisplay *display)
{
    const QString state = SplitValue(status.SourceField).state;
    if (state == u"O" || state == u"E") { // a source has no burn-out
        std::fill(display->digits.begin() + 1, display->digits.end(), QStringLiteral("-"));
        display->fault = ValueFault(SplitValue(status.SourceField));
    } else {
        ShowNumber(status.SourceValue, display);
    }
}

/// `position` if the list has it, else `KeepPosition`.
int PositionIn(const QStringList &list, int position)
{
    return position >= 0 && position < list.size() ? position : SourceDisplay::KeepPosition;
}

void ShowPositions(const InstrumentStatus &status, const RangeLists &ranges, SourceDisplay *display)
{
    auto &positions = display->positions;
    const int function = status.SourceFunction;
    const bool temperature = function == 3 || function == 4;
    display->inEffect = {function == 3, function == 4, temperature, function == 5, function == 5};
    if (function == 3)
        positions[SourceDisplay::TcList] = PositionIn(ranges.TcSourceList, status.SourceRange);
    if (function == 4)
        positions[SourceDisplay::RtdList] = PositionIn(ranges.RtdList, status.SourceRange);
    if (temperature)
        positions[SourceDisplay::TempList] = PositionIn(ranges.TempSetList, status.SourceSubMode);
    if (function == 5) {
        positions[SourceDisplay::PulseList] = PositionIn(ranges.PulseFreqList, status.SourceRange);
        positions[SourceDisplay::PulseSetList] = PositionIn(ranges.PulseKindList, status.PulseSubMode);
    }
    display->signalEntry = Text(function == 4 ? Str::UnitOhm : Str::TempSetMillivolt);
}

} // namespace

SourceDisplay ShowSource(const InstrumentStatus &status, const RangeLists &ranges, bool indicatorsElsewhere)
{
    SourceDisplay display;
    ShowValue(status, &display);
    static_cast<Captions &>(display) = CaptionsFor(status, ranges);
    display.known = true;
    display.on = status.SourceOn == 1;
    if (!indicatorsElsewhere)
        display.indicators = ShowOptionIndicators(status);
    ShowPositions(status, ranges, &display);
    const auto maySend = [&status](SourceControl control) { return MaySend(control, status.SourceMode); };
    display.ratioOn = SettingOf(SourceControl::Nm, status.SourceMode) == SourceSetting::RatioOff;
    display.mayStepUp = maySend(SourceControl::Up);
    display.mayChooseRange = maySend(SourceControl::Tc) || maySend(SourceControl::Rtd) ||
                             maySend(SourceControl::Temp) || maySend(SourceControl::Pulse) ||
                             maySend(SourceControl::PulseSet);
    return display;
}

} // namespace px40
