// What the program adds to one exchange: SendCommand against a bare write, poll and read on a device of the
// same kind. The two take turns, so that whatever else the machine does falls on both alike.

#include "bench/rig.h"

#include <chrono>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <termios.h>
#include <unistd.h>

namespace px40::bench {

namespace {

using Clock = std::chrono::steady_clock;

constexpr double ExchangeUs = 40000; ///< what an exchange takes at 9600 baud

/// The same device without the program: as little as an exchange can be.
class BareLine
{
  public:
    explicit BareLine(const std::string &device)
        : descriptor_(::open(device.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC))
    {
        termios settings{};
        if (::tcgetattr(descriptor_, &settings) != 0)
            return;
        ::cfmakeraw(&settings);
        ::cfsetspeed(&settings, B9600);
        isOpen_ = ::tcsetattr(descriptor_, TCSANOW, &settings) == 0;
    }
    BareLine(const BareLine &) = delete;
    BareLine &operator=(const BareLine &) = delete;
    ~BareLine()
    {
        if (descriptor_ >= 0)
            ::close(descriptor_);
    }

    bool IsOpen() const { return isOpen_; }

    bool Exchange(const char *line)
    {
        const std::size_t length = std::strlen(line);
        if (::write(descriptor_, line, length) != static_cast<ssize_t>(length))
            return false;
        std::size_t used = 0;
        while (used < sizeof reply_) {
            pollfd waiting{descriptor_, POLLIN, 0};
            if (::poll(&waiting, 1, 1000) <= 0)
                return false;
            const ssize_t count = ::read(descriptor_, reply_ + used, sizeof reply_ - used);
            if (count <= 0)
                return false;
            used += static_cast<std::size_t>(count);
            if (reply_[used - 1] == '\n')
                return true;
        }
        return false;
    }

  private:
    char reply_[256] = {};
    int descriptor_ = -1;
    bool isOpen_ = false;
};

struct Times
{
    std::vector<double> program;
    std::vector<double> bare;
};

/// False when an exchange got no reply.
QCoro::Task<bool> TakeTurns(Comm *comm, BareLine *bare, int pairs, Times *times)
{
    const LinkCommand question = AskReading(1);
    for (int i = 0; i < pairs; ++i) {
        const Clock::time_point programBegin = Clock::now();
        const Result<QString> reply = co_await comm->SendCommand(question);
        times->program.push_back(Elapsed<std::micro>(programBegin));
        const Clock::time_point bareBegin = Clock::now();
        const bool bareAnswered = bare->Exchange("OM1\r\n");
        times->bare.push_back(Elapsed<std::micro>(bareBegin));
        if (!reply || !bareAnswered)
            co_return false;
    }
    co_return true;
}

/// At the speed of the line the processor sleeps before each byte of the reply, so that every wake-up and
/// cold cache counts; without it only the work itself does.
void Exchange(benchmark::State &state, bool paced, int pairs)
{
    sim::ServerOptions options;
    options.line.paced = paced;
    LinkRig rig(options, Comm::DefaultReplyTimeoutMs);
    sim::PtyServer otherServer(options);
    BareLine bare(otherServer.DevicePath());
    rig.Open();
    if (!bare.IsOpen()) {
        state.SkipWithError("a port did not open");
        return;
    }

    Times times;
    for ([[maybe_unused]] auto iteration : state) {
        Times warming;
        if (!Finish(TakeTurns(&rig.comm, &bare, pairs / 20, &warming)) ||
            !Finish(TakeTurns(&rig.comm, &bare, pairs, &times))) {
            state.SkipWithError("an exchange got no reply");
            return;
        }
        state.SetIterationTime(Median(times.program) * 1e-6);
    }
    const double program = Median(times.program);
    const double bareLoop = Median(times.bare);
    state.counters["program_us"] = program;
    state.counters["bare_us"] = bareLoop;
    state.counters["added_us"] = program - bareLoop;
    state.counters["share_of_40ms_percent"] = (program - bareLoop) / ExchangeUs * 100;
    state.SetLabel("aims: 60 us, 0.2 %");
}

BENCHMARK_CAPTURE(Exchange, at_once, false, 4000)->Apply(Measured<benchmark::kMicrosecond, 9>);
BENCHMARK_CAPTURE(Exchange, at_9600_baud, true, 60)->Apply(Measured<benchmark::kMicrosecond, 9>);

} // namespace

} // namespace px40::bench

PX40_BENCHMARKS(QCoreApplication, None)
