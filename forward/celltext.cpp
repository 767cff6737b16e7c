#include "forward/celltext.h"

#include <charconv>
#include <cmath>
#include <limits>

namespace px40 {

namespace {

constexpr int CellUnits = 32'767;
constexpr std::string_view Replacement = "\xEF\xBF\xBD";

bool IsDigit(char c)
{
    return c >= '0' && c <= '9';
}

bool IsHexDigit(char c)
{
    return IsDigit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

std::size_t CountDigits(std::string_view text, std::size_t from)
{
    std::size_t end = from;
    while (end < text.size() && IsDigit(text[end]))
        ++end;
    return end - from;
}

bool IsPlainDecimal(std::string_view text)
{
    std::size_t at = !text.empty() && (text[0] == '+' || text[0] == '-') ? 1 : 0;
    std::size_t digits = CountDigits(text, at);
    at += digits;
    if (at < text.size() && text[at] == '.') {
        const std::size_t decimals = CountDigits(text, at + 1);
        digits += decimals;
        at += 1 + decimals;
    }
    if (digits == 0)
        return false;
    if (at < text.size() && (text[at] == 'e' || text[at] == 'E')) {
        ++at;
        if (at < text.size() && (text[at] == '+' || text[at] == '-'))
            ++at;
        const std::size_t exponent = CountDigits(text, at);
        if (exponent == 0)
            return false;
        at += exponent;
    }
    return at == text.size();
}

bool AppendNumber(std::string_view text, std::string &out)
{
    if (!IsPlainDecimal(text))
        return false;
    if (text[0] == '+')
        text.remove_prefix(1);
    double value = 0;
    const std::from_chars_result read = std::from_chars(text.data(), text.data() + text.size(), value);
    if (read.ec != std::errc() || !std::isfinite(value))
        return false;
    char digits[32];
    const std::to_chars_result made = std::to_chars(digits, digits + sizeof digits, value);
    out.append(digits, made.ptr);
    return true;
}

/// Bytes of the character that begins there; 0 when there is none, or one that XML cannot hold.
std::size_t CharacterBytes(std::string_view text)
{
    const auto byte = [text](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned lead = byte(0);
    const std::size_t bytes = lead < 0x80   ? 1
                              : lead < 0xC2 ? 0
                              : lead < 0xE0 ? 2
                              : lead < 0xF0 ? 3
                              : lead < 0xF5 ? 4
                                            : 0;
    if (bytes < 2 || bytes > text.size())
        return bytes < 2 ? bytes : 0;
    for (std::size_t i = 1; i < bytes; ++i)
        if ((byte(i) & 0xC0) != 0x80)
            return 0;
    const unsigned second = byte(1);
    const bool overlong = (lead == 0xE0 && second < 0xA0) || (lead == 0xF0 && second < 0x90);
    const bool surrogate = lead == 0xED && second > 0x9F;
    const bool beyond = lead == 0xF4 && second > 0x8F;
    const bool noCharacter = lead == 0xEF && second == 0xBF && byte(2) > 0xBD;
    return overlong || surrogate || beyond || noCharacter ? 0 : bytes;
}

/// "_x0041_" in a text would be read as the character of that number.
bool LooksEscaped(std::string_view text)
{
    return text.size() >= 7 && text[1] == 'x' && IsHexDigit(text[2]) && IsHexDigit(text[3]) &&
           IsHexDigit(text[4]) && IsHexDigit(text[5]) && text[6] == '_';
}

bool IsPlain(char c)
{
    return c >= ' ' && c < 0x7F && c != '&' && c != '<' && c != '>' && c != '_' && c != '"';
}

/// A line break or a tab stays as it is; a carriage return would be read back as a line break.
void AppendControl(char c, bool inCell, std::string &out)
{
    constexpr std::string_view hex = "0123456789ABCDEF";
    if (!inCell)
        out += ' ';
    else if (c == '\n' || c == '\t')
        out += c;
    else
        out.append("_x00").append(1, hex[static_cast<unsigned>(c) >> 4]).append(1, hex[c & 15]).append("_");
}

void AppendSingle(std::string_view rest, bool inCell, std::string &out)
{
    const char c = rest[0];
    if (c == '&')
        out += "&amp;";
    else if (c == '<')
        out += "&lt;";
    else if (c == '>')
        out += "&gt;";
    else if (c == '"')
        out += inCell ? "\"" : "&quot;";
    else if (c == '_' && inCell && LooksEscaped(rest))
        out += "_x005F_";
    else if (c < ' ')
        AppendControl(c, inCell, out);
    else
        out += c;
}

void AppendText(std::string_view text, bool inCell, int room, std::string &out)
{
    while (!text.empty() && room > 0) {
        std::size_t plain = 0;
        while (plain < text.size() && plain < static_cast<std::size_t>(room) && IsPlain(text[plain]))
            ++plain;
        out.append(text.data(), plain);
        text.remove_prefix(plain);
        room -= static_cast<int>(plain);
        if (text.empty() || room == 0)
            return;
        const std::size_t bytes = CharacterBytes(text);
        const int units = bytes == 4 ? 2 : 1;
        if (units > room)
            return;
        if (bytes == 1)
            AppendSingle(text, inCell, out);
        else
            out.append(bytes == 0 ? Replacement : text.substr(0, bytes));
        text.remove_prefix(bytes == 0 ? 1 : bytes);
        room -= units;
    }
}

} // namespace

CellKind AppendCellValue(CellFormat format, std::string_view text, std::string &out)
{
    if (text.empty())
        return CellKind::Empty;
    if (format == CellFormat::General && AppendNumber(text, out))
        return CellKind::Number;
    AppendText(text, true, CellUnits, out);
    return CellKind::Text;
}

std::string XmlText(std::string_view text)
{
    std::string out;
    AppendText(text, false, std::numeric_limits<int>::max(), out);
    return out;
}

} // namespace px40
