#include "document/statistics.h"

#include "document/numbers.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>

namespace px40 {

bool IsValidReading(std::string_view data)
{
    constexpr std::array<std::string_view, 6> NoValue = {"ERROR", "+OL", "-OL", "-----", " -bo-", ""};
    return std::find(NoValue.begin(), NoValue.end(), data) == NoValue.end();
}

namespace {

/// Reads a plain number, much faster than `SingleNumber`; nothing for any other text.
std::optional<float> PlainNumber(QLatin1String text)
{
    if (text.size() > 1 && text.front() == u'+' && text[1] != u'-')
        text = text.mid(1);
    double value = 0;
    const auto [end, problem] = std::from_chars(text.begin(), text.end(), value);
    const auto single = static_cast<float>(value);
    const bool fits = std::fabs(value) <= std::numeric_limits<float>::max() && (value == 0 || single != 0);
    if (problem != std::errc() || end != text.end() || !fits)
        return std::nullopt;
    return single;
}

} // namespace

Reading ReadingOf(std::string_view data)
{
    if (!IsValidReading(data))
        return {};
    const QLatin1String text(data.data(), static_cast<qsizetype>(data.size()));
    std::optional<float> value = PlainNumber(text);
    if (!value)
        value = SingleNumber(QString(text));
    return {value, !value};
}

void Statistics::Add(float value, qint32 row)
{
    if (maxRow == 0 || value > maxValue) {
        maxValue = value;
        maxRow = row;
    }
    if (minRow == 0 || value < minValue) {
        minValue = value;
        minRow = row;
    }
    sum += static_cast<double>(value);
    ++validCount;
    // Welford's method: for readings close together the usual sums of squares would lose all their digits.
    const double difference = static_cast<double>(value) - mean;
    mean += difference / validCount;
    squares += difference * (static_cast<double>(value) - mean);
}

std::optional<double> Statistics::Deviation() const
{
    if (validCount < 2)
        return std::nullopt;
    return std::sqrt(squares / (validCount - 1));
}

QString Statistics::AverageText() const
{
    if (validCount == 0)
        return {};
    const QString text = QString::number(sum / validCount, 'f', 4);
    return text == u"-0.0000" ? text.mid(1) : text;
}

} // namespace px40
