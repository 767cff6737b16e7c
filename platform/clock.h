#pragma once

#include <QString>
#include <QtGlobal>

namespace px40 {

/// The time of day, and a time that only runs forward. Handed in, so that a test can be a day long.
class Clock
{
  public:
    virtual ~Clock() = default;

    /// Milliseconds since the beginning of 1970, UTC, as the computer's clock has it: it may be set.
    virtual qint64 UtcMs() const = 0;

    /// Milliseconds since some moment of the past; never set, and counted in the computer's sleep as well.
    virtual qint64 MonotonicMs() const = 0;
};

/// The computer's own.
class SystemClock : public Clock
{
  public:
    qint64 UtcMs() const override;
    qint64 MonotonicMs() const override;
};

/// The local time of day of a second since the beginning of 1970, UTC: "hh:mm:ss", 24 hours.
QString TimeOfDay(qint64 utcSecond);

} // namespace px40
