#include "platform/timer.h"

namespace px40 {

Timer::Timer(int intervalMs, bool enabled, QObject *parent)
    : QObject(parent), interval_(intervalMs), enabled_(enabled)
{
    timer_.setTimerType(Qt::PreciseTimer);
    connect(&timer_, &QTimer::timeout, this, &Timer::tick);
    Apply();
}

void Timer::SetInterval(int ms)
{
    interval_ = ms;
    Apply();
}

void Timer::SetEnabled(bool enabled)
{
    enabled_ = enabled;
    Apply();
}

void Timer::Apply()
{
    if (enabled_ && interval_ > 0)
        timer_.start(interval_);
    else
        timer_.stop();
}

} // namespace px40
