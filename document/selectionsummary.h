#pragma once

#include <QString>

#include <vector>

class QItemSelection;

namespace px40 {

class DataSet;

/// The rows up to `last` of which a cell is selected, 0-based: in order, each once.
std::vector<int> SelectedRows(const QItemSelection &selection, int last);

/// Rows, readings, minimum, maximum, average and deviation of a selection, as the status bar tells them.
/// Empty for fewer than two rows: one is no selection, since one cell is always marked.
QString SelectionText(const DataSet &set, const QItemSelection &selection);

} // namespace px40
