#pragma once

#include "acquire/status.h"
#include "link/comm.h"
#include "link/linkstate.h"
#include "link/linkuse.h"
#include "platform/jobs.h"
#include "platform/portmap.h"
#include "platform/tell.h"
#include "platform/userstore.h"
#include "testing/prompts.h"
#include "testing/wait.h"

#include <QStringList>
#include <QTemporaryDir>

#ifdef Q_OS_UNIX
#include "simulator/ptyserver.h"
#else
#include "app/demoinstrument.h"
#endif

namespace px40 {

/// Where there are pseudo-terminals the instrument stands behind one, and the serial class is the real one.
#ifdef Q_OS_UNIX
using Server = sim::PtyServer;
#else
using Server = DemoInstrument;
#endif

/// The program's link to a device; what is kept for the user lies in that file.
struct PortRig
{
    PortRig(const QString &device, const QString &userFile, int replyTimeoutMs = Comm::DefaultReplyTimeoutMs);
    PortRig(const PortRig &) = delete;
    PortRig &operator=(const PortRig &) = delete;

    /// Throws RigError when the port does not open.
    void Open();

    ScriptedPrompts prompts;
    UserStore store;
    PortMap ports;
    LinkState state;
    LinkGate gate{state};
    Jobs jobs;
    Comm comm;
    InstrumentState instrument;
    InstrumentLink link{state, gate, comm, jobs, instrument};
    /// Boxes, for a procedure that knows no `Prompts`.
    Tell tell = [this](const QString &text) { return prompts.Warn(text); };
};

/// The simulated instrument at the other end of the line, with a folder of its own.
struct InstrumentRig
{
    explicit InstrumentRig(sim::ServerOptions options);

    /// A line on which nothing takes its time.
    static sim::ServerOptions Unpaced();
    /// A name that stays when the instrument is unplugged and plugged in again.
    QString Device() const { return folder.filePath(QStringLiteral("px40")); }
    /// Puts it on the first port.
    void FixOn(PortMap &ports);
    /// Sets one fault of the instrument by its name; it counts the commands from now on.
    void Fault(const char *text);
    /// All commands that have come.
    QStringList Commands() const;
    /// What the instrument answers to a command that changes nothing.
    QString Expected(const QString &command);

    QTemporaryDir folder;
    Server server;
};

/// The link at whose other end stands the simulated instrument.
struct LinkRig : InstrumentRig, PortRig
{
    /// Short enough for a test of silent attempts, long enough for a loaded machine to answer in.
    static constexpr int ReplyTimeoutMs = 150;

    explicit LinkRig(sim::ServerOptions options = Unpaced(), int replyTimeoutMs = ReplyTimeoutMs);
};

} // namespace px40
