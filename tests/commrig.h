#pragma once

#include "testing/linkrig.h"

#include <QTest>

namespace px40 {

/// A reply time-out that never comes: only something else can end the exchange.
inline constexpr int Never = 3600 * 1000;

inline bool Succeeds(const Running<bool> &task)
{
    return task.Finish() && task.Value();
}

inline bool Fails(const Running<bool> &task)
{
    return task.Finish() && !task.Value();
}

/// An open port at whose other end the instrument has a fault; a download is under way.
struct CommRig : LinkRig
{
    explicit CommRig(const char *fault = "none", int replyTimeoutMs = ReplyTimeoutMs)
        : LinkRig(Unpaced(), replyTimeoutMs)
    {
        Fault(fault);
        Open();
        state.LinkActivity = ActivityDownload;
    }

    Running<bool> Send(const QString &command, int attempts = 3)
    {
        return Running<bool>(comm.SendCommand(command, attempts));
    }

    /// Sends a command that the instrument has read on return.
    Running<bool> SendOut(const QString &command, int attempts = 3)
    {
        const auto before = server.CommandCount();
        const Running<bool> exchange = Send(command, attempts);
        if (!QTest::qWaitFor([&] { return server.CommandCount() == before + 1; }))
            qWarning("the instrument got no command");
        return exchange;
    }

    /// Whether a command gets its own reply.
    bool Answers(const QString &command)
    {
        return Succeeds(Send(command)) && state.RecvBuffer == Expected(command);
    }
};

} // namespace px40
