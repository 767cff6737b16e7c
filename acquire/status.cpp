#include "acquire/status.h"

#include <QLoggingCategory>

namespace px40 {

namespace {
Q_LOGGING_CATEGORY(lcAcquire, "px40.acquire")
}

void InstrumentState::Take(const QString &reply)
{
    ++Accepted;
    const DecodedCondition decoded = DecodeCondition(reply, Status);
    Sample = decoded.sample;
    Known = decoded.status.has_value();
    if (Known)
        PreviousStatus = *decoded.status;
    else
        qCWarning(lcAcquire) << "no status:" << reply;
    ShowAgain();
}

void InstrumentState::Miss()
{
    Sample = {NoReplyText(), {}, {}, {}};
    Known = false;
}

void InstrumentState::ShowAgain()
{
    if (!Known)
        return;
    Status = PreviousStatus;
    Q_EMIT statusReceived();
}

} // namespace px40
