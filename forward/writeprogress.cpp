#include "forward/writeprogress.h"

#include <algorithm>

namespace px40 {

void WriteProgress::Begin(qint64 total)
{
    total_ = std::max<qint64>(total, 1);
    made_ = 0;
    watch_->permille = 0;
}

bool WriteProgress::Advance(qint64 units)
{
    constexpr qint64 permille = 1000;
    made_ = std::min(made_ + units, total_);
    if (total_ > 0)
        watch_->permille =
            static_cast<int>(static_cast<double>(made_) / static_cast<double>(total_) * permille);
    return !IsCancelled();
}

bool WriteProgress::IsCancelled() const
{
    return watch_->cancelled;
}

} // namespace px40
