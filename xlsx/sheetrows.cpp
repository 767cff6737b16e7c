#include "xlsx/sheetrows.h"

#include <algorithm>
#include <limits>

namespace px40 {

namespace {

constexpr int NoRow = std::numeric_limits<int>::max();
constexpr std::size_t NoNumber = std::numeric_limits<std::size_t>::max();

} // namespace

SheetRows::SheetRows(const Sheet &sheet, std::vector<CellStyle> &styles)
    : sheet_(&sheet), styles_(&styles), next_(sheet.cells.begin()), bands_(StyleBands(sheet)),
      numbers_(2 * bands_.front().styles.size(), NoNumber)
{
    if (sheet.table.texts)
        sheet.table.texts->Rewind();
}

bool SheetRows::Next()
{
    const int tableRow = NextTableRow();
    const int cellRow = next_ != sheet_->cells.end() ? next_->first : NoRow;
    const int next = std::min({tableRow, cellRow, NextSeenRow()});
    if (next == NoRow)
        return false;
    row_ = next;
    EnterBand();
    cells_.clear();
    if (tableRow == next)
        PutTable();
    if (cellRow == next) {
        PutAmong(next_->second, true, [](const auto &cell) {
            return Content{cell.first, cell.second.format, cell.second.text};
        });
        ++next_;
    }
    PutAmong(bands_[band_].seen, false, [](int column) { return Content{column, CellFormat::General, {}}; });
    return true;
}

int SheetRows::NextTableRow() const
{
    const SheetTable &table = sheet_->table;
    const int row = std::max(row_ + 1, table.row);
    return row < table.row + table.rows ? row : NoRow;
}

/// The first row behind this one where something is seen that was never set.
int SheetRows::NextSeenRow() const
{
    const auto behind =
        std::find_if(bands_.begin() + static_cast<std::ptrdiff_t>(band_), bands_.end(),
                     [this](const StyleBand &band) { return !band.seen.empty() && band.lastRow > row_; });
    return behind == bands_.end() ? NoRow : std::max(behind->firstRow, row_ + 1);
}

void SheetRows::EnterBand()
{
    const std::size_t before = band_;
    while (bands_[band_].lastRow < row_)
        ++band_;
    if (band_ != before)
        std::fill(numbers_.begin(), numbers_.end(), NoNumber);
}

std::size_t SheetRows::StyleNumber(int column, CellFormat format)
{
    const StyleBand &band = bands_[band_];
    const auto place = static_cast<std::size_t>(column - band.firstColumn);
    std::size_t unkept = NoNumber;
    const bool kept = column >= band.firstColumn && place < band.styles.size();
    std::size_t &number = kept ? numbers_[2 * place + (format == CellFormat::Text)] : unkept;
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

SheetRows::Cell SheetRows::MakeCell(const Content &content)
{
    return {content.column, StyleNumber(content.column, content.format), content.format, content.text};
}

void SheetRows::PutTable()
{
    const SheetTable &table = sheet_->table;
    int column = table.column;
    std::size_t place = 0;
    for (const std::string_view text : table.texts->Next())
        cells_.push_back(MakeCell({column++, table.formats[place++], text}));
}

/// Puts cells, which come by column, where they belong; those that are there stay unless it replaces them.
template <typename Range, typename ToContent>
void SheetRows::PutAmong(const Range &range, bool replaces, const ToContent &toContent)
{
    auto at = cells_.begin();
    for (const auto &one : range) {
        const Content content = toContent(one);
        while (at != cells_.end() && at->column < content.column)
            ++at;
        if (at == cells_.end() || at->column != content.column)
            at = cells_.insert(at, MakeCell(content));
        else if (replaces)
            *at = MakeCell(content);
    }
}

} // namespace px40
