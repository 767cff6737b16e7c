#include "forward/forwardsteps.h"

#include "forward/sheetlayout.h"
#include "forward/sheetsource.h"

#include <utility>

namespace px40 {

WholeForward::WholeForward(SheetTarget &target, const SheetSource &source, std::string workbook)
    : target_(&target), source_(&source), workbook_(std::move(workbook))
{
}

SheetStep WholeForward::Make()
{
    switch (stage_) {
    case Stage::Attach:
        return target_->Attach();
    case Stage::Hide:
        return target_->SetVisible(false);
    case Stage::Open:
        return target_->OpenOrAdd(workbook_);
    case Stage::Table:
        return WriteTableRow(*target_, *source_, rows_);
    case Stage::Frame:
        return WriteFrameAndStatistics(*target_, *source_, source_->Samples());
    case Stage::Chart:
        return WriteChart(*target_, *source_, source_->Samples());
    case Stage::Done:
        break;
    }
    return SheetStep::Done;
}

SheetStep WholeForward::Next()
{
    const SheetStep made = Make();
    if (made != SheetStep::Done || stage_ == Stage::Done)
        return made;
    if (stage_ == Stage::Table && ++rows_ <= source_->Samples())
        return SheetStep::Again;
    stage_ = static_cast<Stage>(static_cast<int>(stage_) + 1);
    return stage_ == Stage::Done ? SheetStep::Done : SheetStep::Again;
}

SheetStep WholeForward::End()
{
    return stage_ == Stage::Attach ? SheetStep::Done : target_->SetVisible(true);
}

RunningForward::RunningForward(SheetTarget &target, const SheetSource &source, std::string workbook)
    : target_(&target), source_(&source), workbook_(std::move(workbook))
{
}

SheetStep RunningForward::Begin()
{
    SheetStep made = SheetStep::Done;
    switch (stage_) {
    case Stage::Attach:
        made = target_->Attach();
        break;
    case Stage::Hold:
        made = target_->SetInteractive(false);
        break;
    case Stage::Open:
        made = target_->OpenOrAdd(workbook_);
        break;
    default:
        return SheetStep::Done;
    }
    if (made != SheetStep::Done)
        return made;
    stage_ = static_cast<Stage>(static_cast<int>(stage_) + 1);
    return stage_ == Stage::Rows ? SheetStep::Done : SheetStep::Again;
}

SheetStep RunningForward::WriteRow()
{
    const SheetStep made = WriteRunningRow(*target_, *source_, rows_ + 1);
    if (made == SheetStep::Done)
        ++rows_;
    return made;
}

SheetStep RunningForward::End()
{
    if (stage_ == Stage::Rows)
        stage_ = rows_ > 0 ? Stage::Frame : Stage::Release;
    SheetStep made = SheetStep::Done;
    if (stage_ == Stage::Frame)
        made = WriteFrameAndStatistics(*target_, *source_, rows_);
    else if (stage_ == Stage::Chart)
        made = WriteChart(*target_, *source_, rows_);
    else if (stage_ == Stage::Release)
        made = target_->SetInteractive(true);
    if (made != SheetStep::Done || stage_ == Stage::Done)
        return made;
    stage_ = static_cast<Stage>(static_cast<int>(stage_) + 1);
    return stage_ == Stage::Done ? SheetStep::Done : SheetStep::Again;
}

SheetStep RunningForward::GiveBack()
{
    if (stage_ == Stage::Attach || stage_ == Stage::Done)
        return SheetStep::Done;
    const SheetStep made = target_->SetInteractive(true);
    if (made != SheetStep::Busy)
        stage_ = Stage::Done;
    return made;
}

} // namespace px40
