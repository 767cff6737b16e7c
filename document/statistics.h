#pragma once

#include <QString>
#include <QtGlobal>

#include <optional>
#include <string_view>

namespace px40 {

/// A reading counts unless it is one of the texts that stand for no value: "ERROR", "+OL", "-OL", "-----",
/// " -bo-" (with its leading blank) or empty. Case matters.
bool IsValidReading(const QString &data);

/// The number of a valid reading, with "." as decimal point whatever the user's language. Nothing when the
/// text is no valid reading or no finite single-precision number (noise on the line).
std::optional<float> ReadingNumber(const QString &data);

/// A reading as it stands in a file, in Latin-1.
struct ReadingBytes
{
    std::optional<float> value; ///< as `ReadingNumber` gives it
    bool unreadable = false;    ///< neither a number nor one of the texts for no value: noise
};
ReadingBytes ReadingOf(std::string_view data);

/// Running maximum, minimum and average of a data set. Values are single precision, the sum is double.
struct Statistics
{
    qint32 maxRow = 0; ///< 1-based sample number of the maximum; 0 before the first reading
    qint32 minRow = 0;
    float maxValue = 0;
    float minValue = 0;
    double sum = 0;
    double mean = 0;    ///< of the readings so far, as the deviation takes it
    double squares = 0; ///< sum of the squared differences from the mean
    qint32 validCount = 0;

    /// Counts the reading of sample `row`. On a tie the earlier sample keeps its place.
    void Add(float value, qint32 row);

    /// The average with four decimals; empty before the first reading.
    QString AverageText() const;

    /// Standard deviation of a sample (n - 1); nothing for fewer than two readings.
    std::optional<double> Deviation() const;
};

} // namespace px40
