#include "platform/jobs.h"

#include <QCoreApplication>
#include <QLoggingCategory>

#include <exception>

namespace px40 {

namespace {
Q_LOGGING_CATEGORY(lcPlatform, "px40.platform")
}

void Jobs::Launch(QCoro::Task<void> task, const char *name)
{
    Run(std::move(task), name);
}

QCoro::Task<void> Jobs::Run(QCoro::Task<void> task, const char *name)
{
    ++running_;
    try {
        co_await task;
    } catch (const std::exception &error) {
        qCCritical(lcPlatform, "%s failed: %s", name, error.what());
    }
    --running_;
    TellIfNone();
}

void Jobs::WhenNone(std::function<void()> then)
{
    whenNone_ = std::move(then);
    TellIfNone();
}

void Jobs::TellIfNone()
{
    if (running_ != 0 || !whenNone_)
        return;
    const auto tell = [then = std::exchange(whenNone_, nullptr)] { then(); };
    QMetaObject::invokeMethod(QCoreApplication::instance(), tell, Qt::QueuedConnection);
}

} // namespace px40
