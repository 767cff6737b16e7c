#include "simulator/ranges.h"

#include "simulator/replytext.h"

#include <algorithm>
#include <array>
#include <iterator>

namespace px40::sim {

namespace {

// clang-format off
constexpr MeasureRange MeasureRanges[] = {
    {0, 0, "VAC", 1, Unity,  1002,   8},  // mains through a divider
    {1, 0, "VDC", 4, Unity, 31416, 900},
    {1, 1, "VAC", 4, Unity, 12000,  60},
    {2, 0, "VDC", 3, Unity, 12480, 350},
    {2, 1, "VAC", 3, Unity,  9050,  45},
    {3, 0, "VDC", 2, Unity,  2395,  30},
    {3, 1, "VAC", 2, Unity, 10020,  50},
    {4, 0, "VDC", 2, Milli,  2514,  75},
    {4, 1, "T  ", 1, Unity,  4213, 120},  // K
    {4, 2, "T  ", 1, Unity,  2508,  80},  // E
    {4, 3, "T  ", 1, Unity,  3127,  90},  // J
    {4, 4, "T  ", 1, Unity,  -386,  60},  // T
    {4, 5, "T  ", 1, Unity, 10540, 140},  // R
    {4, 6, "T  ", 1, Unity, 12960, 150},  // B
    {4, 7, "T  ", 1, Unity, 11020, 130},  // S
    {4, 8, "T  ", 1, Unity,  6075, 110},  // N
    {4, 9, "T  ", 1, Unity,  1984,  70},  // L
    {4, 10, "T  ", 1, Unity, 1521,  60},  // U
    {5, 0, "T  ", 1, Unity,   236,  15},  // PT100
    {5, 1, "T  ", 1, Unity,  1004,  25},  // JPT100
    {6, 0, "F  ", 2, Unity,  5001,   4},
    {6, 1, "F  ", 1, Unity,  4402,  12},
    {6, 2, "F  ", 3, Kilo,   3275,  20},
    {6, 3, "CPM", 0, Unity,  1482,  12},
    {6, 4, "CPH", 0, Unity,   905,  10},
    {7, 0, "ADC", 3, Milli, 12000, 800},
};

constexpr SourceRange SourceRanges[] = {
    {0, 0, "VDC", 4, Unity, -12000, 12000, 10000},
    {1, 0, "VDC", 3, Unity, -12000, 12000,  5000},
    {2, 0, "VDC", 2, Unity,      0,  3000,  2400},
    {3, 0, "VDC", 2, Milli, -11000, 11000,  5000},
    {3, 1, "T  ", 1, Unity,  -2000, 13720,  1000, 40.0},  // K
    {3, 2, "T  ", 1, Unity,  -2000, 10000,  1000, 68.0},  // E
    {3, 3, "T  ", 1, Unity,  -2000, 12000,  1000, 55.0},  // J
    {3, 4, "T  ", 1, Unity,  -2000,  4000,  1000, 47.0},  // T
    {3, 5, "T  ", 1, Unity,      0, 17680,  1000, 10.5},  // R
    {3, 6, "T  ", 1, Unity,   4000, 18200,  6000,  5.6},  // B
    {3, 7, "T  ", 1, Unity,      0, 17680,  1000,  9.5},  // S
    {3, 8, "T  ", 1, Unity,  -2000, 13000,  1000, 34.0},  // N
    {3, 9, "T  ", 1, Unity,  -2000,  9000,  1000, 56.0},  // L
    {3, 10, "T  ", 1, Unity, -2000,  6000,  1000, 50.0},  // U
    {4, 0, "O  ", 2, Unity,      0, 40000, 10000},
    {4, 1, "T  ", 1, Unity,  -2000,  8500,  1000, 3.9083e-3, -5.775e-7},
    {4, 2, "T  ", 1, Unity,  -2000,  5000,  1000, 3.9739e-3, -5.870e-7},
    {5, 0, "F  ", 1, Unity,     10,  5000,   500},
    {5, 1, "F  ", 0, Unity,      1,  1000,   100},
    {5, 2, "F  ", 2, Kilo,       1,  1000,   100},
    {6, 0, "ADC", 3, Milli,      0, 24000,  4000},
    {7, 0, "ADC", 3, Milli,      0, 20000, 12000},
    {8, 0, "ADC", 2, Milli,  -2400,  2400,  2000},
};

constexpr SourceRange Amplitude = {5, 0, "F  ", 2, Unity, 0, 2000, 500};
constexpr SourceRange Count     = {5, 0, "F  ", 0, Unity, 1, MaxCounts, 1000};
// clang-format on

template <typename Table>
auto FindIn(const Table &table, int function, int range)
{
    const auto found = std::find_if(std::begin(table), std::end(table), [=](const auto &entry) {
        return entry.function == function && entry.range == range;
    });
    return found == std::end(table) ? nullptr : &*found;
}

} // namespace

const MeasureRange *FindMeasureRange(int function, int range)
{
    return FindIn(MeasureRanges, function, range);
}

const SourceRange *FindSourceRange(int function, int range)
{
    return FindIn(SourceRanges, function, range);
}

const SourceRange &PulseSetting(PulseView view)
{
    return view == PulseView::Amplitude ? Amplitude : Count;
}

} // namespace px40::sim
