#include "simulator/keyorders.h"

#include "simulator/parse.h"

#include <algorithm>
#include <iterator>
#include <optional>
#include <stdexcept>
#include <vector>

namespace px40::sim {

namespace {

using Words = std::vector<std::string_view>;

/// False when an argument is not of the kind that the order takes.
using Press = bool (*)(const Words &arguments, Instrument &instrument);

struct KeyOrder
{
    std::string_view name;
    std::string_view form;
    std::string_view example;
    std::size_t arguments;
    Press press;
};

template <void (Instrument::*select)(int function, int range)>
bool Select(const Words &arguments, Instrument &instrument)
{
    const std::optional<int> function = ParseDigits(arguments[0]);
    const std::optional<int> range = ParseDigits(arguments[1]);
    if (!function || !range)
        return false;
    (instrument.*select)(*function, *range);
    return true;
}

bool SelectMode(const Words &arguments, Instrument &instrument)
{
    const std::optional<int> mode = ParseDigits(arguments[0]);
    if (mode)
        instrument.SetSourceMode(*mode);
    return mode.has_value();
}

bool SetOptions(const Words &arguments, Instrument &instrument)
{
    instrument.SetOptionFlags(arguments[0]);
    return true;
}

constexpr KeyOrder KeyOrders[] = {
    {"source", "source FUNCTION RANGE", "source 6 0", 2, Select<&Instrument::SetSource>},
    {"measure", "measure FUNCTION RANGE", "measure 4 1", 2, Select<&Instrument::SetMeasure>},
    {"mode", "mode N", "mode 4", 1, SelectMode},
    {"options", "options FLAGS", "options 00000000", 1, SetOptions},
};

Words SplitWords(std::string_view text)
{
    constexpr std::string_view blanks = " \t";
    Words words;
    for (;;) {
        text.remove_prefix(std::min(text.find_first_not_of(blanks), text.size()));
        if (text.empty())
            return words;
        words.push_back(text.substr(0, text.find_first_of(blanks)));
        text.remove_prefix(words.back().size());
    }
}

const KeyOrder *Find(const Words &words)
{
    const auto found = std::find_if(std::begin(KeyOrders), std::end(KeyOrders), [&](const KeyOrder &known) {
        return !words.empty() && known.name == words.front();
    });
    return found == std::end(KeyOrders) ? nullptr : found;
}

} // namespace

bool IsKeyOrder(std::string_view order)
{
    return Find(SplitWords(order)) != nullptr;
}

bool ObeyKeys(std::string_view order, Instrument &instrument, std::string *error)
{
    Words words = SplitWords(order);
    const KeyOrder *const known = Find(words);
    const std::string quoted = '"' + std::string(order) + '"';
    if (!known) {
        *error = quoted + " is not an order for the instrument's keys: source, measure, mode or options.";
        return false;
    }
    words.erase(words.begin());
    try {
        if (words.size() == known->arguments && known->press(words, instrument))
            return true;
        *error = quoted + " is not understood: the order is " + std::string(known->form) +
                 ", for instance \"" + std::string(known->example) + "\".";
    } catch (const std::invalid_argument &reason) {
        *error = quoted + " cannot be obeyed: " + reason.what() + ".";
    }
    return false;
}

std::string_view KeyOrderHelp()
{
    return R"(Orders for the instrument's keys, there or with --set, which a reply of --status hides. All numbers begin
at 0:
  source F RANGE     Sources the function F. 0 to 2: volts. 3: range 0 millivolts, 1 to 10 the thermocouples
                     K E J T R B S N L U. 4: range 0 Ohm, 1 PT100, 2 JPT100. 5: pulses, range 0 up to
                     500 Hz, 1 up to 1000 Hz, 2 up to 10 kHz. 6 to 8: milliamperes.
  measure F RANGE    Measures the function F. 0: volts AC. 1 to 3: range 0 volts DC, 1 volts AC. 4: as the
                     source's 3. 5: range 0 PT100, 1 JPT100. 6: range 0 and 1 Hz, 2 kHz, 3 CPM, 4 CPH.
                     7: milliamperes.
  mode N             Source mode. 0 plain, 1 to 3 and 9 measuring side held, 4 and 5 sweep, 6 and 7
                     automatic step, 8 n/m ratio.
  options FLAGS      The eight option flags, e.g. 00000000, bit 7 first.
)";
}

} // namespace px40::sim
