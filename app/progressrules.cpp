#include "app/progressrules.h"

#include <cmath>

namespace px40 {

namespace {

struct StepFrom
{
    int total;
    int step;
};

constexpr StepFrom Steps[] = {{4000, 50}, {3000, 40}, {2000, 30}, {1000, 20}, {100, 10}};

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
    return static_cast<int>(std::nearbyint(1.0 * maximum * current / total));
}

} // namespace px40
