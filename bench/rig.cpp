#include "bench/rig.h"

#include <QLoggingCategory>

#include <algorithm>

namespace px40::bench {

double Median(std::vector<double> values)
{
    if (values.empty())
        return 0;
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    if (values.size() % 2 == 1)
        return *middle;
    return (*middle + *std::max_element(values.begin(), middle)) / 2;
}

void ChooseScreen(Screen screen)
{
    const bool there =
        !qEnvironmentVariableIsEmpty("DISPLAY") || !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY");
    if (screen == Screen::None || !there)
        qputenv("QT_QPA_PLATFORM", "offscreen");
}

int RunBenchmarks(int argc, char **argv)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 2;
    QLoggingCategory::setFilterRules(QStringLiteral("px40.*.info=false"));
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}

} // namespace px40::bench
