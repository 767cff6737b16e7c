#pragma once

#include <optional>
#include <string_view>

namespace px40::sim {

/// One to four digits and nothing else.
std::optional<int> ParseDigits(std::string_view text);

/// As ParseDigits, but refuses leading zeros: a position in a list or in the memory.
std::optional<int> ParsePosition(std::string_view text);

/// "1" or "0".
std::optional<bool> ParseSwitch(std::string_view text);

/// "12.345", " 012.34", "+5" or "-0.5" in counts of that many decimals, rounded; empty for anything else.
std::optional<long> ParseValue(std::string_view text, int decimals);

} // namespace px40::sim
