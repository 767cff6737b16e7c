#include "platform/endsignals.h"

#ifdef Q_OS_UNIX
#include <QSocketNotifier>

#include <array>
#include <cerrno>
#include <csignal>

#include <fcntl.h>
#include <unistd.h>
#endif

namespace px40 {

#ifdef Q_OS_UNIX

namespace {

constexpr std::array Signals = {SIGTERM, SIGINT, SIGHUP};
volatile std::sig_atomic_t writeEnd = -1;

/// All that is allowed in a signal handler.
void Tell(int)
{
    const int before = errno;
    const char byte = 0;
    [[maybe_unused]] const auto written = ::write(writeEnd, &byte, 1);
    errno = before;
}

} // namespace

struct EndSignals::Pipe
{
    std::array<int, 2> ends{-1, -1};
    std::array<struct sigaction, Signals.size()> before{};
    std::unique_ptr<QSocketNotifier> notifier;
};

EndSignals::EndSignals() : pipe_(std::make_unique<Pipe>())
{
    if (::pipe(pipe_->ends.data()) != 0)
        return;
    for (const int end : pipe_->ends) {
        ::fcntl(end, F_SETFD, FD_CLOEXEC);
        ::fcntl(end, F_SETFL, O_NONBLOCK);
    }
    writeEnd = pipe_->ends[1];
    pipe_->notifier = std::make_unique<QSocketNotifier>(pipe_->ends[0], QSocketNotifier::Read);
    connect(pipe_->notifier.get(), &QSocketNotifier::activated, this, [this] {
        std::array<char, 16> bytes{};
        while (::read(pipe_->ends[0], bytes.data(), bytes.size()) > 0) {
        }
        Q_EMIT asked();
    });
    struct sigaction action = {};
    action.sa_handler = &Tell;
    action.sa_flags = SA_RESTART;
    for (std::size_t i = 0; i < Signals.size(); ++i) {
        ::sigaction(Signals.at(i), nullptr, &pipe_->before.at(i));
        if (pipe_->before.at(i).sa_handler != SIG_IGN) // as it is below nohup
            ::sigaction(Signals.at(i), &action, nullptr);
    }
}

EndSignals::~EndSignals()
{
    if (!pipe_->notifier)
        return;
    for (std::size_t i = 0; i < Signals.size(); ++i)
        ::sigaction(Signals.at(i), &pipe_->before.at(i), nullptr);
    writeEnd = -1;
    for (const int end : pipe_->ends)
        ::close(end);
}

#else

struct EndSignals::Pipe
{
};

EndSignals::EndSignals() = default;
EndSignals::~EndSignals() = default;

#endif

} // namespace px40
