#include "forward/borderlines.h"

#include <algorithm>
#include <iterator>
#include <limits>
#include <set>

namespace px40 {

namespace {

bool Contains(const CellRange &range, int row, int column)
{
    return row >= range.firstRow && row <= range.lastRow && column >= range.firstColumn &&
           column <= range.lastColumn;
}

bool ContainAny(const std::vector<CellRange> &ranges, int row, int column)
{
    return std::any_of(ranges.begin(), ranges.end(),
                       [=](const CellRange &range) { return Contains(range, row, column); });
}

} // namespace

CellRange InOrder(const CellRange &range)
{
    const auto [top, bottom] = std::minmax(range.firstRow, range.lastRow);
    const auto [left, right] = std::minmax(range.firstColumn, range.lastColumn);
    return {top, left, bottom, right};
}

const CellStyle &BorderLines::Band::At(int column) const
{
    static const CellStyle plain;
    const int index = column - firstColumn;
    return index < 0 || index >= static_cast<int>(looks.size()) ? plain
                                                                : looks[static_cast<std::size_t>(index)];
}

void BorderLines::SetBorder(const CellRange &range, Edge edge, BorderWeight weight)
{
    const CellRange all = InOrder(range);
    ranges_.push_back(all);
    CellRange cells = all;
    switch (edge) {
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
    const bool above = edge == Edge::Top || edge == Edge::Bottom || edge == Edge::InsideHorizontal;
    lines_.push_back({above, cells, weight == BorderWeight::Medium ? Line::Medium : Line::Thin});
}

void BorderLines::Centre(const CellRange &range)
{
    ranges_.push_back(InOrder(range));
    centred_.push_back(ranges_.back());
}

Line BorderLines::LineAt(bool above, int row, int column) const
{
    const auto last = std::find_if(lines_.rbegin(), lines_.rend(), [=](const Lines &lines) {
        return lines.above == above && Contains(lines.cells, row, column);
    });
    return last == lines_.rend() ? Line::None : last->line;
}

CellStyle BorderLines::LookAt(int row, int column) const
{
    CellStyle look;
    look.left = LineAt(false, row, column);
    look.right = LineAt(false, row, column + 1);
    look.top = LineAt(true, row, column);
    look.bottom = LineAt(true, row + 1, column);
    look.centred = ContainAny(centred_, row, column);
    return look;
}

std::vector<BorderLines::Band> BorderLines::Bands() const
{
    std::set<int> starts = {1};
    int firstColumn = 1;
    int lastColumn = 0;
    for (const CellRange &range : ranges_) {
        // Beside a range, above and below it, cells have its outer line.
        for (const int row : {range.firstRow - 1, range.firstRow, range.firstRow + 1, range.lastRow,
                              range.lastRow + 1, range.lastRow + 2})
            starts.insert(std::max(row, 1));
        const int left = std::max(range.firstColumn - 1, 1);
        firstColumn = lastColumn == 0 ? left : std::min(firstColumn, left);
        lastColumn = std::max(lastColumn, range.lastColumn + 1);
    }
    std::vector<Band> bands;
    for (auto start = starts.begin(); start != starts.end(); ++start) {
        const auto next = std::next(start);
        const int row = *start;
        Band band{
            row, next == starts.end() ? std::numeric_limits<int>::max() : *next - 1, firstColumn, {}, {}};
        for (int column = firstColumn; column <= lastColumn; ++column) {
            band.looks.push_back(LookAt(row, column));
            if (band.looks.back() != CellStyle{} && ContainAny(ranges_, row, column))
                band.seen.push_back(column);
        }
        bands.push_back(std::move(band));
    }
    return bands;
}

} // namespace px40
