#include "testing/wait.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QEventLoop>
#include <QTimer>

namespace px40 {

bool WaitUntil(const std::function<bool()> &done, int timeoutMs)
{
    const QDeadlineTimer deadline(timeoutMs);
    QEventLoop loop;
    QTimer alarm;
    alarm.start(timeoutMs);
    while (!done() && !deadline.hasExpired()) {
        loop.processEvents(QEventLoop::WaitForMoreEvents);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
    return done();
}

} // namespace px40
