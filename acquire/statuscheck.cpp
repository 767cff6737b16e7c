#include "acquire/statuscheck.h"

#include "link/comm.h"
#include "link/linkuse.h"
#include "platform/timer.h"
#include "resources/strings.h"

#include <QStringList>

#include <utility>

namespace px40 {

namespace {

QString NoAnswerMessage()
{
    const QStringList lines = {Text(Str::NoAnswer), Text(Str::NoAnswerPlug), Text(Str::NoAnswerPower),
                               Text(Str::NoAnswerPort), Text(Str::NoAnswerMode)};
    return lines.join(QStringLiteral("\r\n"));
}

} // namespace

StatusCheck::StatusCheck(const InstrumentLink &link, Timer &checkTimer, Tell tell)
    : link_(link), checkTimer_(&checkTimer), tell_(std::move(tell))
{
}

QCoro::Task<bool> StatusCheck::CheckStatus()
{
    if (LinkInUse(link_.state))
        co_return true;
    link_.state.StatusPolled = true;
    if (link_.state.LinkActivity == ActivityRealtime) {
        link_.instrument.ShowAgain();
        co_return true;
    }
    if (link_.state.RealtimeRun)
        co_return true; // the run asks by itself within this second
    const Result<QString> reply = co_await FetchStatus();
    if (reply)
        link_.instrument.Take(*reply);
    co_return reply || reply.error().code == FailureCode::Cancelled;
}

/// Ends as cancelled when it gives way to a command of the user.
QCoro::Task<Result<QString>> StatusCheck::FetchStatus()
{
    const int connection = link_.comm.Connection();
    const LinkUse use(link_.gate, ActivityStatusCheck);
    const auto commands = AskCondition();
    Result<QString> reply;
    for (const LinkCommand &command : commands) {
        reply = co_await link_.comm.SendCommand(command);
        if (!reply)
            break;
        if (link_.gate.TakeYield())
            co_return Fail({}, FailureCode::Cancelled);
    }
    if (!reply) {
        // If another port was chosen meanwhile, or while the box is open, this failure no longer matters.
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
    return link_.comm.Connection() != connection && !link_.comm.IsLost();
}

} // namespace px40
