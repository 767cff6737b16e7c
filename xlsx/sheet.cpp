#include "xlsx/sheet.h"

namespace px40 {

namespace {

std::string CellName(int row, int column)
{
    return ColumnLetters(column) + std::to_string(row);
}

} // namespace

std::string ColumnLetters(int column)
{
    std::string letters;
    for (; column > 0; column = (column - 1) / 26)
        letters.insert(letters.begin(), static_cast<char>('A' + (column - 1) % 26));
    return letters;
}

std::string RangeName(const CellRange &range)
{
    const std::string first = CellName(range.firstRow, range.firstColumn);
    if (range.firstRow == range.lastRow && range.firstColumn == range.lastColumn)
        return first;
    return first + ':' + CellName(range.lastRow, range.lastColumn);
}

} // namespace px40
