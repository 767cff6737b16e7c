#pragma once

#include "simulator/faults.h"
#include "simulator/instrument.h"
#include "simulator/line.h"
#include "simulator/pseudoterminal.h"
#include "simulator/wakepipe.h"

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace px40::sim {

/// What was just exchanged: the command without its line end, and all bytes sent for it (none if it stayed
/// unanswered). Called on the server's own thread; it must not call the server.
using Observer = std::function<void(std::string_view command, std::string_view sent)>;

struct ServerOptions
{
    Line line;
    Faults faults;
    /// Seed of the instrument's values.
    std::uint64_t seed = 1;
    /// Replies to "OC", given one after the other, the last one from then on; none for a live status.
    std::vector<std::string> statuses;
    /// Path of a symbolic link to the device; empty for none.
    std::string link;
    Observer observer;
};

/// The instrument on a pseudo-terminal, served by a thread of its own.
///
/// A program opens `DevicePath()` like any serial port, and may close and open it again at will. All
/// functions may be called from any thread but the observer's. Destroying the server hangs up and stops at
/// once, even in the middle of a reply.
class PtyServer
{
  public:
    /// Serves from now on. Throws std::system_error when no pseudo-terminal or link can be made.
    explicit PtyServer(ServerOptions options = {});
    ~PtyServer();
    PtyServer(const PtyServer &) = delete;
    PtyServer &operator=(const PtyServer &) = delete;

    /// The device to open; empty while it is unplugged.
    std::string DevicePath() const;

    /// Pulls the cable: the device disappears and whoever has it open is hung up. Nothing happens if it is
    /// unplugged already. The device is gone when this returns.
    void HangUp();
    /// Plugs it in again: a new device, often of another path, to which the link is moved. The instrument's
    /// state has lasted. Throws std::system_error when no device or link can be made.
    void PlugIn();

    /// Takes effect with the next command, which the faults count as the first.
    void SetFaults(const Faults &faults);
    Faults CurrentFaults() const;

    /// Sends bytes that no command asked for, as a noisy line does; at once, and after a reply under way.
    /// Lost while the device is unplugged.
    void Inject(std::string_view bytes);

    /// How many commands have arrived since the start, and the last 10,000 of them, oldest first, without
    /// line ends. One longer than 1,000 characters is kept without its end, and answered with "ERR".
    std::size_t CommandCount() const;
    std::vector<std::string> Commands() const;

    /// Calls `work(Instrument &)` while no command is being obeyed, and returns what it returns. The work
    /// must not call the server.
    template <typename Work>
    auto WithInstrument(Work work)
    {
        const std::lock_guard lock(mutex_);
        return work(instrument_);
    }

  private:
    using Clock = std::chrono::steady_clock;

    void Run();
    void WaitForInput();
    void Receive();
    void ServeLine(Clock::time_point readAt);
    void Send(const Delivery &delivery, Clock::time_point begin);
    void Write(std::string_view bytes);
    /// False when the wait was cut short because the server is to stop or to hang up.
    bool WaitUntil(Clock::time_point deadline);
    bool HandleRequests();
    void SendInjected();
    void Unplug(const std::lock_guard<std::mutex> &);

    const Line line_;
    const Observer observer_;
    /// Belongs to the server's thread.
    std::string input_;
    std::size_t inputLength_ = 0;
    Clock::time_point inputBegin_{};
    std::optional<PseudoTerminal> terminal_;

    const WakePipe wake_;

    mutable std::mutex mutex_;
    /// Tells the server's thread of a request, and the requester of its end.
    std::condition_variable changed_;
    Instrument instrument_;
    Faults faults_;
    DeviceLink link_;
    std::string path_;
    std::deque<std::string> commands_;
    std::size_t commandCount_ = 0;
    std::size_t countAtFaults_ = 0;
    std::optional<PseudoTerminal> arriving_;
    std::string injected_;
    bool hangUpAsked_ = false;
    bool stopping_ = false;

    std::thread thread_;
};

} // namespace px40::sim
