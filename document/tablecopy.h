#pragma once

#include <QByteArray>
#include <QString>

class QItemSelection;

namespace px40 {

class TableModel;

/// The selected cells of a data set's table as text that pastes into a spreadsheet: a line of headings, then
/// a line for each row that holds a sample, tabs between the columns. Columns of which nothing is selected
/// are left out; a cell that is not selected is empty.
QString TableText(const TableModel &table, const QItemSelection &selection);

/// The same table as `text`, which `TableText` has made, as HTML (UTF-8) in which each cell tells
/// spreadsheets what it is: a number whatever decimal sign the user's language has, or a text, whatever it
/// looks like. Times are left to the spreadsheet, as if they were typed.
QByteArray TableHtml(QStringView text);

} // namespace px40
