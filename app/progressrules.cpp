#include "app/progressrules.h"

namespace px40 {

namespace {

struct StepFrom
{
    int total;
    int step;
};

constexpr StepFrom Steps[] = {{4000, 50}, {3000, 40}, {2000, 30}, {1000, 20}, {100, 10}};

long long DividedHalvesToEven(long long dividend, long long divisor)
{
    const long long quotient = dividend / divisor;
    const long long twice = 2 * (dividend % divisor);
    const bool up = twice > divisor || (twice == divisor && quotient % 2 != 0);
    return quotient + (up ? 1 : 0);
}

} // namespace

int ProgressStep(int total)
{
    for (const StepFrom &entry : Steps) {
        if (total >= entry.total)
            return entry.step;
    }
    return 1;
}

int ProgressValue(bool throttle, int current, int total, int maximum)
{
    if (current == 0 || total == 0)
        return -1;
    if (throttle && current % ProgressStep(total) != 0)
        return -1;
    return static_cast<int>(DividedHalvesToEven(1LL * maximum * current, total));
}

ProgressLayout LayOutProgress(const ProgressParts &parts)
{
    ProgressLayout layout;
    layout.messageTop = 360;
    layout.width = parts.messageWidth < 5400 ? 6000 : parts.messageWidth + 600;
    const int inner = layout.width - parts.frameWidth;
    layout.barWidth = inner - 480;
    layout.barLeft = (inner - layout.barWidth) / 2;
    layout.messageLeft = layout.barLeft;
    layout.barTop = layout.messageTop + parts.messageHeight + 180;
    layout.cancelLeft = (inner - parts.cancelWidth) / 2;
    layout.cancelTop = layout.barTop + parts.barHeight + 420;
    layout.height = layout.cancelTop + parts.cancelHeight + 600;
    return layout;
}

} // namespace px40
