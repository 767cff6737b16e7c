#pragma once

#include <QString>

namespace px40 {

/// What the link is being used for.
enum LinkActivityCode : int {
    ActivityForwarding = 0,
    ActivityDownload = 1,
    ActivityRealtime = 3,
    ActivityRealtimeTransition = 4, ///< real-time starting or finishing
    ActivityRealtimeStopping = 6,
    ActivityIdle = 7,
    ActivityStatusCheck = 8,
    ActivityMonitorCommand = 9,
    ActivitySourceCommand = 10,
};

/// The shared vocabulary of the link: one instance, owned by the application, handed down by reference.
/// Plain values without behaviour.
struct LinkState
{
    QString ErrorMessage; ///< why the last procedure failed; shown once by the operation that started it
    int LinkActivity = ActivityIdle; ///< this and the next two are changed by `LinkUse` alone

    bool LinkBusy = false;       ///< somebody has the link alone; see `LinkInUse`
    bool StatusYield = false;    ///< a command waits for the link, so the status check is to let go of it
    bool StatusPolled = false;   ///< a status cycle has begun since start-up
    bool DownloadCancel = false; ///< Cancel was pressed during a download
    bool CancelRequest = false;  ///< Cancel was pressed during forwarding
    bool RealtimeStop = false;   ///< real-time receive is to stop
    bool RealtimeRun = false;    ///< a real-time run is under way, whatever the link is used for right now
    bool ForwardRun = false;     ///< a data set is being forwarded, whatever the link is used for right now
};

/// Somebody has the link, so that nothing else may be sent. A SAVE-mode download has it without `LinkBusy`.
inline bool LinkInUse(const LinkState &state)
{
    return state.LinkBusy || state.LinkActivity == ActivityDownload;
}

/// Windows may close only while the link is idle or a timer uses it briefly. A real-time run keeps them open
/// between its requests too, when the link looks idle; so does forwarding.
inline bool MayClose(const LinkState &state)
{
    return state.LinkActivity >= ActivityIdle && state.LinkActivity <= ActivitySourceCommand &&
           !state.RealtimeRun && !state.ForwardRun;
}

} // namespace px40
