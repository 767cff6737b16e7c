#pragma once

#include "platform/oneshot.h"

#include <QCoro/QCoroTask>

#include <vector>

namespace px40 {

struct LinkState;

/// Who may use the link next. The only place that changes `LinkBusy`, so that whoever waits for it is
/// woken instead of asking again and again.
class LinkGate
{
  public:
    /// `state` must outlive the gate.
    explicit LinkGate(LinkState &state) : state_(&state) {}

    /// For a command of the user: asks a running status check to give way and waits until the link is
    /// free. True: it is free now, so take it before the next wait. False: the program is leaving.
    QCoro::Task<bool> WaitUntilFree();

    /// Sets `LinkBusy` and takes back any request to give way.
    void Take();

    /// Clears `LinkBusy` and wakes who waits.
    void Release();

    /// What `LinkInUse` looks at has changed without the gate.
    void Changed() { WakeAll(); }

    /// From now on every wait ends with false.
    void Shut();

  private:
    void WakeAll();

    LinkState *state_;
    std::vector<OneShot<bool>> waiters_;
    bool shut_ = false;
};

/// Has the link as long as it lives, also when what is done with it fails.
class LinkHold
{
  public:
    /// `gate` must outlive the hold, and the link be free.
    explicit LinkHold(LinkGate &gate) : gate_(&gate) { gate.Take(); }
    ~LinkHold() { gate_->Release(); }
    LinkHold(const LinkHold &) = delete;
    LinkHold &operator=(const LinkHold &) = delete;

  private:
    LinkGate *gate_;
};

} // namespace px40
