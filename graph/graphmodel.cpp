#include "graph/graphmodel.h"

#include <algorithm>
#include <utility>

namespace px40 {

GraphModel::GraphModel(const GraphSeries &series, GraphTexts texts)
    : series_(&series), texts_(std::move(texts))
{
}

void GraphModel::SetSettings(const GraphSettings &settings)
{
    settings_ = settings;
    Q_EMIT changed();
}

void GraphModel::ScrollTo(int value)
{
    scroll_.value = std::clamp(value, 0, scroll_.maximum);
    Q_EMIT changed();
}

void GraphModel::ScrollToTop(int samples)
{
    scroll_ = {std::max(0, samples - settings_.count), 0};
    Q_EMIT begun();
    Q_EMIT changed();
}

void GraphModel::Follow(int samples)
{
    if (samples > settings_.count)
        scroll_.value = ++scroll_.maximum;
}

} // namespace px40
