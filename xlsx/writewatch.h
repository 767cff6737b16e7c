#pragma once

#include <QtGlobal>

#include <algorithm>
#include <atomic>

namespace px40 {

/// How far the writing of a workbook is, and whether it is still wanted; shared with the thread that writes.
class WriteWatch
{
  public:
    std::atomic<bool> cancelled = false;
    std::atomic<int> permille = 0;

    // For the writer; nothing is counted before `Begin`.

    void Begin(qint64 total)
    {
        total_ = std::max<qint64>(total, 1);
        made_ = 0;
        permille = 0;
    }

    /// False when the work is no longer wanted.
    bool Advance(qint64 units)
    {
        constexpr double whole = 1000;
        made_ = std::min(made_ + units, total_);
        if (total_ > 0)
            permille = static_cast<int>(static_cast<double>(made_) / static_cast<double>(total_) * whole);
        return !cancelled;
    }

  private:
    qint64 total_ = 0;
    qint64 made_ = 0;
};

} // namespace px40
