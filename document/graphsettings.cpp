#include "document/graphsettings.h"

#include "document/numbers.h"

#include <cmath>

namespace px40 {

namespace {

constexpr float FurthestLimit = 60000;

std::optional<int> AtLeast(int least, QStringView text)
{
    const std::optional<int> number = WholeNumber(text);
    return number && *number >= least ? number : std::nullopt;
}

} // namespace

std::optional<int> GraphCountOf(QStringView text)
{
    return AtLeast(2, text); // fewer samples make no line
}

std::optional<int> DivisionsOf(QStringView text)
{
    return AtLeast(1, text);
}

std::optional<QString> AxisLimitOf(QStringView text)
{
    const std::optional<float> value = SingleNumber(text);
    if (!value || std::abs(*value) > FurthestLimit)
        return std::nullopt;
    return PlainNumber(*value);
}

} // namespace px40
