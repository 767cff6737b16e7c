#include "testing/wait.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QEventLoop>
#include <QTimer>

#include <cstdio>

namespace px40 {

#ifdef Q_OS_WIN
namespace {
[[maybe_unused]] const bool WithoutJit = qputenv("QT_ENABLE_REGEXP_JIT", "0"); // see main.cpp of the program
} // namespace
#endif

RigError::RigError(const QString &sentence) : std::runtime_error(sentence.toStdString())
{
#ifdef Q_OS_WIN
    std::fprintf(stderr, "%s\n", what()); // nobody else does
#endif
}

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
