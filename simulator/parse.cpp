#include "simulator/parse.h"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace px40::sim {

std::optional<int> ParseDigits(std::string_view text)
{
    int number = 0;
    if (text.empty() || text.size() > 4 || text.front() < '0' || text.front() > '9')
        return std::nullopt;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size())
        return std::nullopt;
    return number;
}

std::optional<int> ParsePosition(std::string_view text)
{
    if (text.size() > 1 && text.front() == '0')
        return std::nullopt;
    return ParseDigits(text);
}

std::optional<bool> ParseSwitch(std::string_view text)
{
    if (text == "1")
        return true;
    if (text == "0")
        return false;
    return std::nullopt;
}

std::optional<long> ParseValue(std::string_view text, int decimals)
{
    while (!text.empty() && text.front() == ' ')
        text.remove_prefix(1);
    while (!text.empty() && text.back() == ' ')
        text.remove_suffix(1);
    double sign = 1;
    if (!text.empty() && (text.front() == '+' || text.front() == '-')) {
        sign = text.front() == '-' ? -1 : 1;
        text.remove_prefix(1);
    }
    const auto digits = std::count_if(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
    const auto points = std::count(text.begin(), text.end(), '.');
    if (digits == 0 || digits > 10 || points > 1 || digits + points != std::ssize(text))
        return std::nullopt;
    double number = 0;
    std::from_chars(text.data(), text.data() + text.size(), number, std::chars_format::fixed);
    return std::lround(sign * number * std::pow(10.0, decimals));
}

} // namespace px40::sim
