#include "document/statistics.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>

namespace px40 {

bool IsValidReading(const QString &data)
{
    static constexpr std::array<QStringView, 6> NoValue = {u"ERROR", u"+OL", u"-OL", u"-----", u" -bo-", u""};
    return std::find(NoValue.begin(), NoValue.end(), data) == NoValue.end();
}

std::optional<float> ReadingNumber(const QString &data)
{
    if (!IsValidReading(data))
        return std::nullopt;
    bool ok = false;
    const float value = data.toFloat(&ok);
    if (!ok || !std::isfinite(value))
        return std::nullopt;
    return value;
}

namespace {

/// Plain numbers of a usual size, in a fraction of the time; for all others it gives nothing.
std::optional<float> UsualNumber(std::string_view text)
{
    constexpr double Smallest = 1e-30;
    constexpr double Largest = 1e30;
    if (text.size() > 1 && text[0] == '+' && text[1] != '-')
        text.remove_prefix(1);
    double value = 0;
    const char *const end = text.data() + text.size();
    const auto [stopped, problem] = std::from_chars(text.data(), end, value);
    if (problem != std::errc() || stopped != end)
        return std::nullopt;
    const double size = std::fabs(value);
    const bool usual = value == 0 || (size > Smallest && size < Largest);
    return usual ? std::optional<float>(static_cast<float>(value)) : std::nullopt;
}

} // namespace

ReadingBytes ReadingOf(std::string_view data)
{
    ReadingBytes reading;
    reading.value = UsualNumber(data);
    if (!reading.value) {
        const QString text = QString::fromLatin1(data.data(), static_cast<qsizetype>(data.size()));
        reading.value = ReadingNumber(text);
        reading.unreadable = !reading.value && IsValidReading(text);
    }
    return reading;
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
    // Differences stay small where sums of squares would lose all their digits.
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
