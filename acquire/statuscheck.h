#pragma once

#include <QCoro/QCoroTask>

namespace px40 {

class Comm;
class LinkGate;
class Prompts;
class Timer;
struct InstrumentState;
struct InstrumentStatus;
struct LinkState;
struct MeasureDisplay;
struct RangeLists;

/// The status check runs so often.
constexpr int StatusCheckIntervalMs = 1000;

/// What a status check brings into line with the instrument.
class StatusViews
{
  public:
    StatusViews() = default;
    StatusViews(const StatusViews &) = delete;
    StatusViews &operator=(const StatusViews &) = delete;
    virtual ~StatusViews() = default;

    /// Called while `MonitorOpen` is set.
    virtual void ShowMeasure(const MeasureDisplay &display) = 0;

    /// Called while `SourceOpen` is set.
    virtual void ShowSourceStatus(const InstrumentStatus &status) = 0;

    /// Whether real-time data sets can be made and stored readings be fetched; called while the link is idle.
    virtual void EnableMainCommands(bool enabled) = 0;
};

/// Asks the instrument for its state, once a second, and shows it.
///
/// What is handed in must outlive the checks.
class StatusCheck
{
  public:
    StatusCheck(LinkState &state, LinkGate &gate, Comm &comm, Prompts &prompts, InstrumentState &instrument,
                const RangeLists &ranges, Timer &checkTimer, StatusViews &views);

    /// One cycle. Skipped while the link is busy; during real-time receive nothing is sent and the stored
    /// reply is shown. False when the instrument does not answer or is in the wrong communication mode: the
    /// user has then been told, and the check timer is off.
    QCoro::Task<bool> CheckStatus();

  private:
    enum class Outcome { Fetched, Yielded, Failed };

    QCoro::Task<Outcome> FetchStatus();
    bool IsReplaced(int opening) const;
    void ShowStatus();

    LinkState *state_;
    LinkGate *gate_;
    Comm *comm_;
    Prompts *prompts_;
    InstrumentState *instrument_;
    const RangeLists *ranges_;
    Timer *checkTimer_;
    StatusViews *views_;
};

} // namespace px40
