#include "simulator/servedinstrument.h"

#include <algorithm>
#include <utility>

namespace px40::sim {

namespace {

// Far above the length of any command; the rest of an endless line is dropped.
constexpr std::size_t MaxCommand = 1000;
constexpr std::size_t MaxHistory = 10000;

} // namespace

ServedInstrument::ServedInstrument(ServerOptions options)
    : instrument_(options.seed), faults_(options.faults), line_(options.line),
      observer_(std::move(options.observer))
{
    instrument_.HoldStatuses(std::move(options.statuses));
}

void ServedInstrument::SetFaults(const Faults &faults)
{
    const std::lock_guard lock(mutex_);
    faults_ = faults;
    countAtFaults_ = commandCount_;
}

Faults ServedInstrument::CurrentFaults() const
{
    const std::lock_guard lock(mutex_);
    return faults_;
}

std::size_t ServedInstrument::CommandCount() const
{
    const std::lock_guard lock(mutex_);
    return commandCount_;
}

std::vector<std::string> ServedInstrument::Commands() const
{
    const std::lock_guard lock(mutex_);
    return {commands_.begin(), commands_.end()};
}

bool ServedInstrument::Take(char byte)
{
    if (length_++ == 0) {
        begin_ = Clock::now();
        command_.clear();
    }
    if (byte != '\n' && command_.size() < MaxCommand)
        command_ += byte;
    return byte == '\n';
}

void ServedInstrument::Forget()
{
    length_ = 0;
}

ServedInstrument::Clock::time_point ServedInstrument::CommandCome(Clock::time_point readAt) const
{
    if (!line_.paced)
        return begin_;
    return std::max(begin_ + line_.LineTime(length_), readAt + line_.LineTime(1));
}

ServedInstrument::Clock::time_point ServedInstrument::ReplyCome(const Delivery &reply, std::size_t i,
                                                                Clock::time_point commandCome) const
{
    // Counted from the beginning, so that small delays do not add up.
    const Clock::time_point begin = commandCome + reply.late;
    if (line_.paced)
        return begin + line_.thinking + line_.LineTime(reply.oneWrite ? reply.bytes.size() : i + 1);
    return reply.byteByByte && !reply.oneWrite ? begin + reply.bytePause * static_cast<int>(i) : begin;
}

Delivery ServedInstrument::Obey()
{
    // Without its LF or CR LF; a line that did not fit is no command at all.
    const bool whole = length_ == command_.size() + 1;
    if (command_.ends_with('\r'))
        command_.pop_back();
    length_ = 0;
    const std::lock_guard lock(mutex_);
    commands_.push_back(command_);
    if (commands_.size() > MaxHistory)
        commands_.pop_front();
    ++commandCount_;
    Delivery reply = Deliver(faults_, commandCount_ - countAtFaults_,
                             whole ? std::string_view(command_) : std::string_view(), instrument_);
    if (reply.hangUp)
        reply.bytes.resize(std::min(reply.bytes.size(), reply.hangUpAfter));
    return reply;
}

void ServedInstrument::Tell(const Delivery &reply) const
{
    if (observer_)
        observer_(command_, reply.bytes);
}

} // namespace px40::sim
