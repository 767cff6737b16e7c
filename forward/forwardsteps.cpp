#include "forward/forwardsteps.h"

#include "forward/sheetlayout.h"
#include "forward/sheetsource.h"

#include <utility>

namespace px40 {

namespace {

/// What the spreadsheet is too busy for is to be done again.
template <typename Call>
SheetStep Attempt(const Call &call)
{
    try {
        return call();
    } catch (const SpreadsheetError &error) {
        if (!error.busy)
            throw;
        return SheetStep::Busy;
    }
}

/// A call at the end, where nobody can do anything about a failure.
template <typename Call>
SheetStep AttemptLast(const Call &call)
{
    try {
        call();
    } catch (const SpreadsheetError &error) {
        return error.busy ? SheetStep::Busy : SheetStep::Done;
    }
    return SheetStep::Done;
}

} // namespace

WholeForward::WholeForward(Spreadsheet &target, const SheetSource &source, std::string workbook)
    : target_(&target), source_(&source), workbook_(std::move(workbook))
{
}

SheetStep WholeForward::Make()
{
    switch (stage_) {
    case Stage::Attach:
        return target_->Attach();
    case Stage::Hide:
        target_->SetVisible(false);
        break;
    case Stage::Open:
        return target_->OpenOrAdd(workbook_);
    case Stage::Table:
        WriteTableRow(*target_, *source_, rows_);
        break;
    case Stage::Frame:
        WriteFrameAndStatistics(*target_, *source_, source_->Samples());
        break;
    case Stage::Chart:
        WriteChart(*target_, *source_, source_->Samples());
        break;
    case Stage::Done:
        break;
    }
    return SheetStep::Done;
}

SheetStep WholeForward::Next()
{
    const SheetStep made = Attempt([this] { return Make(); });
    if (made != SheetStep::Done || stage_ == Stage::Done)
        return made;
    if (stage_ == Stage::Table && ++rows_ <= source_->Samples())
        return SheetStep::Again;
    stage_ = static_cast<Stage>(static_cast<int>(stage_) + 1);
    return stage_ == Stage::Done ? SheetStep::Done : SheetStep::Again;
}

SheetStep WholeForward::End()
{
    if (stage_ == Stage::Attach)
        return SheetStep::Done;
    return AttemptLast([this] { target_->SetVisible(true); });
}

RunningForward::RunningForward(Spreadsheet &target, const SheetSource &source, std::string workbook)
    : target_(&target), source_(&source), workbook_(std::move(workbook))
{
}

SheetStep RunningForward::Make()
{
    switch (stage_) {
    case Stage::Attach:
        return target_->Attach();
    case Stage::Hold:
        target_->SetInteractive(false);
        break;
    case Stage::Open:
        return target_->OpenOrAdd(workbook_);
    case Stage::Frame:
        WriteFrameAndStatistics(*target_, *source_, rows_);
        break;
    case Stage::Chart:
        WriteChart(*target_, *source_, rows_);
        break;
    case Stage::Release:
        target_->SetInteractive(true);
        break;
    case Stage::Rows:
    case Stage::Done:
        break;
    }
    return SheetStep::Done;
}

/// One step on the way to that stage.
SheetStep RunningForward::GoTowards(Stage last)
{
    const SheetStep made = Attempt([this] { return Make(); });
    if (made != SheetStep::Done || stage_ == last)
        return made;
    stage_ = static_cast<Stage>(static_cast<int>(stage_) + 1);
    return stage_ == last ? SheetStep::Done : SheetStep::Again;
}

SheetStep RunningForward::Begin()
{
    return GoTowards(Stage::Rows);
}

SheetStep RunningForward::WriteRow()
{
    return Attempt([this] {
        WriteRunningRow(*target_, *source_, rows_ + 1);
        ++rows_;
        return SheetStep::Done;
    });
}

SheetStep RunningForward::End()
{
    if (stage_ == Stage::Rows)
        stage_ = rows_ > 0 ? Stage::Frame : Stage::Release;
    return GoTowards(Stage::Done);
}

SheetStep RunningForward::GiveBack()
{
    if (stage_ == Stage::Attach || stage_ == Stage::Done)
        return SheetStep::Done;
    const SheetStep made = AttemptLast([this] { target_->SetInteractive(true); });
    if (made != SheetStep::Busy)
        stage_ = Stage::Done;
    return made;
}

} // namespace px40
