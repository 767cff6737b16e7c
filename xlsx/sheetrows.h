#pragma once

#include "xlsx/cellstyles.h"

#include <map>
#include <string_view>
#include <vector>

namespace px40 {

/// Goes through the rows of a sheet that have a cell or a line, with all their cells in order.
class SheetRows
{
  public:
    /// `styles` are added to as cells with other looks come; it and the sheet must outlive this. From here on
    /// it has the rows of the sheet's table for itself.
    SheetRows(const Sheet &sheet, std::vector<CellStyle> &styles);

    struct Cell
    {
        int column;
        std::size_t style; ///< index in the styles
        CellFormat format;
        std::string_view text;
    };

    /// Goes to the next row, which is the first one at the first call. False at the end.
    bool Next();

    /// The row's number and its cells, which hold until the next call.
    int Row() const { return row_; }
    const std::vector<Cell> &Cells() const { return cells_; }

  private:
    struct KnownStyle
    {
        int column;
        CellFormat format;
        std::size_t number;
    };
    int NextTableRow() const;
    std::size_t StyleNumber(int column, CellFormat format);
    Cell MakeCell(int column, CellFormat format, std::string_view text);
    void AppendTableCells();
    void InsertCell(int column, CellFormat format, std::string_view text, bool replaces);

    const Sheet *sheet_;
    std::vector<CellStyle> *styles_;
    std::map<int, std::map<int, SheetCell>>::const_iterator next_; ///< of the single cells
    CellStyles looks_;
    // While one row looks like the other:
    std::vector<int> seen_;
    std::vector<KnownStyle> known_;
    int row_ = 0;
    std::vector<Cell> cells_;
};

} // namespace px40
