// Any lines as commands to the simulated instrument. The first three bytes choose what it sources and
// measures when the commands begin.

#include "fuzz/check.h"
#include "simulator/instrument.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <tuple>

namespace {

using namespace px40::sim;

constexpr std::size_t StatusLength = 52;
constexpr std::size_t ShortStatusLength = 44;
constexpr std::size_t ReadingLength = 29;

/// All that commands can change.
auto StateOf(const Instrument &instrument)
{
    return std::tuple(instrument.MeasureOn(), instrument.MeasureFunction(), instrument.MeasureRangeCode(),
                      instrument.SourceOn(), instrument.SourceFunction(), instrument.SourceRangeCode(),
                      instrument.SourceCounts(), instrument.CurrentTemperatureView(),
                      instrument.CurrentPulseView(), instrument.SourceMode(), instrument.RatioN(),
                      instrument.RatioM(), instrument.SaveMode());
}

/// The first range of a function is 0; not every function has each of the others.
void Choose(Instrument &instrument, std::uint8_t source, std::uint8_t measure, std::uint8_t mode)
{
    const int sourceFunction = source % 9;
    const int sourceRange = source / 9 % 11;
    if (FindSourceRange(sourceFunction, sourceRange))
        instrument.SetSource(sourceFunction, sourceRange);
    const int measureFunction = measure % 8;
    const int measureRange = measure / 8 % 11;
    if (FindMeasureRange(measureFunction, measureRange))
        instrument.SetMeasure(measureFunction, measureRange);
    instrument.SetSourceMode(mode % 10);
    instrument.SetShortStatus(mode >= 128);
}

void CheckReply(std::string_view command, std::string_view reply, bool shortStatus)
{
    PX40_CHECK(!reply.empty());
    PX40_CHECK(std::all_of(reply.begin(), reply.end(), [](char c) { return c >= ' ' && c <= '~'; }));
    if (reply == "OK" || reply == "ERR")
        return;
    if (command == "OC") {
        PX40_CHECK(reply.size() == (shortStatus ? ShortStatusLength : StatusLength));
    } else if (command.starts_with("OM")) {
        PX40_CHECK(reply.size() == ReadingLength);
    } else {
        PX40_CHECK(command.starts_with("RS,"));
        PX40_CHECK(reply.back() == CheckCharacter(reply.substr(0, reply.size() - 1)));
    }
}

void CheckSourceValue(const Instrument &instrument)
{
    const bool pulseSetting =
        instrument.SourceFunction() == PulseFunction && instrument.CurrentPulseView() != PulseView::Frequency;
    const SourceRange *range =
        pulseSetting ? &PulseSetting(instrument.CurrentPulseView())
                     : FindSourceRange(instrument.SourceFunction(), instrument.SourceRangeCode());
    PX40_CHECK(range);
    PX40_CHECK(instrument.SourceCounts() >= range->low && instrument.SourceCounts() <= range->high);
}

void Obey(Instrument &instrument, std::string_view command, bool shortStatus)
{
    const auto before = StateOf(instrument);
    const std::string reply = instrument.Answer(command);
    CheckReply(command, reply, shortStatus);
    if (reply != "OK")
        PX40_CHECK(StateOf(instrument) == before);
    CheckSourceValue(instrument);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    constexpr std::size_t choices = 3;
    if (size < choices)
        return 0;
    Instrument instrument;
    Choose(instrument, data[0], data[1], data[2]);
    const bool shortStatus = data[2] >= 128;

    std::string_view lines(reinterpret_cast<const char *>(data) + choices, size - choices);
    while (!lines.empty()) {
        const std::size_t end = std::min(lines.find('\n'), lines.size());
        Obey(instrument, lines.substr(0, end), shortStatus);
        Obey(instrument, "OC", shortStatus);
        lines.remove_prefix(std::min(end + 1, lines.size()));
    }
    return 0;
}
