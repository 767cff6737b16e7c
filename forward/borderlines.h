#pragma once

#include "forward/cellstyle.h"

#include <vector>

namespace px40 {

/// The lines of a sheet and what is centred on it, as they were asked for range by range. Neighbouring cells
/// share the line between them, and the later call has it.
class BorderLines
{
  public:
    void SetBorder(const CellRange &range, Edge edge, BorderWeight weight);
    void Centre(const CellRange &range);

    /// Rows that look alike. Cells in columns beyond are plain.
    struct Band
    {
        int firstRow = 1;
        int lastRow = 1;
        int firstColumn = 1;
        std::vector<CellStyle> looks; ///< from `firstColumn` on, but for the number format
        std::vector<int> seen;        ///< columns with a line or so even where nothing was ever set

        const CellStyle &At(int column) const;
    };

    /// All rows from the first one on, the last band without an end.
    std::vector<Band> Bands() const;

  private:
    /// Lines above the cells of a range, or to the left of them.
    struct Lines
    {
        bool above;
        CellRange cells;
        Line line;
    };
    Line LineAt(bool above, int row, int column) const;
    CellStyle LookAt(int row, int column) const;

    std::vector<Lines> lines_;
    std::vector<CellRange> centred_;
    std::vector<CellRange> ranges_; ///< all that were named, their corners in order
};

/// The same cells with the first corner above and to the left of the last.
CellRange InOrder(const CellRange &range);

} // namespace px40
