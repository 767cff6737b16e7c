#include "forward/forwardsteps.h"

#include "forward/sheetlayout.h"
#include "forward/sheetsource.h"

#include <utility>

namespace px40 {

ForwardSteps::ForwardSteps(Kind kind, Spreadsheet &target, const SheetSource &source, std::string workbook)
    : kind_(kind), target_(&target), source_(&source), workbook_(std::move(workbook))
{
}

/// Gives `Busy`, so that the call is repeated later, when the spreadsheet is too busy for it.
template <typename Call>
SheetStep ForwardSteps::Attempt(const Call &call)
{
    if (isCalling_)
        return SheetStep::Busy;
    isCalling_ = true;
    const struct End
    {
        ~End() { isCalling = false; }
        bool &isCalling;
    } end{isCalling_};
    try {
        return call();
    } catch (const SpreadsheetError &error) {
        if (!error.busy)
            throw;
        return SheetStep::Busy;
    }
}

/// Keeps the user out of the spreadsheet, or gives it back.
void ForwardSteps::Hold(bool held)
{
    if (kind_ == Kind::Whole)
        target_->SetVisible(!held);
    else
        target_->SetInteractive(!held);
}

SheetStep ForwardSteps::Make()
{
    const int samples = kind_ == Kind::Whole ? rows_ - 1 : rows_;
    switch (stage_) {
    case Stage::Attach:
        return target_->Attach();
    case Stage::Hold:
        Hold(true);
        break;
    case Stage::Open:
        return target_->OpenOrAdd(workbook_);
    case Stage::Frame:
        WriteFrameAndStatistics(*target_, *source_, samples);
        break;
    case Stage::Chart:
        WriteChart(*target_, *source_, samples);
        break;
    case Stage::Release:
        Hold(false);
        break;
    case Stage::Rows:
    case Stage::Done:
        break;
    }
    return SheetStep::Done;
}

/// One step on the way to that stage.
SheetStep ForwardSteps::GoTowards(Stage last)
{
    if (stage_ == last)
        return SheetStep::Done;
    const SheetStep made = Attempt([this] { return Make(); });
    if (made != SheetStep::Done)
        return made;
    stage_ = static_cast<Stage>(static_cast<int>(stage_) + 1);
    return stage_ == last ? SheetStep::Done : SheetStep::Again;
}

SheetStep ForwardSteps::Begin()
{
    return GoTowards(Stage::Rows);
}

SheetStep ForwardSteps::WriteRow()
{
    return Attempt([this] {
        if (kind_ == Kind::Whole)
            WriteTableRow(*target_, *source_, rows_);
        else
            WriteRunningRow(*target_, *source_, rows_ + 1);
        ++rows_;
        return SheetStep::Done;
    });
}

SheetStep ForwardSteps::Next(int rows)
{
    const bool begins = stage_ < Stage::Rows;
    if (begins || (stage_ == Stage::Rows && rows_ < rows)) {
        const SheetStep made = begins ? Begin() : WriteRow();
        return made == SheetStep::Done ? SheetStep::Again : made;
    }
    if (stage_ == Stage::Rows)
        stage_ = rows_ > 0 ? Stage::Frame : Stage::Release;
    // With a whole data set the owner gives the spreadsheet back, so that it is shown after a failure, too.
    return GoTowards(kind_ == Kind::Whole ? Stage::Release : Stage::Done);
}

SheetStep ForwardSteps::GiveBack()
{
    if (stage_ == Stage::Attach || stage_ == Stage::Done)
        return SheetStep::Done;
    try {
        const SheetStep given = Attempt([this] {
            Hold(false);
            return SheetStep::Done;
        });
        if (given == SheetStep::Busy)
            return given;
    } catch (const SpreadsheetError &) { // nobody can do anything about it
    }
    stage_ = Stage::Done;
    return SheetStep::Done;
}

} // namespace px40
