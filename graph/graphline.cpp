#include "graph/graphline.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <utility>

namespace px40 {

namespace {

const QCPGraphData Gap(0, std::numeric_limits<double>::quiet_NaN());

bool IsGap(const QCPGraphData &point)
{
    return std::isnan(point.value);
}

/// Leaves out the points within a level stretch of the line.
void AppendColumnPoint(Line &line, const QCPGraphData &point)
{
    const qsizetype size = line.size();
    if (size >= 2 && line[size - 1].value == point.value && line[size - 2].value == point.value)
        line.back() = point;
    else if (size == 0 || line.back().key != point.key)
        line.push_back(point);
}

void AppendGap(Line &line, double sample)
{
    if (!line.empty() && !IsGap(line.back()))
        line.push_back({sample, Gap.value});
}

} // namespace

Line SeriesLine(const GraphSeries &series, float GraphPoint::*member, qint32 first, qint32 last,
                int perColumn)
{
    Line line;
    if (perColumn <= 1) {
        for (qint32 sample = first; sample <= last; ++sample)
            line.push_back({static_cast<double>(sample), static_cast<double>(series.At(sample).*member)});
        return line;
    }
    for (qint64 from = first; from <= last;) {
        const qint64 next = ((from - 1) / perColumn + 1) * perColumn + 1;
        const auto end = static_cast<qint32>(std::min<qint64>(next - 1, last));
        QCPGraphData begin = Gap;
        QCPGraphData lowest = Gap;
        QCPGraphData highest = Gap;
        QCPGraphData final = Gap;
        for (auto sample = static_cast<qint32>(from); sample <= end; ++sample) {
            const float value = series.At(sample).*member;
            if (std::isnan(value))
                continue;
            final = {static_cast<double>(sample), static_cast<double>(value)};
            if (IsGap(begin))
                begin = lowest = highest = final;
            if (final.value < lowest.value)
                lowest = final;
            if (final.value > highest.value)
                highest = final;
        }
        if (IsGap(begin)) {
            AppendGap(line, static_cast<double>(from));
        } else {
            if (highest.key < lowest.key)
                std::swap(lowest, highest);
            for (const QCPGraphData &point : {begin, lowest, highest, final})
                AppendColumnPoint(line, point);
        }
        from = next;
    }
    return line;
}

Line LonePoints(const Line &line)
{
    Line lone;
    for (qsizetype i = 0; i < line.size(); ++i) {
        const bool before = i > 0 && !IsGap(line[i - 1]);
        const bool after = i + 1 < line.size() && !IsGap(line[i + 1]);
        if (!IsGap(line[i]) && !before && !after)
            lone.push_back(line[i]);
    }
    return lone;
}

std::vector<double> InvalidSamples(const GraphSeries &series, qint32 first, qint32 last, int perColumn)
{
    std::vector<double> samples;
    qint64 column = -1;
    for (qint32 sample = first; sample <= last; ++sample) {
        if (series.At(sample).HasReading() || (sample - 1) / perColumn == column)
            continue;
        column = (sample - 1) / perColumn;
        samples.push_back(sample);
    }
    return samples;
}

Line ClippedLine(const Line &line, LineShape shape, double minimum, double maximum)
{
    Line clipped;
    clipped.reserve(line.size());
    const auto inside = [&](const QCPGraphData &p) { return p.value >= minimum && p.value <= maximum; };
    const auto crossing = [shape](const QCPGraphData &a, const QCPGraphData &b, double limit) {
        if (shape == LineShape::Steps)
            return QCPGraphData{a.key, limit};
        return QCPGraphData{a.key + (b.key - a.key) * (limit - a.value) / (b.value - a.value), limit};
    };
    for (qsizetype i = 0; i < line.size(); ++i) {
        const QCPGraphData &point = line[i];
        if (i > 0 && !IsGap(line[i - 1]) && !IsGap(point)) {
            const QCPGraphData &last = line[i - 1];
            const bool rises = point.value > last.value;
            for (const double limit : rises ? std::array{minimum, maximum} : std::array{maximum, minimum}) {
                if ((last.value < limit) != (point.value < limit) && last.value != limit &&
                    point.value != limit)
                    clipped.push_back(crossing(last, point, limit));
            }
        }
        if (inside(point))
            clipped.push_back(point);
        else if (i + 1 < line.size() || IsGap(point))
            clipped.push_back({point.key, Gap.value});
    }
    return clipped;
}

} // namespace px40
