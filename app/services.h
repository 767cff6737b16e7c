#pragma once

#include "acquire/status.h"
#include "app/settings.h"
#include "app/statusline.h"
#include "document/dataset.h"
#include "link/comm.h"
#include "link/linkstate.h"
#include "link/linkuse.h"
#include "link/rangelists.h"
#include "platform/clock.h"
#include "platform/jobs.h"
#include "platform/portmap.h"
#include "platform/userstore.h"

#include <memory>

namespace px40 {

class Awake;
class Prompts;

/// Everything of which the program has exactly one, in the order of construction. It is handed down to
/// windows and procedures; there are no other globals.
struct Services
{
    /// `otherClock`: one in place of the computer's own; must outlive this.
    Services(UserStore userStore, const Paths &paths, Prompts &userPrompts,
             int replyTimeoutMs = Comm::DefaultReplyTimeoutMs, const Clock *otherClock = nullptr)
        : store(std::move(userStore)), settings(paths), prompts(userPrompts),
          clock(otherClock ? *otherClock : systemClock), ports(store), gate(state),
          comm(state, ports, replyTimeoutMs), journals(paths.UnsavedPath, [this] { return Origin(); })
    {
        shared.WorkPath = paths.WorkPath;
        if (!paths.UnsavedPath.isEmpty())
            shared.journals = &journals;
    }

    JournalOrigin Origin() const
    {
        return {ports.Device(comm.PortNumber()), QDateTime::fromMSecsSinceEpoch(clock.UtcMs()), simulated};
    }

    std::shared_ptr<void> demo; ///< the simulated instrument, if the link leads to it; goes after that
    UserStore store;
    Settings settings;
    Prompts &prompts;
    SystemClock systemClock;
    const Clock &clock;
    Jobs jobs;
    PortMap ports;
    LinkState state;
    LinkGate gate;
    Comm comm;
    Journals journals;
    DocumentShared shared;
    const RangeLists ranges = BuildRangeLists();
    InstrumentState instrument;
    InstrumentLink link{state, gate, comm, jobs, instrument};
    StatusLine statusLine;
    bool simulated = false; ///< the instrument is a simulation inside the program
    bool leaving = false;   ///< the program is about to end: start nothing new
    Awake *awake = nullptr; ///< keeps the computer awake during a run; null: nothing does
};

} // namespace px40
