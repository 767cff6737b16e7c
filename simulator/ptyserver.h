#pragma once

#include "simulator/pseudoterminal.h"
#include "simulator/servedinstrument.h"
#include "simulator/wakepipe.h"

#include <condition_variable>
#include <optional>
#include <string>
#include <string_view>
#include <thread>

namespace px40::sim {

/// The instrument on a pseudo-terminal, served by a thread of its own.
///
/// A program opens `DevicePath()` like any serial port, and may close and open it again at will. All
/// functions may be called from any thread but the observer's. Destroying the server hangs up and stops at
/// once, even in the middle of a reply.
class PtyServer : public ServedInstrument
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

    /// Sends bytes that no command asked for, as a noisy line does; at once, and after a reply under way.
    /// Lost while the device is unplugged.
    void Inject(std::string_view bytes);

  private:
    void Run();
    void WaitForInput();
    void Receive();
    void ServeCommand(Clock::time_point readAt);
    void Write(std::string_view bytes);
    /// False when the wait was cut short because the server is to stop or to hang up.
    bool WaitUntil(Clock::time_point deadline);
    bool HandleRequests();
    void SendInjected();
    void Unplug(const std::lock_guard<std::mutex> &);

    /// Belongs to the server's thread.
    std::optional<PseudoTerminal> terminal_;

    const WakePipe wake_;

    // Guarded by `mutex_`, as the instrument is.
    /// Tells the server's thread of a request, and the requester of its end.
    std::condition_variable changed_;
    DeviceLink link_;
    std::string path_;
    std::optional<PseudoTerminal> arriving_;
    std::string injected_;
    bool hangUpAsked_ = false;
    bool stopping_ = false;

    std::thread thread_;
};

} // namespace px40::sim
