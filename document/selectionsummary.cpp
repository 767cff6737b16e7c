#include "document/selectionsummary.h"

#include "document/dataset.h"
#include "resources/strings.h"

#include <QItemSelection>

#include <algorithm>

namespace px40 {

std::vector<int> SelectedRows(const QItemSelection &selection, int last)
{
    std::vector<int> rows;
    for (const QItemSelectionRange &range : selection) {
        for (int row = range.top(); row <= std::min(range.bottom(), last); ++row)
            rows.push_back(row);
    }
    std::sort(rows.begin(), rows.end());
    rows.erase(std::unique(rows.begin(), rows.end()), rows.end());
    return rows;
}

QString SelectionText(const DataSet &set, const QItemSelection &selection)
{
    const std::vector<int> rows = SelectedRows(selection, set.GetDatacount() - 1);
    if (rows.size() < 2)
        return {};
    Statistics statistics; // of the valid readings in these rows
    for (const int row : rows) {
        if (const GraphPoint &point = set.Graph().Series().At(row + 1); point.HasReading())
            statistics.Add(point.reading, row + 1);
    }
    QStringList parts{Text(Str::SelectionRows).arg(rows.size()).arg(statistics.validCount)};
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
