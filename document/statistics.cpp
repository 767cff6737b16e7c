#include "document/statistics.h"

#include <algorithm>
#include <array>
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
}

QString Statistics::AverageText() const
{
    if (validCount == 0)
        return {};
    const QString text = QString::number(sum / validCount, 'f', 4);
    return text == u"-0.0000" ? text.mid(1) : text;
}

} // namespace px40
