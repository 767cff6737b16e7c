#pragma once

#include "acquire/status.h"
#include "source/sourcecommands.h"
#include "testing/linkrig.h"

namespace px40 {

/// The commands of the source on the simulated instrument. The port is open, and a status has come, with the
/// value " 05.000".
struct SourceRig : LinkRig
{
    explicit SourceRig(int mode = 0, int replyTimeoutMs = 5000) : LinkRig(Unpaced(), replyTimeoutMs)
    {
        SetMode(mode);
        instrument.Status.SourceValue = u" 05.000"_qs;
        Open();
        state.StatusPolled = true;
        QObject::connect(&source, &SourceCommands::failed, [this](const QString &why) { told << why; });
        QObject::connect(&source, &SourceCommands::recovered,
                         [this](const QString &why) { told << u'-' + why; });
    }

    void SetMode(int mode) { instrument.Status.SourceMode = static_cast<qint16>(mode); }

    /// All commands since the start, when nothing is under way or waits any more.
    QString Sent() const
    {
        const bool settled = WaitUntil([&] { return jobs.Running() == 0 && !source.IsWaiting(); });
        const bool idle = !state.LinkBusy && state.LinkActivity == ActivityIdle;
        return settled && idle ? Commands().join(u' ') : u"not settled"_qs;
    }

    QStringList told; ///< what has failed; with a "-" what is over
    SourceCommands source{link};
};

} // namespace px40
