#pragma once

#include "xlsx/sheet.h"

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

/// Rows that look alike. Cells in columns beyond are plain.
struct StyleBand
{
    int firstRow = 1;
    int lastRow = 1;
    int firstColumn = 1;
    std::vector<CellStyle> styles; ///< from `firstColumn` on, but for the number format
    std::vector<int> seen;         ///< columns with a line or so even where nothing was ever set

    const CellStyle &At(int column) const;
};

/// All rows of a sheet from the first one on, the last band without an end.
std::vector<StyleBand> StyleBands(const Sheet &sheet);

/// The same cells with the first corner above and to the left of the last.
CellRange InOrder(const CellRange &range);

} // namespace px40
