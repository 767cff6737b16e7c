#include "document/samplewindow.h"

#include <algorithm>

namespace px40 {

namespace {

SampleWindow Around(const SampleWindow &window, qint64 count, qint32 samples)
{
    SampleWindow made;
    made.count = static_cast<int>(std::max<qint64>(SampleWindow::Fewest, count));
    made.MoveTo(window.behind + (window.count - made.count) / 2, samples);
    return made;
}

} // namespace

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
    behind = static_cast<qint32>(std::clamp<qint64>(to, 0, Furthest(samples)));
}

SampleWindow SampleWindow::Halved(qint32 samples) const
{
    return Around(*this, count / 2, samples);
}

SampleWindow SampleWindow::Doubled(qint32 samples) const
{
    return Around(*this, qint64(count) * 2, samples);
}

} // namespace px40
