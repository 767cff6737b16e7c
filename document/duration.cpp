#include "document/duration.h"

#include "document/numbers.h"

#include <algorithm>

namespace px40 {

std::optional<DurationFault> ValidateDuration(Duration *duration)
{
    std::array<int, DurationParts.size()> numbers{};
    for (std::size_t part = 0; part < numbers.size(); ++part) {
        const std::optional<int> number = WholeNumber(duration->*DurationParts[part]);
        if (!number || *number < 0 || *number > DurationLimits[part])
            return DurationFault{part};
        numbers[part] = *number;
    }
    if (std::ranges::all_of(numbers, [](int number) { return number == 0; }))
        return DurationFault{numbers.size() - 1, true};
    for (std::size_t part = 0; part < numbers.size(); ++part)
        duration->*DurationParts[part] = QStringLiteral("%1").arg(numbers[part], 2, 10, QLatin1Char('0'));
    return std::nullopt;
}

} // namespace px40
