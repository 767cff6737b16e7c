#pragma once

#include "xlsx/sheet.h"

#include <stdexcept>
#include <string>
#include <string_view>

namespace px40 {

/// How a step towards a sheet ended.
enum class SheetStep {
    Done,
    Again, ///< more of the same is left: the same call once more, at once
    Busy,  ///< the spreadsheet cannot just now: the same call once more, a little later
};

/// A call that a spreadsheet refused; `what` says why in UTF-8, in its own words.
struct SpreadsheetError : std::runtime_error
{
    SpreadsheetError(const std::string &text, bool isBusy) : std::runtime_error(text), busy(isBusy) {}

    bool busy; ///< it cannot just now, as with `SheetStep::Busy`
};

/// What a sheet is laid out on. Texts are UTF-8.
class SheetTarget
{
  public:
    virtual ~SheetTarget() = default;

    /// Format first, then value; an empty text leaves an empty cell.
    virtual void SetCell(int row, int column, CellFormat format, std::string_view text) = 0;

    /// A later call wins where two lay claim to the same line; neighbouring cells share the line between
    /// them.
    virtual void SetBorder(const CellRange &range, Edge edge, BorderWeight weight) = 0;

    virtual void Centre(const CellRange &range) = 0;
    virtual void Activate(int row, int column) = 0;
    virtual void AddChart(const SheetChart &chart) = 0;
};

/// A spreadsheet program that is driven from here.
///
/// Each call ends at once, or throws `SpreadsheetError`. After `Again` or busy the same call is made once
/// more, and goes on where it stood. The order of the calls is the caller's: attach, open or add, then what
/// goes onto the sheet.
class Spreadsheet : public SheetTarget
{
  public:
    /// Gets hold of the program.
    virtual SheetStep Attach() = 0;

    /// Makes the sheet: the first one of a new workbook if `workbook` is empty, else one after the last of
    /// the workbook of that full path, which is opened unless it is open.
    virtual SheetStep OpenOrAdd(const std::string &workbook) = 0;

    virtual void SetVisible(bool visible) = 0;

    /// Whether the user may work in the spreadsheet meanwhile.
    virtual void SetInteractive(bool interactive) = 0;
};

} // namespace px40
