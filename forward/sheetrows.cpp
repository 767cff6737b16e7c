#include "forward/sheetrows.h"

#include <algorithm>
#include <limits>

namespace px40 {

namespace {

constexpr int NoRow = std::numeric_limits<int>::max();
constexpr std::size_t NoNumber = std::numeric_limits<std::size_t>::max();

} // namespace

SheetRows::SheetRows(SheetParts &parts, std::vector<CellStyle> &styles)
    : parts_(&parts), styles_(&styles), spooled_(parts.spool), haveSpooled_(spooled_.Next()),
      late_(parts.late.begin()), bands_(parts.lines.Bands()),
      numbers_(2 * bands_.front().looks.size(), NoNumber)
{
}

bool SheetRows::Next()
{
    if (haveSpooled_ && spooled_.Row() == row_)
        haveSpooled_ = spooled_.Next();
    const int nextSpooled = haveSpooled_ ? spooled_.Row() : NoRow;
    const int nextLate = late_ != parts_->late.end() ? late_->first : NoRow;
    const int next = std::min({nextSpooled, nextLate, NextSeenRow()});
    if (next == NoRow || Failed())
        return false;
    row_ = next;
    EnterBands();
    cells_.clear();
    if (nextSpooled == next)
        PutSpooled();
    if (nextLate == next)
        PutLate();
    PutSeen();
    return true;
}

/// The first row behind this one where something is seen that was never set.
int SheetRows::NextSeenRow() const
{
    const auto behind = std::find_if(
        bands_.begin() + static_cast<std::ptrdiff_t>(band_), bands_.end(),
        [this](const BorderLines::Band &band) { return !band.seen.empty() && band.lastRow > row_; });
    return behind == bands_.end() ? NoRow : std::max(behind->firstRow, row_ + 1);
}

void SheetRows::EnterBands()
{
    const std::size_t before = band_;
    while (bands_[band_].lastRow < row_)
        ++band_;
    if (band_ != before)
        std::fill(numbers_.begin(), numbers_.end(), NoNumber);
}

std::size_t SheetRows::StyleNumber(int column, CellFormat format)
{
    const BorderLines::Band &band = bands_[band_];
    const auto look = static_cast<std::size_t>(column - band.firstColumn);
    std::size_t unkept = NoNumber;
    const bool kept = column >= band.firstColumn && look < band.looks.size();
    std::size_t &number = kept ? numbers_[2 * look + (format == CellFormat::Text)] : unkept;
    if (number == NoNumber) {
        CellStyle style = band.At(column);
        style.format = format;
        const auto found = std::find(styles_->begin(), styles_->end(), style);
        number = static_cast<std::size_t>(found - styles_->begin());
        if (found == styles_->end())
            styles_->push_back(style);
    }
    return number;
}

void SheetRows::PutSpooled()
{
    for (const RowReader::Cell &cell : spooled_.Cells())
        cells_.push_back({cell.column, StyleNumber(cell.column, cell.format), cell.kind, cell.value});
}

void SheetRows::PutLate()
{
    auto at = cells_.begin();
    for (const auto &[column, late] : late_->second) {
        while (at != cells_.end() && at->column < column)
            ++at;
        const Cell cell = {column, StyleNumber(column, late.format), late.kind, late.value};
        if (at != cells_.end() && at->column == column)
            *at = cell;
        else
            at = cells_.insert(at, cell);
    }
    ++late_;
}

void SheetRows::PutSeen()
{
    auto at = cells_.begin();
    for (const int column : bands_[band_].seen) {
        while (at != cells_.end() && at->column < column)
            ++at;
        if (at == cells_.end() || at->column != column)
            at = cells_.insert(at, {column, StyleNumber(column, CellFormat::General), CellKind::Empty, {}});
    }
}

} // namespace px40
