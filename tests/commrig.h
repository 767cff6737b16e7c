#pragma once

#include "testing/linkrig.h"

#include <QTest>

namespace px40 {

/// A reply time-out that never comes: only something else can end the exchange.
inline constexpr int Never = 3600 * 1000;

template <typename T>
bool Succeeds(const Running<T> &task)
{
    return task.Finish() && task.Value();
}

template <typename T>
bool Fails(const Running<T> &task)
{
    return task.Finish() && !task.Value();
}

/// An exchange under way.
using Exchange = Running<Result<QString>>;

/// The reply to an exchange; what no reply is when there is none.
inline QString ReplyOf(const Exchange &exchange)
{
    return Succeeds(exchange) ? *exchange.Value() : u"no reply"_qs;
}

inline FailureCode CodeOf(const Exchange &exchange)
{
    return Fails(exchange) ? exchange.Value().error().code : FailureCode::Other;
}

/// A command that changes the instrument.
inline LinkCommand Step(int attempts = 3)
{
    LinkCommand step = SetSource(SourceSetting::StepUp, u"1"_qs);
    step.attempts = attempts;
    return step;
}

/// The question for a stored reading, with that many attempts.
inline LinkCommand Reading(int n, int attempts = 3)
{
    LinkCommand reading = AskReading(n);
    reading.attempts = attempts;
    return reading;
}

/// An open port at whose other end the instrument has a fault; a download is under way.
struct CommRig : LinkRig
{
    explicit CommRig(const char *fault = "none", int replyTimeoutMs = ReplyTimeoutMs)
        : LinkRig(Unpaced(), replyTimeoutMs)
    {
        Fault(fault);
        Open();
    }

    Exchange Send(const LinkCommand &command) { return Exchange(comm.SendCommand(command)); }

    /// Sends a command that the instrument has read on return.
    Exchange SendOut(const LinkCommand &command)
    {
        const auto before = server.CommandCount();
        const Exchange exchange = Send(command);
        if (!QTest::qWaitFor([&] { return server.CommandCount() == before + 1; }))
            qWarning("the instrument got no command");
        return exchange;
    }

    /// Sends a command that nobody answers in time, and gives up.
    void SendInVain(const LinkCommand &command)
    {
        const Exchange exchange = SendOut(command);
        for (int attempt = 1; attempt <= command.attempts; ++attempt) {
            const auto sent = server.CommandCount();
            Q_EMIT comm.tmTimeout().tick();
            if (attempt < command.attempts && !QTest::qWaitFor([&] { return server.CommandCount() > sent; }))
                qWarning("the instrument got no second command");
        }
        if (!exchange.Finish() || exchange.Value())
            qFatal("An answer from a silent instrument.");
    }

    void Reply(const QString &text) { server.Inject(text.toStdString() + "\r\n"); }

    /// Whether a command gets its own reply.
    bool Answers(const LinkCommand &command) { return ReplyOf(Send(command)) == Expected(command.text); }

    LinkUse download{gate, ActivityDownload};
};

} // namespace px40
