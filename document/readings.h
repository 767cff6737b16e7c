#pragma once

#include "document/graphseries.h"
#include "document/statistics.h"

namespace px40 {

/// What is worked out from the samples of a data set as they come in: statistics and the points of the graph.
struct Readings
{
    Statistics statistics;
    GraphSeries series;
    int unreadable = 0; ///< readings that are neither a number nor one of the texts for no value: noise

    /// Counts the sample of that 1-based number, which must be the next one. `value`: its valid reading.
    void Count(std::optional<float> value, qint32 sample)
    {
        GraphPoint point; // with the extremes as they were before this sample
        if (statistics.maxRow > 0)
            point.maximum = statistics.maxValue;
        if (statistics.minRow > 0)
            point.minimum = statistics.minValue;
        if (value) {
            point.reading = *value;
            statistics.Add(*value, sample);
        }
        series.Append(point);
    }
};

} // namespace px40
