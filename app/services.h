#pragma once

#include "app/settings.h"
#include "document/dataset.h"
#include "link/comm.h"
#include "link/linkgate.h"
#include "link/linkstate.h"
#include "link/rangelists.h"
#include "platform/jobs.h"
#include "platform/portmap.h"
#include "platform/userstore.h"

namespace px40 {

class Prompts;

/// Everything that the program has one of, in the order in which it is made. Windows and procedures get it
/// handed down; there are no globals beside it.
struct Services
{
    Services(UserStore userStore, const Paths &paths, Prompts &userPrompts,
             int replyTimeoutMs = Comm::DefaultReplyTimeoutMs)
        : store(std::move(userStore)), settings(paths), prompts(userPrompts), ports(store), gate(state),
          comm(state, ports, prompts, replyTimeoutMs)
    {
        shared.WorkPath = paths.WorkPath;
    }

    UserStore store;
    Settings settings;
    Prompts &prompts;
    Jobs jobs;
    PortMap ports;
    LinkState state;
    LinkGate gate;
    Comm comm;
    DocumentShared shared;
    RangeLists ranges;
    bool simulated = false; ///< the instrument is a simulation inside the program
    bool leaving = false;   ///< the program is about to end: start nothing new
};

} // namespace px40
