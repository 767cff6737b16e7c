#include "link/linkuse.h"

#include <algorithm>
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

bool LinkGate::TakeYield()
{
    return std::exchange(state_->StatusYield, false);
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

void LinkGate::Begin(LinkUse *use)
{
    uses_.push_back(use);
    state_->StatusYield = false;
    Apply();
}

void LinkGate::End(const LinkUse *use)
{
    uses_.erase(std::find(uses_.begin(), uses_.end(), use));
    // A real-time run takes the link again on its next tick. Until then it shows as idle, so that the run
    // does not count the second in which somebody else had the link.
    if (!uses_.empty() && uses_.back()->activity_ == ActivityRealtime && use->activity_ != ActivityRealtime)
        uses_.back()->activity_ = ActivityIdle;
    Apply();
    WakeAll();
}

void LinkGate::Apply()
{
    state_->LinkActivity = uses_.empty() ? ActivityIdle : uses_.back()->activity_;
    state_->LinkBusy = std::any_of(uses_.begin(), uses_.end(), [](const LinkUse *use) {
        return use->sharing_ == LinkUse::Sharing::Alone;
    });
}

LinkUse::LinkUse(LinkGate &gate, LinkActivityCode activity, Sharing sharing)
    : gate_(&gate), activity_(activity), sharing_(sharing)
{
    gate_->Begin(this);
}

LinkUse::~LinkUse()
{
    gate_->End(this);
}

void LinkUse::Become(LinkActivityCode activity)
{
    activity_ = activity;
    gate_->Apply();
}

} // namespace px40
