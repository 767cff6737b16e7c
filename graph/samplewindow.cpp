#include "graph/samplewindow.h"

#include <algorithm>

namespace px40 {

SampleWindow SampleWindow::Of(qint32 first, qint32 last, qint32 samples)
{
    SampleWindow window;
    window.count = std::max(Fewest, last - first + 1);
    window.MoveTo(qint64(first) - 1, samples);
    return window;
}

qint32 SampleWindow::Furthest(qint32 samples) const
{
    return std::max(0, samples - count);
}

void SampleWindow::MoveTo(qint64 to, qint32 samples)
{
    skipped = static_cast<qint32>(std::clamp<qint64>(to, 0, Furthest(samples)));
}

SampleWindow SampleWindow::Resized(qint64 to, qint32 samples) const
{
    SampleWindow window;
    window.count = static_cast<int>(std::max<qint64>(Fewest, to));
    window.MoveTo(skipped + (count - window.count) / 2, samples);
    return window;
}

} // namespace px40
