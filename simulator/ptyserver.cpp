#include "simulator/ptyserver.h"

#include <algorithm>
#include <cerrno>
#include <poll.h>
#include <unistd.h>
#include <utility>
#ifdef __linux__
#include <sys/prctl.h>
#endif

namespace px40::sim {

namespace {

// Far above the length of any command; the rest of an endless line is dropped.
constexpr std::size_t MaxCommand = 1000;
constexpr std::size_t MaxHistory = 10000;

} // namespace

PtyServer::PtyServer(ServerOptions options)
    : line_(options.line), observer_(std::move(options.observer)), terminal_(PseudoTerminal::Open()),
      instrument_(options.seed), faults_(options.faults), link_(std::move(options.link)),
      path_(terminal_->Path())
{
    instrument_.HoldStatuses(std::move(options.statuses));
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

void PtyServer::SetFaults(const Faults &faults)
{
    const std::lock_guard lock(mutex_);
    faults_ = faults;
    countAtFaults_ = commandCount_;
}

Faults PtyServer::CurrentFaults() const
{
    const std::lock_guard lock(mutex_);
    return faults_;
}

std::size_t PtyServer::CommandCount() const
{
    const std::lock_guard lock(mutex_);
    return commandCount_;
}

std::vector<std::string> PtyServer::Commands() const
{
    const std::lock_guard lock(mutex_);
    return {commands_.begin(), commands_.end()};
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
        inputLength_ = 0;
        input_.clear();
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
        if (inputLength_++ == 0)
            inputBegin_ = Clock::now();
        if (byte == '\n') {
            ServeLine(now);
            inputLength_ = 0;
            input_.clear();
            if (!WaitUntil({}) || !terminal_)
                return;
        } else if (input_.size() < MaxCommand) {
            input_ += byte;
        }
    }
}

void PtyServer::ServeLine(Clock::time_point readAt)
{
    // Without its LF or CR LF; a line that did not fit is no command at all.
    const bool whole = inputLength_ == input_.size() + 1;
    if (input_.ends_with('\r'))
        input_.pop_back();
    Faults faults;
    std::size_t n = 0;
    {
        const std::lock_guard lock(mutex_);
        commands_.push_back(input_);
        if (commands_.size() > MaxHistory)
            commands_.pop_front();
        ++commandCount_;
        n = commandCount_ - countAtFaults_;
        faults = faults_;
    }
    // A pseudo-terminal delivers at once what takes time over a cable.
    Clock::time_point begin = inputBegin_;
    if (line_.paced) {
        begin = std::max(inputBegin_ + line_.LineTime(inputLength_), readAt + line_.LineTime(1));
        if (!WaitUntil(begin))
            return;
        begin += line_.thinking;
    }
    Delivery delivery;
    {
        const std::lock_guard lock(mutex_);
        delivery = Deliver(faults, n, whole ? std::string_view(input_) : std::string_view(), instrument_);
    }
    Send(delivery, begin);
}

void PtyServer::Send(const Delivery &delivery, Clock::time_point begin)
{
    const std::string_view bytes = std::string_view(delivery.bytes)
                                       .substr(0, delivery.hangUp ? delivery.hangUpAfter : std::string::npos);
    begin += delivery.late;
    if (delivery.oneWrite || (!line_.paced && !delivery.byteByByte)) {
        if (line_.paced)
            begin += line_.LineTime(bytes.size());
        if (!bytes.empty() && !WaitUntil(begin))
            return;
        Write(bytes);
    } else {
        // The time of every byte is counted from the beginning, so that small delays do not add up.
        for (std::size_t i = 0; i < bytes.size(); ++i) {
            const auto offset = line_.paced
                                    ? line_.LineTime(i + 1)
                                    : std::chrono::nanoseconds(delivery.bytePause) * static_cast<int>(i);
            if (!WaitUntil(begin + offset))
                return;
            Write(bytes.substr(i, 1));
        }
    }
    if (observer_)
        observer_(input_, bytes);
    if (delivery.hangUp) {
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
