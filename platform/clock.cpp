#include "platform/clock.h"

#include <QDateTime>

#ifdef Q_OS_WIN
#include <windows.h>
#else
#include <ctime>
#endif

namespace px40 {

qint64 SystemClock::UtcMs() const
{
    return QDateTime::currentMSecsSinceEpoch();
}

qint64 SystemClock::MonotonicMs() const
{
#ifdef Q_OS_WIN
    return static_cast<qint64>(GetTickCount64());
#else
#ifdef CLOCK_BOOTTIME
    constexpr clockid_t CountsSleep = CLOCK_BOOTTIME;
#else
    constexpr clockid_t CountsSleep = CLOCK_MONOTONIC; // counts sleep on systems without CLOCK_BOOTTIME
#endif
    timespec now{};
    clock_gettime(CountsSleep, &now);
    return static_cast<qint64>(now.tv_sec) * 1000 + now.tv_nsec / 1'000'000;
#endif
}

QString TimeOfDay(qint64 utcSecond)
{
    return QDateTime::fromSecsSinceEpoch(utcSecond).toString(QStringLiteral("HH:mm:ss"));
}

} // namespace px40
