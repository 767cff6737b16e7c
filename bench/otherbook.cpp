#include "bench/otherbook.h"

#include "forward/sheetlayout.h"
#include "forward/sheetsource.h"

#include <array>
#include <charconv>
#include <cstdint>
#include <xlsxwriter.h>

namespace px40::bench {

namespace {

constexpr std::size_t Columns = 5;
constexpr lxw_col_t FirstColumn = 1; // 0-based, as are the rows below
constexpr lxw_col_t StatisticsColumn = 7;
constexpr lxw_row_t TitleRow = 1;
constexpr lxw_row_t StatisticsRow = 3;
constexpr lxw_row_t ChartRow = 7;

constexpr lxw_row_t RowOf(int tableRow)
{
    return static_cast<lxw_row_t>(SheetRow(tableRow)) - 1;
}

/// What the cells of a row look like.
using RowFormats = std::array<lxw_format *, Columns>;

RowFormats FormatsOf(lxw_workbook *book, bool heading, std::uint8_t top, std::uint8_t bottom)
{
    RowFormats formats = {};
    for (std::size_t i = 0; i < Columns; ++i) {
        lxw_format *const format = workbook_add_format(book);
        const bool numbers = !heading && (i == 1 || i == 3);
        format_set_num_format(format, numbers ? "General" : "@");
        format_set_top(format, top);
        format_set_bottom(format, bottom);
        format_set_left(format, i == 0 ? LXW_BORDER_MEDIUM : LXW_BORDER_THIN);
        format_set_right(format, i + 1 == Columns ? LXW_BORDER_MEDIUM : LXW_BORDER_THIN);
        if (heading)
            format_set_align(format, LXW_ALIGN_CENTER);
        formats.at(i) = format;
    }
    return formats;
}

void WriteRow(lxw_worksheet *sheet, const SheetSource &source, int tableRow, const RowFormats &formats)
{
    for (std::size_t i = 0; i < Columns; ++i) {
        const std::string text = source.Cell(tableRow, static_cast<int>(i) + 1);
        const auto column = static_cast<lxw_col_t>(FirstColumn + i);
        double value = 0;
        const char *const end = text.data() + text.size();
        const bool number = tableRow > 0 && (i == 1 || i == 3) &&
                            std::from_chars(text.data(), end, value).ptr == end && !text.empty();
        if (number)
            worksheet_write_number(sheet, RowOf(tableRow), column, value, formats.at(i));
        else
            worksheet_write_string(sheet, RowOf(tableRow), column, text.c_str(), formats.at(i));
    }
}

void AddChart(lxw_workbook *book, lxw_worksheet *sheet, const SheetSource &source)
{
    lxw_chart *const chart = workbook_add_chart(book, LXW_CHART_LINE);
    const lxw_row_t first = RowOf(1);
    const lxw_row_t last = RowOf(source.Samples());
    for (lxw_col_t column = FirstColumn + 1; column <= FirstColumn + 2; ++column) {
        lxw_chart_series *const series = chart_add_series(chart, nullptr, nullptr);
        chart_series_set_categories(series, sheet->name, first, FirstColumn, last, FirstColumn);
        chart_series_set_values(series, sheet->name, first, column, last, column);
    }
    chart_title_set_name(chart, source.Title().c_str());
    chart_legend_set_position(chart, LXW_CHART_LEGEND_NONE);
    chart_axis_major_gridlines_set_visible(chart->x_axis, LXW_TRUE);
    chart_axis_major_gridlines_set_visible(chart->y_axis, LXW_TRUE);
    worksheet_insert_chart(sheet, ChartRow, StatisticsColumn, chart);
}

} // namespace

bool WriteOtherBook(const SheetSource &source, const std::string &name)
{
    lxw_workbook *const book = workbook_new(name.c_str());
    lxw_worksheet *const sheet = workbook_add_worksheet(book, source.Title().c_str());
    const RowFormats heading = FormatsOf(book, true, LXW_BORDER_MEDIUM, LXW_BORDER_MEDIUM);
    const RowFormats first = FormatsOf(book, false, LXW_BORDER_MEDIUM, LXW_BORDER_THIN);
    const RowFormats inner = FormatsOf(book, false, LXW_BORDER_THIN, LXW_BORDER_THIN);
    const RowFormats last = FormatsOf(book, false, LXW_BORDER_THIN, LXW_BORDER_MEDIUM);
    lxw_format *const text = workbook_add_format(book);
    format_set_num_format(text, "@");

    worksheet_write_string(sheet, TitleRow, FirstColumn, source.Title().c_str(), text);
    const int samples = source.Samples();
    WriteRow(sheet, source, 0, heading);
    WriteRow(sheet, source, 1, first);
    for (int row = 2; row < samples; ++row)
        WriteRow(sheet, source, row, inner);
    WriteRow(sheet, source, samples, last);
    lxw_row_t row = StatisticsRow;
    for (const auto &[what, value] : source.Statistics()) {
        worksheet_write_string(sheet, row, StatisticsColumn, what.c_str(), text);
        worksheet_write_string(sheet, row++, StatisticsColumn + 1, value.c_str(), text);
    }
    worksheet_set_selection(sheet, StatisticsRow, StatisticsColumn, StatisticsRow, StatisticsColumn);
    AddChart(book, sheet, source);
    return workbook_close(book) == LXW_NO_ERROR;
}

} // namespace px40::bench
