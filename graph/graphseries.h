#pragma once

#include <QtGlobal>

#include <cmath>
#include <deque>
#include <limits>

namespace px40 {

/// What the graph draws of one sample. Not a number: nothing is drawn there.
struct GraphPoint
{
    static constexpr float Nothing = std::numeric_limits<float>::quiet_NaN();

    float reading = Nothing; ///< a gap where the sample has no valid reading
    float maximum = Nothing; ///< of the samples before this one
    float minimum = Nothing;

    bool HasReading() const { return !std::isnan(reading); }
};

/// The points of all samples, so that any window of them can be drawn without a look at
/// the others. Twelve bytes a sample.
class GraphSeries
{
  public:
    void Append(const GraphPoint &point) { points_.push_back(point); }
    void Clear() { points_.clear(); }

    /// `sample` is 1-based.
    const GraphPoint &At(qint32 sample) const { return points_[static_cast<std::size_t>(sample) - 1]; }
    qint32 Count() const { return static_cast<qint32>(points_.size()); }

  private:
    std::deque<GraphPoint> points_;
};

} // namespace px40
