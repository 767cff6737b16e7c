#pragma once

#include "document/graphseries.h"

#include <vector>

namespace px40 {

/// A point of a line. Not a number as value: the line is interrupted here.
struct LinePoint
{
    double sample;
    double value;
};

using Line = std::vector<LinePoint>;

/// The line of one member of the points from sample `first` to `last` (1-based). Where several samples share
/// a column of pixels (`perColumn` above 1) only what can be seen of them is taken: the first, lowest,
/// highest and last of each column. Columns begin at sample 1 wherever the view begins, so that the line
/// keeps its looks while it scrolls.
Line SeriesLine(const GraphSeries &series, float GraphPoint::*member, qint32 first, qint32 last,
                int perColumn);

/// The points that stand alone between two gaps, where a line shows nothing.
Line LonePoints(const Line &line);

/// Cuts the line off at the limits: not every picture format can do that by itself.
Line ClippedLine(const Line &line, double minimum, double maximum);

} // namespace px40
