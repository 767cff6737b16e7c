#include "acquire/secondcounter.h"

#include "platform/clock.h"

#include <algorithm>
#include <cstdlib>

namespace px40 {

namespace {

/// How far the two clocks may drift apart between two calls without one having been set.
constexpr qint64 DriftMs = 50;

} // namespace

qint64 SecondOf(qint64 utcMs)
{
    return utcMs >= 0 ? utcMs / 1000 : -((-utcMs + 999) / 1000);
}

void SecondCounter::Begin(const Clock &clock)
{
    clock_ = &clock;
    utcMs_ = clock.UtcMs();
    monotonicMs_ = clock.MonotonicMs();
}

qint32 SecondCounter::Count()
{
    const qint64 utcMs = clock_->UtcMs();
    const qint64 monotonicMs = clock_->MonotonicMs();
    const qint64 unsetMs = utcMs_ + (monotonicMs - monotonicMs_);
    const bool set = std::abs(utcMs - unsetMs) > DriftMs;
    const qint64 begun = SecondOf(set ? unsetMs : utcMs) - SecondOf(utcMs_);
    utcMs_ = utcMs;
    monotonicMs_ = monotonicMs;
    return static_cast<qint32>(std::max<qint64>(begun, 0));
}

} // namespace px40
