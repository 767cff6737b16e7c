#include "simulator/instrument.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <numbers>
#include <stdexcept>
#include <utility>

namespace px40::sim {

namespace {

// The temperature around the simulated instrument, in tenths of a degree.
constexpr long AmbientCounts = 234;
constexpr std::size_t OptionCount = 8;

void Require(bool condition, const char *what)
{
    if (!condition)
        throw std::invalid_argument(what);
}

std::size_t MemoryIndex(int n)
{
    Require(n >= 1 && n <= MemorySize, "no such place in the memory");
    return static_cast<std::size_t>(n) - 1;
}

std::string TwoDigits(int number)
{
    const std::string digits = std::to_string(number);
    return digits.size() < 2 ? '0' + digits : digits;
}

char Digit(int number)
{
    return static_cast<char>('0' + number);
}

} // namespace

Instrument::Instrument(std::uint64_t seed)
    : random_(seed), readings_(StoredReadings(seed)), records_(SavedRecords(readings_)),
      measure_(FindMeasureRange(1, 0)), source_(FindSourceRange(ThermocoupleFunction, 1))
{
}

Instrument::Reply Instrument::AnswerStatus()
{
    if (!heldStatuses_.empty()) {
        std::string held = heldStatuses_.front();
        if (heldStatuses_.size() > 1)
            heldStatuses_.pop_front();
        return held;
    }
    std::string reply;
    reply += measureOn_ ? '1' : '0';
    reply += Digit(measure_->function) + TwoDigits(measure_->range);
    if (heldField_)
        reply += *heldField_;
    else
        reply += measureOn_ ? ValueField(LiveValue()) : std::string(14, ' ');
    reply += sourceOn_ ? '1' : '0';
    reply += Digit(source_->function) + TwoDigits(source_->range);
    reply += ValueField(SourceValue());
    if (!shortStatus_)
        reply += optionFlags_;
    reply += TwoDigits(ratioN_) + TwoDigits(ratioM_);
    reply += IsTemperatureSource() ? Digit(static_cast<int>(temperatureView_)) : ' ';
    reply += source_->function == PulseFunction ? Digit(static_cast<int>(pulseView_)) : ' ';
    reply += Digit(sourceMode_);
    reply += Digit(static_cast<int>(commMode_));
    return reply;
}

// A slow rise and fall with a little noise, as a signal in a plant would have it.
Value Instrument::LiveValue()
{
    constexpr double period = 90;
    const double phase = 2 * std::numbers::pi * static_cast<double>(liveCount_++) / period;
    const long rise = std::lround(static_cast<double>(measure_->swing) * std::sin(phase));
    const long noise = random_.Around(measure_->swing / 20 + 1);
    const long counts = std::clamp(measure_->centre + rise + noise, -MaxCounts, MaxCounts);
    return {measure_->unit, counts, measure_->decimals, measure_->exponent, measureState_};
}

Value Instrument::SourceValue() const
{
    const SourceRange &range = source_->function == PulseFunction && pulseView_ != PulseView::Frequency
                                   ? PulseSetting(pulseView_)
                                   : *source_;
    Value value{range.unit, SourceCounts(), range.decimals, range.exponent, NormalState};
    if (sourceMode_ == RatioMode) {
        value.counts = std::lround(static_cast<double>(value.counts) * ratioN_ / ratioM_);
        if (value.counts < range.low || value.counts > range.high)
            value.state = OverState;
    }
    if (!IsTemperatureSource() || temperatureView_ == TemperatureView::SetValue)
        return value;
    const double degrees = static_cast<double>(value.counts) / 10;
    if (temperatureView_ == TemperatureView::Ambient)
        value.counts = AmbientCounts;
    else if (range.function == ThermocoupleFunction)
        value = {range.unit, std::lround(degrees * range.slope), 3, Milli, value.state};
    else
        value = {range.unit, std::lround(1e4 * (1 + degrees * (range.slope + degrees * range.curve))), 2,
                 Unity, value.state};
    return value;
}

bool Instrument::IsTemperatureSource() const
{
    return (source_->function == ThermocoupleFunction || source_->function == ResistanceFunction) &&
           source_->range != 0;
}

const SourceRange *Instrument::Settable() const
{
    if (IsTemperatureSource() && temperatureView_ != TemperatureView::SetValue)
        return nullptr;
    if (source_->function == PulseFunction && pulseView_ != PulseView::Frequency)
        return &PulseSetting(pulseView_);
    return source_;
}

long &Instrument::Counts(const SourceRange &range)
{
    const int view = range.function == PulseFunction ? static_cast<int>(pulseView_) : 0;
    return setCounts_.try_emplace({range.function, range.range, view}, range.start).first->second;
}

void Instrument::SetMeasure(int function, int range)
{
    const MeasureRange *found = FindMeasureRange(function, range);
    Require(found, "no such measuring range");
    measure_ = found;
}

void Instrument::SetMeasureState(char state)
{
    measureState_ = state;
}

void Instrument::HoldStatus(std::optional<std::string> reply)
{
    heldStatuses_.clear();
    if (reply)
        heldStatuses_.push_back(*std::move(reply));
}

void Instrument::HoldStatuses(std::vector<std::string> replies)
{
    heldStatuses_.assign(std::move_iterator(replies.begin()), std::move_iterator(replies.end()));
}

void Instrument::SetSource(int function, int range)
{
    const SourceRange *found = FindSourceRange(function, range);
    Require(found, "no such source range");
    source_ = found;
    temperatureView_ = TemperatureView::SetValue;
    pulseView_ = PulseView::Frequency;
}

void Instrument::SetSourceCounts(long counts)
{
    const SourceRange *range = Settable();
    Require(range && counts >= range->low && counts <= range->high, "value beyond the source range");
    Counts(*range) = counts;
}

long Instrument::SourceCounts() const
{
    const SourceRange *shown = Settable();
    const SourceRange &range = shown ? *shown : *source_;
    const int view = range.function == PulseFunction ? static_cast<int>(pulseView_) : 0;
    const auto found = setCounts_.find({range.function, range.range, view});
    return found == setCounts_.end() ? range.start : found->second;
}

void Instrument::SetSourceMode(int mode)
{
    Require(mode >= 0 && mode <= HighestMode, "no such source mode");
    sourceMode_ = mode;
}

void Instrument::SetOptionFlags(std::string_view flags)
{
    Require(flags.size() == OptionCount && flags.find_first_not_of("01") == std::string_view::npos,
            "option flags are eight characters 0 or 1");
    optionFlags_ = flags;
}

const std::string &Instrument::Reading(int n) const
{
    return readings_.at(MemoryIndex(n));
}

void Instrument::SetRecord(int n, std::string text)
{
    records_.at(MemoryIndex(n)) = std::move(text);
}

const std::string &Instrument::Record(int n) const
{
    return records_.at(MemoryIndex(n));
}

} // namespace px40::sim
