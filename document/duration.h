#pragma once

#include <QString>

#include <array>
#include <cstddef>
#include <optional>

namespace px40 {

/// A span of time as the user entered it: four texts, usually of two digits ("00", "05").
struct Duration
{
    QString Day;
    QString Hour;
    QString Min;
    QString Sec;

    bool operator==(const Duration &) const = default;
};

/// The four texts in the order in which they are entered and checked, and the highest number of each.
constexpr std::array<QString Duration::*, 4> DurationParts = {&Duration::Day, &Duration::Hour, &Duration::Min,
                                                              &Duration::Sec};
constexpr std::array<int, 4> DurationLimits = {99, 23, 59, 59};

/// How the panels and the worksheet show it: "00d +00h +00m +05s".
inline QString DurationText(const Duration &duration)
{
    return duration.Day + QStringLiteral("d +") + duration.Hour + QStringLiteral("h +") + duration.Min +
           QStringLiteral("m +") + duration.Sec + QStringLiteral("s");
}

/// In seconds. A text that is not a whole number counts as 0.
inline qint32 DurationSeconds(const Duration &duration)
{
    return duration.Day.toInt() * 86400 + duration.Hour.toInt() * 3600 + duration.Min.toInt() * 60 +
           duration.Sec.toInt();
}

/// From "1d2h3m4s", of which parts may be left out, or from seconds alone; nothing if it is neither, or no
/// time, or longer than the four texts can hold.
std::optional<Duration> ParseDuration(const QString &text);

struct DurationFault
{
    std::size_t part = 0; ///< the first faulty text, 0-based as in DurationParts
    bool isZero = false;  ///< each text passes, but they are all 0; `part` is the seconds then
};

/// Valid are whole numbers from 0 to the limits that are not all 0: their texts are written again with two
/// digits at least, and there is no fault.
std::optional<DurationFault> ValidateDuration(Duration *duration);

} // namespace px40
