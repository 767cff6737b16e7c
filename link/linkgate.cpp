#include "link/linkgate.h"

#include "link/linkstate.h"

#include <utility>

namespace px40 {

QCoro::Task<bool> LinkGate::WaitUntilFree()
{
    while (LinkInUse(*state_) && !shut_) {
        state_->StatusYield = true;
        OneShot<bool> changed;
        waiters_.push_back(changed);
        co_await changed;
    }
    state_->StatusYield = false;
    co_return !shut_;
}

void LinkGate::Take()
{
    state_->LinkBusy = true;
    state_->StatusYield = false;
}

void LinkGate::Release()
{
    state_->LinkBusy = false;
    WakeAll();
}

void LinkGate::Shut()
{
    shut_ = true;
    WakeAll();
}

void LinkGate::WakeAll()
{
    for (const OneShot<bool> &waiter : std::exchange(waiters_, {}))
        waiter.Complete(true);
}

} // namespace px40
