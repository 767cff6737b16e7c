#include "simulator/wakepipe.h"

#include <cerrno>
#include <fcntl.h>
#include <system_error>
#include <unistd.h>

namespace px40::sim {

WakePipe::WakePipe()
{
    if (::pipe(ends_) != 0)
        throw std::system_error(errno, std::generic_category(), "no pipe");
    for (const int end : ends_) {
        ::fcntl(end, F_SETFD, FD_CLOEXEC);
        ::fcntl(end, F_SETFL, O_NONBLOCK);
    }
}

WakePipe::~WakePipe()
{
    ::close(ends_[0]);
    ::close(ends_[1]);
}

void WakePipe::Wake() const noexcept
{
    const int before = errno;
    // A full pipe wakes as well as one more byte would.
    [[maybe_unused]] const auto written = ::write(ends_[1], "", 1);
    errno = before;
}

void WakePipe::Drain() const noexcept
{
    char bytes[64];
    while (::read(ends_[0], bytes, sizeof bytes) > 0) {
    }
}

} // namespace px40::sim
