#pragma once

#include <string>
#include <string_view>

namespace px40::sim {

/// State letters of a value field.
inline constexpr char NormalState = 'N';
inline constexpr char OverState = 'O';
inline constexpr char ErrorState = 'E';
inline constexpr char BurnOutState = 'B';

/// Exponent codes of a value field, three characters each.
inline constexpr std::string_view Milli = "E-3";
inline constexpr std::string_view Unity = "E+0";
inline constexpr std::string_view Kilo = "E+3";

inline constexpr long MaxCounts = 99999;

/// One value as the instrument displays it: five digits with a decimal point among them.
struct Value
{
    std::string_view unit; // three-character code, e.g. "VDC", "O  ", "T  ", "F  "
    long counts = 0;       // the digits without their point, -99999 to 99999
    int decimals = 0;      // digits after the point, 0 to 4; 0 shows no point
    std::string_view exponent = Unity;
    char state = NormalState;
};

/// How the places before the first significant digit are filled.
enum class Padding { Zeros, Blanks };

/// The 14-character field: unit code, state, sign (a blank or "-"), six-character number, exponent. Only a
/// normal value shows digits; any other state fills the number with nines (over), or dashes.
std::string ValueField(const Value &value, Padding padding = Padding::Zeros);

/// The 29-character measured-value reply: measured field, a blank, source field.
std::string MeasureReply(const Value &measured, const Value &source, Padding padding = Padding::Zeros);

/// The check character of a record: the low four bits of the sum of its bytes, "0" to "9" or "A" to "F".
char CheckCharacter(std::string_view record);

/// The record, followed by its check character.
std::string WithCheck(std::string_view record);

} // namespace px40::sim
