#pragma once

#include <cstddef>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace px40 {

// What a worksheet holds. Texts are UTF-8; rows and columns are 1-based: B4 is row 4, column 2.

enum class CellFormat {
    Text,    ///< number format "@": the text as it is, whatever it looks like
    General, ///< number format "General": a plain decimal number becomes a number
};

struct SheetCell
{
    CellFormat format = CellFormat::General;
    std::string text; ///< empty for an empty cell
};

/// The corners may stand in any order, as in "B5:F4"; a spreadsheet puts them in order.
struct CellRange
{
    int firstRow = 1;
    int firstColumn = 1;
    int lastRow = 1;
    int lastColumn = 1;
};

/// "AB" for 28.
std::string ColumnLetters(int column);

/// "B5:F4", with the corners as given.
std::string RangeName(const CellRange &range);

/// Borders of a range, by their numbers in the automation interface of the spreadsheet.
enum class Edge : int {
    Left = 7,
    Top = 8,
    Bottom = 9,
    Right = 10,
    InsideVertical = 11,
    InsideHorizontal = 12,
};

enum class BorderWeight : int {
    Thin = 2,
    Medium = -4138,
};

struct SheetBorder
{
    CellRange range;
    Edge edge = Edge::Left;
    BorderWeight weight = BorderWeight::Thin;
};

/// A line chart without markers and without a legend, its series in the columns of `source`, of which the
/// first gives the category labels; major gridlines on both axes.
struct SheetChart
{
    CellRange source;
    int row = 1; ///< the chart's top left corner is that of this cell
    int column = 1;
    int width = 0; ///< in points
    int height = 0;
    std::string title; ///< may be empty
};

/// The texts of a table, row by row. Used by one thread at a time.
class TableRows
{
  public:
    virtual ~TableRows() = default;

    /// Back to the first row.
    virtual void Rewind() = 0;

    /// The texts of the next row, the first one after `Rewind`. They hold until the next call; each time the
    /// same texts come. Not called after the last row.
    virtual std::span<const std::string_view> Next() = 0;
};

/// Many rows of cells, which are read where they lie.
struct SheetTable
{
    struct Column
    {
        CellFormat format = CellFormat::Text;
        std::size_t text = 0; ///< which of a row's texts
    };

    int row = 1; ///< its top left corner
    int column = 1;
    int rows = 0;
    std::vector<Column> columns;
    std::shared_ptr<TableRows> texts; ///< may be null without rows
};

struct Sheet
{
    std::string title; ///< what the sheet is called, as far as a sheet can be; empty: "PX40 1", "PX40 2", ...
    SheetTable table;
    std::map<int, std::map<int, SheetCell>> cells; ///< by row and column; they replace those of the table
    /// Neighbouring cells share the line between them, and the later of two borders has it.
    std::vector<SheetBorder> borders;
    std::vector<CellRange> centred;
    int activeRow = 1;
    int activeColumn = 1;
    std::optional<SheetChart> chart;
};

} // namespace px40
