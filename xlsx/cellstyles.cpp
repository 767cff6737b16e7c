#include "xlsx/cellstyles.h"

#include <algorithm>
#include <limits>

namespace px40 {

namespace {

bool Contains(const CellRange &range, int row, int column)
{
    return row >= range.firstRow && row <= range.lastRow && column >= range.firstColumn &&
           column <= range.lastColumn;
}

} // namespace

CellRange InOrder(const CellRange &range)
{
    const auto [top, bottom] = std::minmax(range.firstRow, range.lastRow);
    const auto [left, right] = std::minmax(range.firstColumn, range.lastColumn);
    return {top, left, bottom, right};
}

CellStyles::CellStyles(const Sheet &sheet)
{
    for (const SheetBorder &border : sheet.borders) {
        ranges_.push_back(InOrder(border.range));
        lines_.push_back(LinesOf(border));
    }
    for (const CellRange &range : sheet.centred) {
        ranges_.push_back(InOrder(range));
        centred_.push_back(ranges_.back());
    }
    for (const CellRange &range : ranges_) {
        // The cells above and below a range share its outer lines.
        for (const int row : {range.firstRow - 1, range.firstRow, range.firstRow + 1, range.lastRow,
                              range.lastRow + 1, range.lastRow + 2})
            changes_.insert(row);
    }
}

CellStyles::Lines CellStyles::LinesOf(const SheetBorder &border)
{
    const CellRange all = InOrder(border.range);
    CellRange cells = all;
    switch (border.edge) {
    case Edge::Left:
        cells.lastColumn = all.firstColumn;
        break;
    case Edge::Right:
        cells.firstColumn = cells.lastColumn = all.lastColumn + 1;
        break;
    case Edge::Top:
        cells.lastRow = all.firstRow;
        break;
    case Edge::Bottom:
        cells.firstRow = cells.lastRow = all.lastRow + 1;
        break;
    case Edge::InsideVertical:
        ++cells.firstColumn;
        break;
    case Edge::InsideHorizontal:
        ++cells.firstRow;
        break;
    }
    const bool above =
        border.edge == Edge::Top || border.edge == Edge::Bottom || border.edge == Edge::InsideHorizontal;
    return {above, cells, border.weight == BorderWeight::Medium ? Line::Medium : Line::Thin};
}

Line CellStyles::LineAt(bool above, int row, int column) const
{
    const auto last = std::find_if(lines_.rbegin(), lines_.rend(), [=](const Lines &lines) {
        return lines.above == above && Contains(lines.cells, row, column);
    });
    return last == lines_.rend() ? Line::None : last->line;
}

CellStyle CellStyles::At(int row, int column) const
{
    CellStyle style;
    style.left = LineAt(false, row, column);
    style.right = LineAt(false, row, column + 1);
    style.top = LineAt(true, row, column);
    style.bottom = LineAt(true, row + 1, column);
    style.centred = std::any_of(centred_.begin(), centred_.end(),
                                [=](const CellRange &range) { return Contains(range, row, column); });
    return style;
}

bool CellStyles::LookAlike(int row, int last) const
{
    const auto change = changes_.upper_bound(row);
    return change == changes_.end() || *change > last;
}

std::vector<int> CellStyles::SeenColumns(int row) const
{
    std::set<int> columns;
    for (const CellRange &range : ranges_) {
        for (int column = range.firstColumn; column <= range.lastColumn; ++column) {
            if (Contains(range, row, column) && At(row, column) != CellStyle{})
                columns.insert(column);
        }
    }
    return {columns.begin(), columns.end()};
}

int CellStyles::NextSeenRow(int row) const
{
    int next = std::numeric_limits<int>::max();
    for (const CellRange &range : ranges_) {
        if (range.lastRow > row)
            next = std::min(next, std::max(range.firstRow, row + 1));
    }
    return next;
}

} // namespace px40
