#pragma once

#include <QtGlobal>

namespace px40 {

class Clock;

/// The second in which that moment lies, both counted from the beginning of 1970, UTC.
qint64 SecondOf(qint64 utcMs);

/// Counts the seconds of the day that have begun since the last call.
///
/// A second begins where the computer's clock says so, in UTC, so that midnight and summer time make no
/// difference. When the clock is set, as many are counted as without that.
class SecondCounter
{
  public:
    /// Seconds are counted from now on. `clock` must outlive the counter.
    void Begin(const Clock &clock);

    /// Seconds that have begun since the last call.
    qint32 Count();

    /// The second in which the last call was made, counted from the beginning of 1970, UTC.
    qint64 Second() const { return SecondOf(utcMs_); }

  private:
    const Clock *clock_ = nullptr;
    qint64 utcMs_ = 0;
    qint64 monotonicMs_ = 0;
};

} // namespace px40
