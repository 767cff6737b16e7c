#pragma once

#include <QString>

#include <vector>

class QItemSelection;

namespace px40 {

class DataSet;

/// Rows of a table, 0-based, both included.
struct RowRange
{
    int first;
    int last;

    bool operator==(const RowRange &) const = default;
};

/// The rows up to `last` of which a cell is selected: in order, each once, in as few ranges as there are.
std::vector<RowRange> SelectedRows(const QItemSelection &selection, int last);

/// Rows, readings, minimum, maximum, average and deviation of a selection, as the status bar tells them.
/// Empty for fewer than two rows: one is no selection, since one cell is always marked.
QString SelectionText(const DataSet &set, const QItemSelection &selection);

} // namespace px40
