#pragma once

#include "xlsx/sheet.h"

#include <set>
#include <vector>

namespace px40 {

enum class Line : unsigned char { None, Thin, Medium };

/// How a cell looks, with every line that it shares with its neighbours.
struct CellStyle
{
    CellFormat format = CellFormat::General;
    Line left = Line::None;
    Line right = Line::None;
    Line top = Line::None;
    Line bottom = Line::None;
    bool centred = false;

    bool operator==(const CellStyle &) const = default;
};

/// What the borders and the centring of a sheet give its cells.
class CellStyles
{
  public:
    explicit CellStyles(const Sheet &sheet);

    /// All but the number format.
    CellStyle At(int row, int column) const;

    /// Whether all rows after `row`, up to `last`, look like that one.
    bool LookAlike(int row, int last) const;

    /// The columns in which cells of a row are seen even if they were never set.
    std::vector<int> SeenColumns(int row) const;

    /// The first row after that one in which there may be such cells.
    int NextSeenRow(int row) const;

  private:
    /// Lines above the cells of a range, or to the left of them.
    struct Lines
    {
        bool above;
        CellRange cells;
        Line line;
    };
    static Lines LinesOf(const SheetBorder &border);
    Line LineAt(bool above, int row, int column) const;

    std::vector<Lines> lines_;
    std::vector<CellRange> centred_;
    std::vector<CellRange> ranges_; ///< all that are named
    std::set<int> changes_;         ///< rows that may look different from those above them
};

/// The same cells with the first corner above and to the left of the last.
CellRange InOrder(const CellRange &range);

} // namespace px40
