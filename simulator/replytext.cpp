#include "simulator/replytext.h"

#include <cstdlib>

namespace px40::sim {

namespace {

constexpr std::size_t NumberWidth = 6;

std::string Number(long counts, int decimals, Padding padding)
{
    std::string digits = std::to_string(std::labs(counts));
    if (digits.size() < 5)
        digits.insert(0, 5 - digits.size(), '0');
    if (decimals > 0)
        digits.insert(digits.size() - static_cast<std::size_t>(decimals), 1, '.');
    if (digits.size() < NumberWidth)
        digits.insert(0, NumberWidth - digits.size(), padding == Padding::Zeros ? '0' : ' ');
    if (padding == Padding::Blanks) {
        // The digit before the point stays, so that a small value reads 0.12 and not .12.
        for (std::size_t i = 0; i + 1 < digits.size() && digits[i + 1] != '.'; ++i) {
            if (digits[i] != '0' && digits[i] != ' ')
                break;
            digits[i] = ' ';
        }
    }
    return digits;
}

} // namespace

std::string ValueField(const Value &value, Padding padding)
{
    std::string field(value.unit);
    field += value.state;
    field += value.counts < 0 ? '-' : ' ';
    if (value.state == NormalState)
        field += Number(value.counts, value.decimals, padding);
    else if (value.state == OverState)
        field += Number(MaxCounts, value.decimals, Padding::Blanks);
    else
        field += "------";
    field += value.exponent;
    return field;
}

std::string MeasureReply(const Value &measured, const Value &source, Padding padding)
{
    return ValueField(measured, padding) + ' ' + ValueField(source);
}

char CheckCharacter(std::string_view record)
{
    unsigned sum = 0;
    for (const char c : record)
        sum += static_cast<unsigned char>(c);
    return "0123456789ABCDEF"[sum & 0xFU];
}

std::string WithCheck(std::string_view record)
{
    std::string checked(record);
    checked += CheckCharacter(record);
    return checked;
}

} // namespace px40::sim
