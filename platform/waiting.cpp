#include "platform/waiting.h"

#include <QThreadPool>
#include <QTimer>

#include <utility>

namespace px40 {

QCoro::Task<void> NextEventLoopTurn()
{
    const OneShot<bool> turn;
    const auto complete = [turn] { turn.Complete(true); };
    QMetaObject::invokeMethod(QCoreApplication::instance(), complete, Qt::QueuedConnection);
    co_await turn;
}

QCoro::Task<void> Delay(int ms)
{
    const OneShot<bool> over;
    QTimer::singleShot(ms, QCoreApplication::instance(), [over] { over.Complete(true); });
    co_await over;
}

OneShot<bool> RunInThread(std::function<void()> work)
{
    OneShot<bool> ended;
    QThreadPool::globalInstance()->start([work = std::move(work), ended] {
        bool good = true;
        try {
            work();
        } catch (...) {
            good = false; // the waiter needs to know no more than that
        }
        const auto complete = [ended, good] { ended.Complete(good); };
        QMetaObject::invokeMethod(QCoreApplication::instance(), complete, Qt::QueuedConnection);
    });
    return ended;
}

} // namespace px40
