#pragma once

#include <QString>

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

/// True for whole numbers of 0 to 99 days, 0 to 23 hours, 0 to 59 minutes and 0 to 59 seconds that are not
/// all 0. With `normalise` the texts of a valid duration are written again with two digits at least.
bool ValidateDuration(Duration *duration, bool normalise);

} // namespace px40
