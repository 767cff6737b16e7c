#include "xlsx/sheetrows.h"

#include <algorithm>
#include <limits>

namespace px40 {

namespace {

constexpr int NoRow = std::numeric_limits<int>::max();

} // namespace

SheetRows::SheetRows(const Sheet &sheet, std::vector<CellStyle> &styles)
    : sheet_(&sheet), styles_(&styles), next_(sheet.cells.begin()), looks_(sheet)
{
    if (sheet.table.texts)
        sheet.table.texts->Rewind();
}

bool SheetRows::Next()
{
    cells_.clear();
    while (cells_.empty()) {
        const int tableRow = NextTableRow();
        const int cellRow = next_ != sheet_->cells.end() ? next_->first : NoRow;
        const int next = std::min({tableRow, cellRow, looks_.NextSeenRow(row_)});
        if (next == NoRow)
            return false;
        if (!looks_.LookAlike(row_, next)) {
            seen_ = looks_.SeenColumns(next);
            known_.clear();
        }
        row_ = next;
        if (tableRow == next)
            AppendTableCells();
        if (cellRow == next) {
            for (const auto &[column, cell] : next_->second)
                InsertCell(column, cell.format, cell.text, true);
            ++next_;
        }
        for (const int column : seen_)
            InsertCell(column, CellFormat::General, {}, false);
    }
    return true;
}

int SheetRows::NextTableRow() const
{
    const SheetTable &table = sheet_->table;
    const int row = std::max(row_ + 1, table.row);
    return row < table.row + table.rows ? row : NoRow;
}

std::size_t SheetRows::StyleNumber(int column, CellFormat format)
{
    const auto known = std::find_if(known_.begin(), known_.end(), [=](const KnownStyle &one) {
        return one.column == column && one.format == format;
    });
    if (known != known_.end())
        return known->number;
    CellStyle style = looks_.At(row_, column);
    style.format = format;
    const auto found = std::find(styles_->begin(), styles_->end(), style);
    const auto number = static_cast<std::size_t>(found - styles_->begin());
    if (found == styles_->end())
        styles_->push_back(style);
    known_.push_back({column, format, number});
    return number;
}

SheetRows::Cell SheetRows::MakeCell(int column, CellFormat format, std::string_view text)
{
    return {column, StyleNumber(column, format), format, text};
}

void SheetRows::AppendTableCells()
{
    const SheetTable &table = sheet_->table;
    const std::span<const std::string_view> texts = table.texts->Next();
    int place = table.column;
    for (const SheetTable::Column &column : table.columns)
        cells_.push_back(MakeCell(place++, column.format, texts[column.text]));
}

/// Inserts a cell in the order of columns. One that is there already stays unless `replaces`.
void SheetRows::InsertCell(int column, CellFormat format, std::string_view text, bool replaces)
{
    const auto at = std::find_if(cells_.begin(), cells_.end(),
                                 [column](const Cell &cell) { return cell.column >= column; });
    if (at == cells_.end() || at->column != column)
        cells_.insert(at, MakeCell(column, format, text));
    else if (replaces)
        *at = MakeCell(column, format, text);
}

} // namespace px40
