#pragma once

#include "forward/sheettarget.h"

#include <string>

namespace px40 {

class SheetSource;

/// Forwards a data set to a spreadsheet program step by step, so that its owner can let the program live,
/// look for a cancel and wait between the steps. The sheet is begun, gets its rows, and is ended; each of
/// these calls is made again after `Again` or `Busy`, and throws `SpreadsheetError` when it failed. Knows no
/// window and no clock.
///
/// The target may handle messages within a call, as automation does while it waits. What they lead to gets
/// `Busy` here. Target and source must outlive this, and this its call.
class ForwardSteps
{
  public:
    enum class Kind {
        Whole,   ///< a finished data set, in a spreadsheet that is hidden meanwhile
        Growing, ///< rows as they come, in a spreadsheet that the user watches but cannot work in
    };

    /// `workbook`: full path of the workbook that gets the sheet; empty for a new one.
    ForwardSteps(Kind kind, Spreadsheet &target, const SheetSource &source, std::string workbook);

    /// Attaches and makes the sheet.
    SheetStep Begin();

    /// Writes the next row. The heading is the first one of a whole data set; in one that grows it comes
    /// together with the first reading.
    SheetStep WriteRow();

    /// Rows written so far.
    int Rows() const { return rows_; }

    /// The next step towards a finished sheet of `rows` rows. A growing sheet gets its frame, statistics and
    /// chart only if it has a row; after that the user has the spreadsheet back.
    SheetStep Next(int rows);

    /// The spreadsheet is the user's again, whatever happened. Only `Busy` matters.
    SheetStep GiveBack();

    /// A call is under way.
    bool IsCalling() const { return isCalling_; }

  private:
    enum class Stage { Attach, Hold, Open, Rows, Frame, Chart, Release, Done };
    template <typename Call>
    SheetStep Attempt(const Call &call);
    SheetStep Make();
    SheetStep GoTowards(Stage last);
    void Hold(bool held);

    Kind kind_;
    Spreadsheet *target_;
    const SheetSource *source_;
    std::string workbook_;
    Stage stage_ = Stage::Attach;
    int rows_ = 0;
    bool isCalling_ = false;
};

} // namespace px40
