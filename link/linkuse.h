#pragma once

#include "link/linkstate.h"
#include "platform/oneshot.h"

#include <QCoro/QCoroTask>

#include <vector>

namespace px40 {

class LinkUse;

/// Who uses the link, and who waits for it. `LinkActivity`, `LinkBusy` and `StatusYield` change here only.
class LinkGate
{
  public:
    /// `state` must outlive the gate.
    explicit LinkGate(LinkState &state) : state_(&state) {}

    /// For a command of the user: asks a running status check to give way and waits until the link is
    /// free. True: it is free now, so take it before the next wait. False: the program is leaving.
    QCoro::Task<bool> WaitUntilFree();

    /// Whether somebody has asked the status check to give way since the last call.
    bool TakeYield();

    /// From now on every wait ends with false.
    void Shut();

  private:
    friend class LinkUse;

    void Begin(LinkUse *use);
    void End(const LinkUse *use);
    void Apply();
    void WakeAll();

    LinkState *state_;
    std::vector<LinkUse *> uses_; ///< the last one determines `LinkActivity`
    std::vector<OneShot<bool>> waiters_;
    bool shut_ = false;
};

/// Uses the link as long as it lives, whatever ends it. Uses may overlap, and end in any order: a status
/// check or a command of the user goes on in the middle of forwarding or of a run.
class LinkUse
{
  public:
    enum class Sharing {
        Alone,  ///< with `LinkBusy`: nothing else is sent meanwhile
        Shared, ///< others may have the link for an exchange of theirs
    };

    /// `gate` must outlive the use. Nobody may have the link alone at this moment.
    LinkUse(LinkGate &gate, LinkActivityCode activity, Sharing sharing = Sharing::Alone);
    ~LinkUse();
    LinkUse(const LinkUse &) = delete;
    LinkUse &operator=(const LinkUse &) = delete;

    /// Changes the activity; the use goes on.
    void Become(LinkActivityCode activity);

  private:
    friend class LinkGate;

    LinkGate *gate_;
    LinkActivityCode activity_;
    Sharing sharing_;
};

} // namespace px40
