#pragma once

#include "simulator/faults.h"
#include "simulator/instrument.h"
#include "simulator/line.h"

#include <chrono>
#include <cstdint>
#include <deque>
#include <functional>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace px40::sim {

/// What was just exchanged: the command without its line end, and all bytes sent for it (none if it stayed
/// unanswered). Called by the server, on its own thread if it has one; it must not call the server.
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

/// The instrument behind a line, whatever the line is: it collects commands from bytes, counts them, obeys
/// them as far as its faults let it, and knows when what has come. The public functions may be called from
/// any thread but the observer's; the others are the server's.
class ServedInstrument
{
  public:
    ServedInstrument(const ServedInstrument &) = delete;
    ServedInstrument &operator=(const ServedInstrument &) = delete;

    /// Takes effect with the next command, which the faults count as the first.
    void SetFaults(const Faults &faults);
    Faults CurrentFaults() const;

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

  protected:
    using Clock = std::chrono::steady_clock;

    explicit ServedInstrument(ServerOptions options);
    ~ServedInstrument() = default;

    /// Takes the next byte of a command, the first of a new one where `Obey` or `Forget` was called. True
    /// when it was the last.
    bool Take(char byte);
    /// What has come of a command is lost.
    void Forget();

    /// A pseudo-terminal delivers at once what takes time over a cable: when the command that was read at
    /// that time has come, and when byte `i` of the reply to it has.
    Clock::time_point CommandCome(Clock::time_point readAt) const;
    Clock::time_point ReplyCome(const Delivery &reply, std::size_t i, Clock::time_point commandCome) const;

    /// Obeys the command that has come. The reply ends where the line is hung up.
    Delivery Obey();
    /// Tells the observer of the command obeyed last.
    void Tell(const Delivery &reply) const;

    mutable std::mutex mutex_; ///< guards what follows

  private:
    Instrument instrument_;
    Faults faults_;
    std::deque<std::string> commands_;
    std::size_t commandCount_ = 0;
    std::size_t countAtFaults_ = 0;

    // What follows is the server's own.
    const Line line_;
    const Observer observer_;
    std::string command_;
    std::size_t length_ = 0; ///< of all that has come of it, line end included
    Clock::time_point begin_{};
};

} // namespace px40::sim
