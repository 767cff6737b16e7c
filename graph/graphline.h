#pragma once

#include "graph/graphseries.h"
#include "graph/plotlibrary.h"

#include <vector>

namespace px40 {

// Lines are thinned and cut off here and not by the library: its adaptive sampling drops readings beside
// gaps, and its clipping is unknown to SVG.

/// The points of a line, by their sample numbers. Not a number as value: the line is interrupted here.
using Line = QVector<QCPGraphData>;

/// The line of one member of the points from sample `first` to `last` (1-based). Where several samples share
/// a column of pixels (`perColumn` above 1) only what can be seen of them is taken: the first, lowest,
/// highest and last of each column. Columns begin at sample 1 wherever the view begins, so that the line
/// keeps its looks while it scrolls.
Line SeriesLine(const GraphSeries &series, float GraphPoint::*member, qint32 first, qint32 last,
                int perColumn);

/// Isolated points, each between two gaps, of which a line would show nothing.
Line LonePoints(const Line &line);

/// How a line goes from one point to the next: straight, or level with the next one after a step at the
/// first.
enum class LineShape { Straight, Steps };

/// Cuts the line off at the limits: not every picture format can do that by itself.
Line ClippedLine(const Line &line, LineShape shape, double minimum, double maximum);

/// Samples without a valid reading, at most one of a column of pixels.
std::vector<double> InvalidSamples(const GraphSeries &series, qint32 first, qint32 last, int perColumn);

} // namespace px40
