#pragma once

#include <string>
#include <string_view>

namespace px40 {

/// How a step towards a sheet ended.
enum class SheetStep {
    Done,
    Again,  ///< more of the same is left: the same call once more, at once
    Busy,   ///< the target cannot just now: the same call once more, a little later
    Failed, ///< for good; the target's `ErrorText` says why
};

enum class CellFormat {
    Text,    ///< number format "@": the text as it is, whatever it looks like
    General, ///< number format "General": a plain decimal number becomes a number
};

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

/// Rows and columns are 1-based: B4 is row 4, column 2. The corners may stand in any order, as in "B5:F4";
/// a spreadsheet puts them in order.
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

/// A line chart without markers and without a legend, its series in the columns of `source`, of which the
/// first gives the category labels; major gridlines on both axes.
struct SheetChart
{
    CellRange source;
    int row = 1; ///< the chart's top left corner is that of this cell
    int column = 1;
    int width = 0; ///< in points
    int height = 0;
    std::string title; ///< UTF-8; may be empty
};

/// What a sheet is written to: a spreadsheet program, or a workbook file.
///
/// Each call ends at once. After `Again` or `Busy` the same call is made once more, and goes on where it
/// stood; what it did is not done twice. Texts are UTF-8. The order of the calls is the caller's: attach,
/// open or add, then what goes onto the sheet, then finish.
class SheetTarget
{
  public:
    SheetTarget() = default;
    SheetTarget(const SheetTarget &) = delete;
    SheetTarget &operator=(const SheetTarget &) = delete;
    virtual ~SheetTarget() = default;

    /// Gets hold of the program or the means that write the workbook.
    virtual SheetStep Attach() = 0;

    /// Makes the sheet: the first one of a new workbook if `workbook` is empty, else one behind the last of
    /// the workbook of that full path, which is opened unless it is open.
    virtual SheetStep OpenOrAdd(const std::string &workbook) = 0;

    virtual SheetStep SetVisible(bool visible) = 0;

    /// Whether the user may work in the spreadsheet meanwhile.
    virtual SheetStep SetInteractive(bool interactive) = 0;

    /// Format first, then value; an empty text leaves an empty cell.
    virtual SheetStep SetCell(int row, int column, CellFormat format, std::string_view text) = 0;

    /// A later call wins where two lay claim to the same line; neighbouring cells share the line between
    /// them.
    virtual SheetStep SetBorder(const CellRange &range, Edge edge, BorderWeight weight) = 0;

    virtual SheetStep Centre(const CellRange &range) = 0;
    virtual SheetStep Activate(int row, int column) = 0;
    virtual SheetStep AddChart(const SheetChart &chart) = 0;

    /// Why the last call failed, in the words of whoever refused it.
    virtual std::string ErrorText() const = 0;
};

} // namespace px40
