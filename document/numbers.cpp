#include "document/numbers.h"

#include <cmath>
#include <limits>

namespace px40 {

std::optional<int> WholeNumber(QStringView text)
{
    bool ok = false;
    const double value = text.toDouble(&ok);
    if (!ok || value != std::trunc(value) || value < std::numeric_limits<qint16>::min() ||
        value > std::numeric_limits<qint16>::max())
        return std::nullopt;
    return static_cast<int>(value);
}

std::optional<float> SingleNumber(QStringView text)
{
    bool ok = false;
    const float value = text.toFloat(&ok);
    if (!ok || !std::isfinite(value))
        return std::nullopt;
    return value;
}

std::optional<bool> BooleanValue(QStringView text)
{
    const QStringView word = text.trimmed();
    if (word.compare(u"True", Qt::CaseInsensitive) == 0)
        return true;
    if (word.compare(u"False", Qt::CaseInsensitive) == 0)
        return false;
    const std::optional<float> number = SingleNumber(word);
    if (!number)
        return std::nullopt;
    return *number != 0;
}

QString BooleanText(bool value)
{
    return value ? QStringLiteral("True") : QStringLiteral("False");
}

std::optional<QString> AxisLimitOf(QStringView text)
{
    constexpr float Furthest = 60000;
    constexpr int SinglePrecisionDigits = 7;
    const std::optional<float> value = SingleNumber(text);
    if (!value || std::abs(*value) > Furthest)
        return std::nullopt;
    return QString::number(static_cast<double>(*value) + 0.0, 'g', SinglePrecisionDigits); // + 0.0: no "-0"
}

} // namespace px40
