#pragma once

#include "forward/borderlines.h"
#include "forward/rowspool.h"

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace px40 {

/// What `SheetContent` holds.
struct SheetParts
{
    struct LateCell
    {
        CellFormat format = CellFormat::General;
        CellKind kind = CellKind::Empty;
        std::string value;
    };

    RowSpool spool;
    /// By row, then column: cells set when their row was closed already. They replace what stands there.
    std::map<int, std::map<int, LateCell>> late;
    BorderLines lines;
    std::string value; ///< for making one at a time
    int activeRow = 1;
    int activeColumn = 1;
    std::optional<SheetChart> chart;
};

/// Goes through the rows of a sheet, of which each has a cell or a line, with all their cells in order.
class SheetRows
{
  public:
    /// `styles` are added to as cells with other looks come; both must outlive this.
    SheetRows(SheetParts &parts, std::vector<CellStyle> &styles);

    struct Cell
    {
        int column;
        std::size_t style; ///< index in the styles
        CellKind kind;
        std::string_view value;
    };

    /// Goes to the next row, which is the first one at the first call. False at the end, or when the
    /// temporary file cannot be read.
    bool Next();
    bool Failed() const { return spooled_.Failed(); }

    /// The row's 1-based number and its cells, which hold until the next call.
    int Row() const { return row_; }
    const std::vector<Cell> &Cells() const { return cells_; }

  private:
    int NextSeenRow() const;
    void EnterBands();
    std::size_t StyleNumber(int column, CellFormat format);
    void PutSpooled();
    void PutLate();
    void PutSeen();

    SheetParts *parts_;
    std::vector<CellStyle> *styles_;
    RowReader spooled_;
    bool haveSpooled_;
    std::map<int, std::map<int, SheetParts::LateCell>>::const_iterator late_;
    std::vector<BorderLines::Band> bands_;
    std::size_t band_ = 0;
    std::vector<std::size_t> numbers_; ///< of the band's styles, by column and format, once known
    int row_ = 0;
    std::vector<Cell> cells_;
};

} // namespace px40
