#pragma once

#include <QtGlobal>

#include <atomic>

namespace px40 {

/// How far a file is, and whether it is still wanted; shared with the thread that writes it.
struct WriteWatch
{
    std::atomic<bool> cancelled = false;
    std::atomic<int> permille = 0;
};

/// Counts what has been done of a whole, for whoever watches.
class WriteProgress
{
  public:
    explicit WriteProgress(WriteWatch *watch) : watch_(watch) {}

    void Begin(qint64 total);

    /// False when the work is no longer wanted. Nothing is counted before the beginning.
    bool Advance(qint64 units);
    bool IsCancelled() const;

  private:
    WriteWatch *watch_;
    qint64 total_ = 0;
    qint64 made_ = 0;
};

} // namespace px40
