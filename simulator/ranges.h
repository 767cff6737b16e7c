#pragma once

#include <string_view>

namespace px40::sim {

/// One measuring range and the live signal that stands at its terminals.
struct MeasureRange
{
    int function;          // 0 to 7
    int range;             // 0-based within the function
    std::string_view unit; // three-character code
    int decimals;
    std::string_view exponent;
    long centre; // counts that the live value moves around
    long swing;  // counts by which it rises and falls
};

/// One source range. Limits are in counts, both inclusive.
struct SourceRange
{
    int function; // 0 to 8
    int range;    ///< 0-based, the position in the function's list
    std::string_view unit;
    int decimals;
    std::string_view exponent;
    long low;
    long high;
    long start;       // the value after switching on
    double slope = 0; // thermocouples: microvolts per degree; resistance: 1/degree
    double curve = 0; // resistance: 1/degree squared
};

/// Function codes that the commands treat on their own.
inline constexpr int ThermocoupleFunction = 3;
inline constexpr int ResistanceFunction = 4;
inline constexpr int PulseFunction = 5;

/// Sub modes of a temperature source: what the source value expresses.
enum class TemperatureView { SetValue = 0, Signal = 1, Ambient = 2 };

/// Sub modes of the pulse source: which of its three settings is shown and stepped.
enum class PulseView { Frequency = 0, Amplitude = 1, Count = 2 };

/// Null when there is no such range.
const MeasureRange *FindMeasureRange(int function, int range);
const SourceRange *FindSourceRange(int function, int range);

/// The amplitude or count of the pulse source; the same whatever its frequency range is.
const SourceRange &PulseSetting(PulseView view);

} // namespace px40::sim
