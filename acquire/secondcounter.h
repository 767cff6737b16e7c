#pragma once

#include <QtGlobal>

namespace px40 {

class Clock;

/// The second in which that moment lies, both counted from the beginning of 1970, UTC.
qint64 SecondOf(qint64 utcMs);

/// Counts the seconds of the day that have begun since the last call.
///
/// A second begins where the computer's clock says so, in UTC, so that midnight and summer time make no
/// difference. A clock that is set back counts nothing, and one that is set forward counts no second that did
/// not pass.
class SecondCounter
{
  public:
    /// Seconds are counted from now on. `clock` must outlive the counter.
    void Begin(const Clock &clock);

    /// Seconds that have begun since the last call.
    qint32 Count();

    /// The second in which the last call was made, counted from the beginning of 1970, UTC.
    qint64 Second() const { return second_; }

  private:
    const Clock *clock_ = nullptr;
    qint64 second_ = 0;
    qint64 monotonicMs_ = 0;
};

} // namespace px40
