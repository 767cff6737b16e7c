#pragma once

#include "forward/sheettarget.h"

#include <string>

namespace px40 {

class SheetSource;

/// Forwards a finished data set in one go, step by step, so that its owner can let the program live, look for
/// a cancel and wait between the steps. Knows no window and no clock.
///
/// Target and source must outlive this.
class WholeForward
{
  public:
    /// `workbook`: full path of the workbook that gets the sheet; empty for a new one.
    WholeForward(Spreadsheet &target, const SheetSource &source, std::string workbook);

    /// The next step. `Again` until the last one was made, which gives `Done`. Throws `SpreadsheetError` when
    /// it failed.
    SheetStep Next();

    /// Table rows written so far, the heading counted.
    int RowsWritten() const { return rows_; }

    /// After the last step, a failure or a cancel: shows the spreadsheet again. Only `Busy` matters.
    SheetStep End();

  private:
    enum class Stage { Attach, Hide, Open, Table, Frame, Chart, Done };
    SheetStep Make();

    Spreadsheet *target_;
    const SheetSource *source_;
    std::string workbook_;
    Stage stage_ = Stage::Attach;
    int rows_ = 0;
};

/// Forwards a data set while it grows. Begin, then rows as they come, then the end; each is called again
/// after `Again` or `Busy`. They throw `SpreadsheetError` when they failed.
///
/// Target and source must outlive this.
class RunningForward
{
  public:
    RunningForward(Spreadsheet &target, const SheetSource &source, std::string workbook);

    /// Attaches and makes the sheet. After a failure, or when it is given up, `GiveBack` is to be called.
    SheetStep Begin();

    /// Writes the next row, the first one with the heading before it.
    SheetStep WriteRow();

    /// Rows written so far.
    int Rows() const { return rows_; }

    /// Frame, statistics and chart, if there is a row, and the spreadsheet is the user's again.
    SheetStep End();

    /// The spreadsheet is the user's again, whatever happened. Only `Busy` matters.
    SheetStep GiveBack();

  private:
    enum class Stage { Attach, Hold, Open, Rows, Frame, Chart, Release, Done };
    SheetStep Make();
    SheetStep GoTowards(Stage last);

    Spreadsheet *target_;
    const SheetSource *source_;
    std::string workbook_;
    Stage stage_ = Stage::Attach;
    int rows_ = 0;
};

} // namespace px40
