#include "xlsx/cellstyles.h"

#include <algorithm>
#include <iterator>
#include <limits>
#include <set>

namespace px40 {

namespace {

/// Lines above the cells of a range, or to the left of them.
struct Lines
{
    bool above;
    CellRange cells;
    Line line;
};

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

Lines LinesOf(const SheetBorder &border)
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

/// What the borders and the centring of a sheet give each of its cells.
class Frames
{
  public:
    explicit Frames(const Sheet &sheet)
    {
        for (const SheetBorder &border : sheet.borders) {
            ranges.push_back(InOrder(border.range));
            lines_.push_back(LinesOf(border));
        }
        for (const CellRange &range : sheet.centred) {
            ranges.push_back(InOrder(range));
            centred_.push_back(ranges.back());
        }
    }

    CellStyle At(int row, int column) const
    {
        CellStyle style;
        style.left = LineAt(false, row, column);
        style.right = LineAt(false, row, column + 1);
        style.top = LineAt(true, row, column);
        style.bottom = LineAt(true, row + 1, column);
        style.centred = ContainAny(centred_, row, column);
        return style;
    }

    std::vector<CellRange> ranges; ///< all that are named

  private:
    Line LineAt(bool above, int row, int column) const
    {
        const auto last = std::find_if(lines_.rbegin(), lines_.rend(), [=](const Lines &lines) {
            return lines.above == above && Contains(lines.cells, row, column);
        });
        return last == lines_.rend() ? Line::None : last->line;
    }

    std::vector<Lines> lines_;
    std::vector<CellRange> centred_;
};

} // namespace

CellRange InOrder(const CellRange &range)
{
    const auto [top, bottom] = std::minmax(range.firstRow, range.lastRow);
    const auto [left, right] = std::minmax(range.firstColumn, range.lastColumn);
    return {top, left, bottom, right};
}

const CellStyle &StyleBand::At(int column) const
{
    static const CellStyle plain;
    const int index = column - firstColumn;
    return index < 0 || index >= static_cast<int>(styles.size()) ? plain
                                                                 : styles[static_cast<std::size_t>(index)];
}

std::vector<StyleBand> StyleBands(const Sheet &sheet)
{
    const Frames frames(sheet);
    std::set<int> starts = {1};
    int firstColumn = 1;
    int lastColumn = 0;
    for (const CellRange &range : frames.ranges) {
        // Beside a range, above and below it, cells have its outer line.
        for (const int row : {range.firstRow - 1, range.firstRow, range.firstRow + 1, range.lastRow,
                              range.lastRow + 1, range.lastRow + 2})
            starts.insert(std::max(row, 1));
        const int left = std::max(range.firstColumn - 1, 1);
        firstColumn = lastColumn == 0 ? left : std::min(firstColumn, left);
        lastColumn = std::max(lastColumn, range.lastColumn + 1);
    }
    std::vector<StyleBand> bands;
    for (auto start = starts.begin(); start != starts.end(); ++start) {
        const auto next = std::next(start);
        const int row = *start;
        StyleBand band{
            row, next == starts.end() ? std::numeric_limits<int>::max() : *next - 1, firstColumn, {}, {}};
        for (int column = firstColumn; column <= lastColumn; ++column) {
            band.styles.push_back(frames.At(row, column));
            if (band.styles.back() != CellStyle{} && ContainAny(frames.ranges, row, column))
                band.seen.push_back(column);
        }
        bands.push_back(std::move(band));
    }
    return bands;
}

} // namespace px40
