#include "simulator/pseudoterminal.h"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <system_error>
#include <termios.h>
#include <unistd.h>
#include <utility>
#ifdef __linux__
#include <sys/inotify.h>
#include <sys/ioctl.h>
#endif

namespace px40::sim {

namespace {

void Check(bool ok, const char *what)
{
    if (!ok)
        throw std::system_error(errno, std::generic_category(), what);
}

void Close(int &descriptor)
{
    if (descriptor >= 0)
        ::close(std::exchange(descriptor, -1));
}

} // namespace

PseudoTerminal PseudoTerminal::Open()
{
    PseudoTerminal terminal;
    terminal.master_ = ::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    Check(terminal.master_ >= 0, "no pseudo-terminal");
    Check(::grantpt(terminal.master_) == 0 && ::unlockpt(terminal.master_) == 0, "pseudo-terminal locked");
    // When the program stops reading, bytes are lost, as on a real line; the instrument must never block.
    Check(::fcntl(terminal.master_, F_SETFL, O_NONBLOCK) == 0, "pseudo-terminal stays blocking");
    const char *path = ::ptsname(terminal.master_);
    Check(path != nullptr, "pseudo-terminal without a name");
    terminal.path_ = path;
    terminal.slave_ = ::open(path, O_RDWR | O_NOCTTY | O_CLOEXEC);
    Check(terminal.slave_ >= 0, "pseudo-terminal cannot be opened");
    Check(terminal.MakeRaw(), "pseudo-terminal stays out of raw mode");
#ifdef __linux__
    // Our own descriptor was opened before and is not counted.
    terminal.watch_ = ::inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    if (::inotify_add_watch(terminal.watch_, path, IN_OPEN | IN_CLOSE) < 0)
        Close(terminal.watch_);
#endif
    return terminal;
}

bool PseudoTerminal::MakeRaw() const
{
    termios settings{};
    if (::tcgetattr(slave_, &settings) != 0)
        return false;
    ::cfmakeraw(&settings);
    return ::tcsetattr(slave_, TCSANOW, &settings) == 0;
}

void PseudoTerminal::NoticePrograms()
{
#ifdef __linux__
    // Events of a watched file, unlike those of a folder, have no name and thus the same size.
    inotify_event events[32];
    ssize_t bytes = 0;
    while ((bytes = ::read(watch_, events, sizeof events)) > 0) {
        for (std::size_t i = 0; i < static_cast<std::size_t>(bytes) / sizeof events[0]; ++i) {
            if ((events[i].mask & IN_OPEN) != 0)
                ++programs_;
            if ((events[i].mask & IN_CLOSE) == 0 || programs_ == 0 || --programs_ != 0)
                continue;
            // Our own descriptor stays open, so unread bytes and the lock of a dead program would remain.
            ::tcflush(slave_, TCIFLUSH);
            ::ioctl(slave_, TIOCNXCL);
            MakeRaw();
        }
    }
#endif
}

PseudoTerminal::PseudoTerminal(PseudoTerminal &&other) noexcept
    : master_(std::exchange(other.master_, -1)), slave_(std::exchange(other.slave_, -1)),
      watch_(std::exchange(other.watch_, -1)), programs_(other.programs_), path_(std::move(other.path_))
{
}

PseudoTerminal &PseudoTerminal::operator=(PseudoTerminal &&other) noexcept
{
    std::swap(master_, other.master_);
    std::swap(slave_, other.slave_);
    std::swap(watch_, other.watch_);
    std::swap(programs_, other.programs_);
    std::swap(path_, other.path_);
    return *this;
}

PseudoTerminal::~PseudoTerminal()
{
    Close(watch_);
    Close(slave_);
    Close(master_);
}

void DeviceLink::Point(const std::string &device)
{
    namespace fs = std::filesystem;
    if (path_.empty())
        return;
    const std::string what = "The link \"" + path_ + "\" cannot be made";
    std::error_code error;
    const fs::file_status status = fs::symlink_status(path_, error);
    if (fs::exists(status) && !fs::is_symlink(status))
        throw std::system_error(std::make_error_code(std::errc::file_exists), what);
    // Renamed into place, so that the name is never absent in between.
    const std::string fresh = path_ + ".new";
    fs::remove(fresh, error);
    fs::create_symlink(device, fresh, error);
    if (!error)
        fs::rename(fresh, path_, error);
    if (error)
        throw std::system_error(error, what);
    device_ = device;
}

void DeviceLink::Remove() noexcept
{
    namespace fs = std::filesystem;
    if (device_.empty())
        return;
    std::error_code error;
    if (fs::read_symlink(path_, error) == device_)
        fs::remove(path_, error);
    device_.clear();
}

} // namespace px40::sim
