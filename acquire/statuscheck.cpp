#include "acquire/statuscheck.h"

#include "acquire/status.h"
#include "link/comm.h"
#include "link/linkuse.h"
#include "platform/timer.h"

#include <utility>

namespace px40 {

StatusCheck::StatusCheck(LinkState &state, LinkGate &gate, Comm &comm, InstrumentState &instrument,
                         Timer &checkTimer, Tell tell)
    : state_(&state), gate_(&gate), comm_(&comm), instrument_(&instrument), checkTimer_(&checkTimer),
      tell_(std::move(tell))
{
}

QCoro::Task<bool> StatusCheck::CheckStatus()
{
    if (LinkInUse(*state_))
        co_return true;
    state_->StatusPolled = true;
    if (state_->LinkActivity == ActivityRealtime) {
        instrument_->ShowAgain();
        co_return true;
    }
    if (state_->RealtimeRun)
        co_return true; // the run asks by itself within this second
    const Result<QString> reply = co_await FetchStatus();
    if (reply)
        instrument_->Take(*reply);
    co_return reply || reply.error().code == FailureCode::Cancelled;
}

/// Cancelled when it has given way.
QCoro::Task<Result<QString>> StatusCheck::FetchStatus()
{
    const int connection = comm_->Connection();
    const LinkUse use(*gate_, ActivityStatusCheck);
    const auto commands = AskCondition();
    Result<QString> reply;
    for (const LinkCommand &command : commands) {
        reply = co_await comm_->SendCommand(command);
        if (!reply)
            break;
        if (gate_->TakeYield())
            co_return Fail({}, FailureCode::Cancelled);
    }
    if (!reply) {
        // Another port chosen meanwhile, or behind the box, is no failure: what follows is the new port's.
        if (!IsReplaced(connection))
            co_await tell_(NoAnswerMessage());
        if (IsReplaced(connection))
            co_return Fail({}, FailureCode::Cancelled);
        checkTimer_->SetInterval(0);
        checkTimer_->SetEnabled(false);
        co_return Fail(NoAnswerMessage());
    }
    const Result<> usable = CheckCommMode(*reply);
    if (!usable) {
        co_await tell_(usable.error().text);
        checkTimer_->SetEnabled(false);
        co_return Fail(usable.error());
    }
    co_return reply;
}

bool StatusCheck::IsReplaced(int connection) const
{
    return comm_->Connection() != connection && !comm_->IsLost();
}

} // namespace px40
