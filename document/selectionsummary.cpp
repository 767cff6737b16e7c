#include "document/selectionsummary.h"

#include "document/dataset.h"
#include "resources/strings.h"

#include <QItemSelection>

#include <algorithm>

namespace px40 {

namespace {

/// Of the valid readings in these rows.
Statistics StatisticsOf(const GraphSeries &series, const std::vector<RowRange> &rows)
{
    Statistics statistics;
    for (const RowRange &range : rows) {
        for (qint32 sample = range.first + 1; sample <= range.last + 1; ++sample) {
            const GraphPoint &point = series.At(sample);
            if (point.HasReading())
                statistics.Add(point.reading, sample);
        }
    }
    return statistics;
}

} // namespace

std::vector<RowRange> SelectedRows(const QItemSelection &selection, int last)
{
    std::vector<RowRange> all;
    for (const QItemSelectionRange &range : selection) {
        if (range.top() <= last)
            all.push_back({range.top(), std::min(range.bottom(), last)});
    }
    std::sort(all.begin(), all.end(), [](const RowRange &a, const RowRange &b) { return a.first < b.first; });
    std::vector<RowRange> rows;
    for (const RowRange &range : all) {
        if (!rows.empty() && range.first <= rows.back().last + 1)
            rows.back().last = std::max(rows.back().last, range.last);
        else
            rows.push_back(range);
    }
    return rows;
}

QString SelectionText(const DataSet &set, const QItemSelection &selection)
{
    const std::vector<RowRange> rows = SelectedRows(selection, set.GetDatacount() - 1);
    qint64 count = 0;
    for (const RowRange &range : rows)
        count += range.last - range.first + 1;
    if (count < 2)
        return {};
    const Statistics statistics = StatisticsOf(set.Graph().Series(), rows);
    QStringList parts{Text(Str::SelectionRows).arg(count).arg(statistics.validCount)};
    const auto add = [&parts](Str name, const QString &value) { parts << Text(name) + u' ' + value; };
    if (statistics.validCount > 0) {
        add(Str::StatisticMin, set.Table().Cell(statistics.minRow, 2).trimmed());
        add(Str::StatisticMax, set.Table().Cell(statistics.maxRow, 2).trimmed());
        add(Str::StatisticAvg, statistics.AverageText());
    }
    constexpr int Digits = 4;
    if (const std::optional<double> deviation = statistics.Deviation())
        add(Str::StatisticDeviation, QString::number(*deviation, 'g', Digits));
    return parts.join(QStringLiteral("   "));
}

} // namespace px40
