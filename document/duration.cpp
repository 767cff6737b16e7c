#include "document/duration.h"

#include "document/numbers.h"

#include <QRegularExpression>

#include <algorithm>

namespace px40 {

std::optional<Duration> ParseDuration(const QString &text)
{
    static const QRegularExpression form(
        QStringLiteral("^(?:(\\d{1,8})d)?(?:(\\d{1,8})h)?(?:(\\d{1,8})m)?(?:(\\d{1,8})s)?$|^(\\d{1,8})$"));
    const QRegularExpressionMatch parts = form.match(text);
    constexpr qint64 Minute = 60;
    constexpr qint64 Hour = 60 * Minute;
    constexpr qint64 Day = 24 * Hour;
    const auto part = [&parts](int index) { return parts.captured(index).toLongLong(); };
    const qint64 seconds = part(1) * Day + part(2) * Hour + part(3) * Minute + part(4) + part(5);
    Duration duration = {QString::number(seconds / Day), QString::number(seconds % Day / Hour),
                         QString::number(seconds % Hour / Minute), QString::number(seconds % Minute)};
    if (!parts.hasMatch() || ValidateDuration(&duration))
        return std::nullopt;
    return duration;
}

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
