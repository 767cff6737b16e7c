#include "simulator/ptyserver.h"

#include <cerrno>
#include <poll.h>
#include <unistd.h>
#include <utility>
#ifdef __linux__
#include <sys/prctl.h>
#endif

namespace px40::sim {

PtyServer::PtyServer(ServerOptions options)
    : ServedInstrument(options), terminal_(PseudoTerminal::Open()), link_(std::move(options.link)),
      path_(terminal_->Path())
{
    link_.Point(path_);
    thread_ = std::thread(&PtyServer::Run, this);
}

PtyServer::~PtyServer()
{
    {
        const std::lock_guard lock(mutex_);
        stopping_ = true;
    }
    changed_.notify_all();
    wake_.Wake();
    thread_.join();
}

std::string PtyServer::DevicePath() const
{
    const std::lock_guard lock(mutex_);
    return path_;
}

void PtyServer::HangUp()
{
    std::unique_lock lock(mutex_);
    if (path_.empty())
        return;
    hangUpAsked_ = true;
    changed_.notify_all();
    wake_.Wake();
    changed_.wait(lock, [this] { return !hangUpAsked_; });
}

void PtyServer::PlugIn()
{
    const std::lock_guard lock(mutex_);
    if (!path_.empty())
        return;
    PseudoTerminal terminal = PseudoTerminal::Open();
    link_.Point(terminal.Path());
    path_ = terminal.Path();
    arriving_ = std::move(terminal);
    wake_.Wake();
}

void PtyServer::Run()
{
#ifdef __linux__
    // The kernel would otherwise round each wait up by 50 microseconds, a twentieth of a character.
    ::prctl(PR_SET_TIMERSLACK, 1UL, 0UL, 0UL, 0UL);
#endif
    while (HandleRequests()) {
        SendInjected();
        WaitForInput();
    }
}

void PtyServer::Inject(std::string_view bytes)
{
    const std::lock_guard lock(mutex_);
    injected_ += bytes;
    wake_.Wake();
}

void PtyServer::SendInjected()
{
    std::string bytes;
    {
        const std::lock_guard lock(mutex_);
        bytes.swap(injected_);
    }
    if (terminal_)
        Write(bytes);
}

bool PtyServer::HandleRequests()
{
    const std::lock_guard lock(mutex_);
    if (arriving_) {
        terminal_ = std::exchange(arriving_, std::nullopt);
        Forget();
    }
    if (hangUpAsked_) {
        Unplug(lock);
        hangUpAsked_ = false;
        changed_.notify_all();
    }
    return !stopping_;
}

void PtyServer::Unplug(const std::lock_guard<std::mutex> &)
{
    link_.Remove();
    path_.clear();
    terminal_.reset();
}

void PtyServer::WaitForInput()
{
    // poll() ignores the negative descriptor of an unplugged device.
    pollfd descriptors[] = {{wake_.Reader(), POLLIN, 0},
                            {terminal_ ? terminal_->Watch() : -1, POLLIN, 0},
                            {terminal_ ? terminal_->Master() : -1, POLLIN, 0}};
    if (::poll(descriptors, std::size(descriptors), -1) <= 0)
        return;
    if (descriptors[0].revents != 0)
        wake_.Drain();
    // Before the input is read, which may already come from the next program.
    if (descriptors[1].revents != 0)
        terminal_->NoticePrograms();
    if (descriptors[2].revents != 0)
        Receive();
}

void PtyServer::Receive()
{
    char bytes[512];
    const ssize_t count = ::read(terminal_->Master(), bytes, sizeof bytes);
    const Clock::time_point now = Clock::now();
    if (count < 0 && (errno == EAGAIN || errno == EINTR))
        return;
    if (count <= 0) {
        const std::lock_guard lock(mutex_);
        Unplug(lock);
        return;
    }
    for (const char byte : std::string_view(bytes, static_cast<std::size_t>(count))) {
        if (!Take(byte))
            continue;
        ServeCommand(now);
        if (!WaitUntil({}) || !terminal_)
            return;
    }
}

void PtyServer::ServeCommand(Clock::time_point readAt)
{
    const Clock::time_point come = CommandCome(readAt);
    if (!WaitUntil(come)) {
        Forget();
        return;
    }
    const Delivery reply = Obey();
    const std::string_view bytes = reply.bytes;
    for (std::size_t i = 0, end = 0; i < bytes.size(); i = end) {
        const Clock::time_point due = ReplyCome(reply, i, come);
        while (end < bytes.size() && ReplyCome(reply, end, come) == due)
            ++end;
        if (!WaitUntil(due))
            return;
        Write(bytes.substr(i, end - i));
    }
    Tell(reply);
    if (reply.hangUp) {
        const std::lock_guard lock(mutex_);
        Unplug(lock);
    }
}

void PtyServer::Write(std::string_view bytes)
{
    while (!bytes.empty()) {
        const ssize_t count = ::write(terminal_->Master(), bytes.data(), bytes.size());
        if (count < 0 && errno == EINTR)
            continue;
        // Nobody reads and the buffers are full: the rest is lost, as it is on a cable.
        if (count <= 0)
            return;
        bytes.remove_prefix(static_cast<std::size_t>(count));
    }
}

bool PtyServer::WaitUntil(Clock::time_point deadline)
{
    std::unique_lock lock(mutex_);
    return !changed_.wait_until(lock, deadline, [this] { return stopping_ || hangUpAsked_; });
}

} // namespace px40::sim
