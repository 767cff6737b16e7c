#include "forward/sheetcontent.h"

#include "forward/sheetrows.h"
#include "resources/strings.h"

namespace px40 {

SheetContent::SheetContent() : parts_(std::make_unique<SheetParts>()) {}

SheetContent::~SheetContent() = default;

void SheetContent::SetOtherFolder(const QString &folder)
{
    parts_->spool.SetOtherFolder(folder);
}

bool SheetContent::SetCell(int row, int column, CellFormat format, std::string_view text)
{
    SheetParts &parts = *parts_;
    parts.value.clear();
    const CellKind kind = AppendCellValue(format, text, parts.value);
    if (row >= parts.spool.OpenRow())
        return parts.spool.Put(row, column, format, kind, parts.value);
    parts.late[row][column] = {format, kind, parts.value};
    return true;
}

void SheetContent::SetBorder(const CellRange &range, Edge edge, BorderWeight weight)
{
    parts_->lines.SetBorder(range, edge, weight);
}

void SheetContent::Centre(const CellRange &range)
{
    parts_->lines.Centre(range);
}

void SheetContent::Activate(int row, int column)
{
    parts_->activeRow = row;
    parts_->activeColumn = column;
}

void SheetContent::SetChart(const SheetChart &chart)
{
    parts_->chart = chart;
}

const std::optional<SheetChart> &SheetContent::Chart() const
{
    return parts_->chart;
}

std::vector<CellStyle> SheetContent::Styles()
{
    std::vector<CellStyle> styles;
    SheetRows rows(*parts_, styles);
    while (rows.Next()) {
    }
    return styles;
}

QString SheetContent::ErrorText() const
{
    return Text(Str::SheetNoRoom).arg(parts_->spool.ErrorText());
}

} // namespace px40
