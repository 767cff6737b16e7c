#include "simulator/storedreadings.h"

#include "simulator/random.h"
#include "simulator/replytext.h"

#include <algorithm>

namespace px40::sim {

namespace {

// A series of readings of one kind: each measured value is `step` counts above the one before, give or
// take the noise, while the source side was stepped by `sourceStep`.
struct Series
{
    int length;
    Padding padding;
    Value measured;
    long step;
    long noise;
    Value source;
    long sourceStep;
};

// clang-format off
constexpr Series AllSeries[] = {
    // a transmitter's output in V and mA while its thermocouple input was simulated
    {8, Padding::Zeros, {"VDC", 10021, 4}, 4980, 6, {"T  ",      0, 1}, 1000},
    {7, Padding::Zeros, {"ADC",  4003, 3, Milli}, 2667, 4, {"T  ", 0, 1}, 1500},
    // an amplifier around zero, then a divider fed from the mains
    {5, Padding::Blanks, {"VDC", -2002, 2, Milli}, 1001, 3, {"VDC", -2000, 2, Milli}, 1000},
    {4, Padding::Blanks, {"VAC",  1002, 1}, 3, 5, {"VDC", 10000, 3}, 0},
    // resistors; the larger ones in kilo-ohms
    {4, Padding::Zeros, {"O  ", 10003, 2}, 4998, 4, {"ADC", 1000, 3, Milli}, 0},
    {4, Padding::Zeros, {"O  ",  1201, 3, Kilo}, 870, 3, {"ADC", 1000, 3, Milli}, 0},
    // a furnace and a cold store
    {6, Padding::Blanks, {"T  ",   204, 1}, 815, 9, {"VDC", 5000, 2, Milli}, 0},
    {4, Padding::Zeros, {"T  ",  -402, 1}, 156, 4, {"O  ", 8470, 2}, 610},
    // a flow meter
    {4, Padding::Blanks, {"F  ",  4998, 2}, 5, 4, {"F  ", 500, 1}, 0},
    {4, Padding::Zeros, {"F  ",  1002, 3, Kilo}, 1001, 3, {"F  ", 100, 2, Kilo}, 100},
};

struct Exception
{
    int number;    // 1-based
    char measured; // the state, or blank to leave the side as it is
    char source;
};

constexpr Exception Exceptions[] = {
    {8, OverState, ' '},      {15, OverState, ' '}, {20, ErrorState, ' '}, {24, ' ', ErrorState},
    {32, OverState, ' '},     {35, BurnOutState, ' '}, {38, BurnOutState, ErrorState},
    {42, ' ', OverState},     {46, ErrorState, OverState},
};
// clang-format on

} // namespace

Memory StoredReadings(std::uint64_t seed)
{
    Random random(seed);
    Memory memory;
    int number = 1;
    for (const Series &series : AllSeries) {
        Value measured = series.measured;
        Value source = series.source;
        for (int i = 0; i < series.length; ++i, ++number) {
            Value reading = measured;
            Value output = source;
            reading.counts = std::clamp(reading.counts + random.Around(series.noise), -MaxCounts, MaxCounts);
            for (const Exception &exception : Exceptions) {
                if (exception.number != number)
                    continue;
                if (exception.measured != ' ')
                    reading.state = exception.measured;
                if (exception.source != ' ')
                    output.state = exception.source;
            }
            memory.at(static_cast<std::size_t>(number) - 1) = MeasureReply(reading, output, series.padding);
            measured.counts += series.step;
            source.counts += series.sourceStep;
        }
    }
    return memory;
}

Memory SavedRecords(const Memory &readings)
{
    Memory records = readings;
    // Some were cleared one by one, and nothing was saved after the fortieth.
    for (const std::size_t cleared : {6U, 12U, 18U})
        records.at(cleared) = "RS";
    std::fill(records.begin() + 40, records.end(), "RS");
    return records;
}

} // namespace px40::sim
