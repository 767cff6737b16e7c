#pragma once

#include "forward/sheettarget.h"

namespace px40 {

class SheetSource;

/// How a data set lies on a sheet: title in B2, heading in row 4, one row per sample from row 5 in columns B
/// to F, statistics in H4 to I6, chart from H8. The same whether it is written in one go or row by row.

/// Samples that fit onto a sheet, which has 1,048,576 rows.
constexpr int MaxSheetSamples = 1'048'572;

/// Sheet row of a table row, of which 0 is the heading.
constexpr int SheetRow(int tableRow)
{
    return tableRow + 4;
}

/// Row `tableRow` (0: the heading) of a finished data set.
void WriteTableRow(SheetTarget &target, const SheetSource &source, int tableRow);

/// Row `tableRow`, from 1 on, of a data set that is still growing: its five columns from the second on,
/// whatever its kind. The heading comes with the first one.
void WriteRunningRow(SheetTarget &target, const SheetSource &source, int tableRow);

/// Title, frame and inner lines of a table of `samples` rows, and the statistics beside it.
void WriteFrameAndStatistics(SheetTarget &target, const SheetSource &source, int samples);

/// The chart of the first `samples` rows.
void WriteChart(SheetTarget &target, const SheetSource &source, int samples);

/// The whole sheet of a data set with the first `samples` rows. `rows` gives of each its number and then the
/// texts of its columns; they are read where they lie. `numbers`: the numbers of SAVE-mode data stand in
/// place of the second column.
Sheet LayOut(const SheetSource &source, int samples, bool numbers, std::shared_ptr<TableRows> rows);

} // namespace px40
