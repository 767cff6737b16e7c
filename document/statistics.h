#pragma once

#include "graph/graphseries.h"

#include <QString>
#include <QtGlobal>

#include <optional>
#include <string_view>

namespace px40 {

/// A reading counts unless it is one of the texts that stand for no value: "ERROR", "+OL", "-OL", "-----",
/// " -bo-" (with its leading blank) or empty. Case matters. Texts are Latin-1, as the
/// instrument sends them and files hold them.
bool IsValidReading(std::string_view data);
inline bool IsValidReading(const QString &data)
{
    return IsValidReading(data.toLatin1().toStdString());
}

struct Reading
{
    std::optional<float> value; ///< finite; "." is the decimal point whatever the user's language
    bool unreadable = false;    ///< valid, but no number in single precision: noise
};
Reading ReadingOf(std::string_view data);

/// Running maximum, minimum and average of a data set. Values are single precision, the sum is double.
struct Statistics
{
    qint32 maxRow = 0; ///< 1-based sample number of the maximum; 0 before the first reading
    qint32 minRow = 0;
    float maxValue = 0;
    float minValue = 0;
    double sum = 0;
    double mean = 0;    ///< of the readings so far, as the deviation needs it
    double squares = 0; ///< sum of the squared differences from the mean
    qint32 validCount = 0;

    /// Counts the reading of sample `row`. On a tie the earlier sample keeps its place.
    void Add(float value, qint32 row);

    /// The average with four decimals; empty before the first reading.
    QString AverageText() const;

    /// Standard deviation of a sample (n - 1); nothing for fewer than two readings.
    std::optional<double> Deviation() const;
};

/// What is worked out from the samples of a data set as they come in: statistics and the points of the graph.
struct Readings
{
    Statistics statistics;
    GraphSeries series;
    int unreadable = 0; ///< readings that are neither a number nor one of the texts for no value: noise

    /// Counts the reading of the next sample.
    void Count(const Reading &reading)
    {
        GraphPoint point; // with the extremes as they were before this sample
        if (statistics.maxRow > 0)
            point.maximum = statistics.maxValue;
        if (statistics.minRow > 0)
            point.minimum = statistics.minValue;
        point.reading = reading.value.value_or(GraphPoint::Nothing);
        if (reading.value)
            statistics.Add(*reading.value, series.Count() + 1);
        unreadable += reading.unreadable ? 1 : 0;
        series.Append(point);
    }
};

} // namespace px40
