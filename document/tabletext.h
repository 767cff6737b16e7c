#pragma once

#include <QString>

class QItemSelection;

namespace px40 {

class TableModel;

/// The selected cells of a data set's table as text that pastes into a spreadsheet: a line of headings, then
/// a line for each row that holds a sample, tabs between the columns. Columns of which nothing is selected
/// are left out; a cell that is not selected is empty.
QString TableText(const TableModel &table, const QItemSelection &selection);

} // namespace px40
