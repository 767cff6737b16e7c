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

} // namespace px40
