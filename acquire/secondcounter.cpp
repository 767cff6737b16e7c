#include "acquire/secondcounter.h"

#include "platform/clock.h"

#include <algorithm>

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
    second_ = SecondOf(clock.UtcMs());
    monotonicMs_ = clock.MonotonicMs();
}

qint32 SecondCounter::Count()
{
    const qint64 second = SecondOf(clock_->UtcMs());
    const qint64 monotonicMs = clock_->MonotonicMs();
    const qint64 passedMs = monotonicMs - monotonicMs_;
    // Wherever the boundaries lie, at most one more second has begun than whole ones have passed.
    const qint64 atMost = (passedMs + DriftMs) / 1000 + 1;
    const qint64 begun = std::clamp<qint64>(second - second_, 0, atMost);
    second_ = second;
    monotonicMs_ = monotonicMs;
    return static_cast<qint32>(begun);
}

} // namespace px40
