#pragma once

#include "acquire/status.h"
#include "platform/result.h"
#include "platform/tell.h"

#include <QCoro/QCoroTask>
#include <QString>

namespace px40 {

class Timer;

/// How often the status check runs.
constexpr int StatusCheckIntervalMs = 1000;

/// Asks the instrument for its state, once a second.
///
/// What is handed in must outlive the checks.
class StatusCheck
{
  public:
    /// `tell` shows a text in a box and is done when the user has closed it. The link stays held meanwhile.
    StatusCheck(const InstrumentLink &link, Timer &checkTimer, Tell tell);

    /// One cycle. Skipped while the link is busy; during real-time receive nothing is sent and the stored
    /// status is shown. False when the instrument does not answer or is in the wrong communication mode: the
    /// user has then been told, and the check timer is off.
    QCoro::Task<bool> CheckStatus();

  private:
    QCoro::Task<Result<QString>> FetchStatus();
    bool IsReplaced(int connection) const;

    InstrumentLink link_;
    Timer *checkTimer_;
    Tell tell_;
};

} // namespace px40
