#include "simulator/instrument.h"
#include "simulator/parse.h"

#include <cmath>
#include <utility>

namespace px40::sim {

namespace {

const std::string Done = "OK";
const std::string Refused = "ERR";

constexpr int SweepMode = 4;
constexpr int AutoStepMode = 6;

} // namespace

struct Instrument::Entry
{
    std::string_view name;
    Reply (*obey)(Instrument &, std::string_view argument);
};

std::string Instrument::Answer(std::string_view command)
{
    using Text = std::string_view;
    const auto acknowledge = [](Instrument &, Text argument) { return argument == "1" ? Done : Refused; };
    static const Entry table[] = {
        {"AN", acknowledge},
        {"H", acknowledge},
        {"OC", [](Instrument &i, Text a) { return a.empty() ? i.AnswerStatus() : Refused; }},
        {"OM", [](Instrument &i, Text a) { return i.AnswerReading(a); }},
        {"PL,", [](Instrument &i, Text a) { return i.SetPlayback(a); }},
        {"RS,", [](Instrument &i, Text a) { return i.AnswerRecord(a); }},
        {"MO", [](Instrument &i, Text a) { return i.SwitchMeasure(a); }},
        {"UP", [](Instrument &i, Text a) { return i.StepDigit(a, 1); }},
        {"DW", [](Instrument &i, Text a) { return i.StepDigit(a, -1); }},
        {"SO", [](Instrument &i, Text a) { return i.SwitchSource(a); }},
        {"NM", [](Instrument &i, Text a) { return i.SwitchRatio(a); }},
        {"ND", [](Instrument &i, Text a) { return i.SetRatio(a); }},
        {"SR", [](Instrument &i, Text a) { return i.SelectRange(a); }},
        {"TE", [](Instrument &i, Text a) { return i.SelectTemperatureView(a); }},
        {"PU", [](Instrument &i, Text a) { return i.SelectPulseView(a); }},
        {"SD", [](Instrument &i, Text a) { return i.SetValue(a); }},
    };
    for (const Entry &entry : table) {
        if (command.starts_with(entry.name))
            return entry.obey(*this, command.substr(entry.name.size()));
    }
    return Refused;
}

Instrument::Reply Instrument::AnswerReading(std::string_view argument) const
{
    const std::optional<int> n = ParsePosition(argument);
    return n && *n >= 1 && *n <= MemorySize ? Reading(*n) : Refused;
}

Instrument::Reply Instrument::AnswerRecord(std::string_view argument) const
{
    const std::optional<int> n = argument.size() == 2 ? ParseDigits(argument) : std::nullopt;
    const bool known = saveMode_ && n && *n >= 1 && *n <= MemorySize;
    return WithCheck(known ? Record(*n) : "CMD,ERR");
}

Instrument::Reply Instrument::SetPlayback(std::string_view argument)
{
    const std::optional<bool> on = ParseSwitch(argument);
    if (!on)
        return Refused;
    saveMode_ = *on;
    return Done;
}

Instrument::Reply Instrument::SwitchMeasure(std::string_view argument)
{
    const std::optional<bool> on = ParseSwitch(argument);
    const bool held = (sourceMode_ >= 1 && sourceMode_ <= 3) || sourceMode_ == HighestMode;
    if (!on || held)
        return Refused;
    measureOn_ = *on;
    return Done;
}

Instrument::Reply Instrument::SwitchSource(std::string_view argument)
{
    const std::optional<bool> on = ParseSwitch(argument);
    if (!on)
        return Refused;
    sourceOn_ = *on;
    return Done;
}

Instrument::Reply Instrument::SwitchRatio(std::string_view argument)
{
    const std::optional<bool> on = ParseSwitch(argument);
    if (!on)
        return Refused;
    const bool plain = sourceMode_ == 0 || sourceMode_ == SweepMode;
    if (*on && plain)
        modeBeforeRatio_ = std::exchange(sourceMode_, RatioMode);
    else if (!*on && sourceMode_ == RatioMode)
        sourceMode_ = modeBeforeRatio_;
    else if (!*on && sourceMode_ == AutoStepMode)
        sourceMode_ = 0;
    else if (*on ? sourceMode_ != RatioMode : !plain)
        return Refused;
    return Done;
}

Instrument::Reply Instrument::SetRatio(std::string_view argument)
{
    if (argument.size() != 4)
        return Refused;
    const std::optional<int> n = ParseDigits(argument.substr(0, 2));
    const std::optional<int> m = ParseDigits(argument.substr(2));
    if (!n || !m || *m == 0)
        return Refused;
    ratioN_ = *n;
    ratioM_ = *m;
    return Done;
}

Instrument::Reply Instrument::StepDigit(std::string_view argument, long direction)
{
    const std::optional<int> digit = ParsePosition(argument);
    const SourceRange *range = Settable();
    if (!digit || *digit < 1 || *digit > 5 || !range)
        return Refused;
    constexpr long weights[] = {10000, 1000, 100, 10, 1};
    long &counts = Counts(*range);
    const long stepped = counts + direction * weights[*digit - 1];
    if (stepped < range->low || stepped > range->high)
        return Refused;
    counts = stepped;
    return Done;
}

Instrument::Reply Instrument::SelectRange(std::string_view argument)
{
    const std::optional<int> position = ParsePosition(argument);
    const SourceRange *range = position ? FindSourceRange(source_->function, *position) : nullptr;
    if (!range)
        return Refused;
    source_ = range;
    return Done;
}

Instrument::Reply Instrument::SelectTemperatureView(std::string_view argument)
{
    const std::optional<int> position = ParsePosition(argument);
    // A resistance thermometer has no reference junction whose temperature could be shown.
    const int last = source_->function == ThermocoupleFunction ? 2 : 1;
    if (!position || *position > last || !IsTemperatureSource())
        return Refused;
    temperatureView_ = static_cast<TemperatureView>(*position);
    return Done;
}

Instrument::Reply Instrument::SelectPulseView(std::string_view argument)
{
    const std::optional<int> position = ParsePosition(argument);
    if (!position || *position > 2 || source_->function != PulseFunction)
        return Refused;
    pulseView_ = static_cast<PulseView>(*position);
    return Done;
}

Instrument::Reply Instrument::SetValue(std::string_view argument)
{
    const SourceRange *range = Settable();
    if (!range)
        return Refused;
    const std::optional<long> counts = ParseValue(argument, range->decimals);
    if (!counts || *counts < range->low || *counts > range->high)
        return Refused;
    Counts(*range) = *counts;
    return Done;
}

} // namespace px40::sim
