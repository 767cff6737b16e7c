#include "acquire/statuscheck.h"

#include "acquire/measuredisplay.h"
#include "acquire/status.h"
#include "link/comm.h"
#include "link/linkstate.h"
#include "link/linkuse.h"
#include "link/reply.h"
#include "platform/prompts.h"
#include "platform/timer.h"

#include <QLoggingCategory>

#include <array>

namespace px40 {

namespace {

Q_LOGGING_CATEGORY(lcAcquire, "px40.acquire")

constexpr int Attempts = 3;
constexpr std::array<const char *, 3> Commands = {"AN1", "H1", "OC"};

} // namespace

StatusCheck::StatusCheck(LinkState &state, LinkGate &gate, Comm &comm, Prompts &prompts,
                         InstrumentState &instrument, const RangeLists &ranges, Timer &checkTimer,
                         StatusViews &views)
    : state_(&state), gate_(&gate), comm_(&comm), prompts_(&prompts), instrument_(&instrument),
      ranges_(&ranges), checkTimer_(&checkTimer), views_(&views)
{
}

QCoro::Task<bool> StatusCheck::CheckStatus()
{
    if (LinkInUse(*state_))
        co_return true;
    state_->StatusPolled = true;
    if (state_->LinkActivity != ActivityRealtime) {
        if (state_->RealtimeRun)
            co_return true; // the run asks by itself within this second
        const Outcome outcome = co_await FetchStatus();
        if (outcome != Outcome::Fetched)
            co_return outcome == Outcome::Yielded;
    }
    ShowStatus();
    co_return true;
}

QCoro::Task<StatusCheck::Outcome> StatusCheck::FetchStatus()
{
    const int opening = comm_->Opening();
    const LinkUse use(*gate_, ActivityStatusCheck);
    for (const char *const command : Commands) {
        const bool answered = co_await comm_->SendCommand(QString::fromLatin1(command), Attempts);
        if (!answered) {
            // Another port chosen meanwhile, or behind the box, is no failure: what follows is the new
            // port's.
            if (!IsReplaced(opening))
                co_await prompts_->Warn(NoAnswerMessage());
            const bool failed = !IsReplaced(opening);
            if (failed) {
                checkTimer_->SetInterval(0);
                checkTimer_->SetEnabled(false);
            }
            co_return failed ? Outcome::Failed : Outcome::Yielded;
        }
        if (gate_->TakeYield())
            co_return Outcome::Yielded;
    }
    const qint16 commMode = CheckCommMode(state_->RecvBuffer, state_->ReplyLength);
    if (commMode == CommModeUsable) {
        instrument_->StatusReply = state_->RecvBuffer;
        ++instrument_->Accepted;
    } else {
        co_await prompts_->Warn(CommModeMessage(commMode));
        checkTimer_->SetEnabled(false);
    }
    co_return commMode == CommModeUsable ? Outcome::Fetched : Outcome::Failed;
}

bool StatusCheck::IsReplaced(int opening) const
{
    return comm_->Opening() != opening && !comm_->IsLost();
}

void StatusCheck::ShowStatus()
{
    const QString reply = instrument_->StatusReply;
    if (reply.isEmpty() || reply == NoReplyText())
        return;
    if (!DecodeStatus(reply, &instrument_->Status)) {
        qCWarning(lcAcquire) << "no status:" << reply;
        return;
    }
    if (state_->MonitorOpen)
        views_->ShowMeasure(ShowMeasure(instrument_->Status, *ranges_));
    if (state_->SourceOpen)
        views_->ShowSourceStatus(instrument_->Status);
    if (state_->LinkActivity == ActivityIdle)
        views_->EnableMainCommands(!HidesMeasurement(instrument_->Status.SourceMode));
    instrument_->PreviousStatus = instrument_->Status;
}

} // namespace px40
