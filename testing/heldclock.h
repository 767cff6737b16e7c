#pragma once

#include "platform/clock.h"

namespace px40 {

/// Stands still until it is moved.
class HeldClock : public Clock
{
  public:
    qint64 UtcMs() const override { return utcMs; }
    qint64 MonotonicMs() const override { return monotonicMs; }

    void Advance(qint64 ms)
    {
        utcMs += ms;
        monotonicMs += ms;
    }

    qint64 utcMs = 1'900'000'000'300;
    qint64 monotonicMs = 5'000;
};

} // namespace px40
