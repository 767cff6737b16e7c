#include "forward/sheetlayout.h"

#include "forward/sheetsource.h"

#include <array>
#include <string_view>
#include <utility>

namespace px40 {

namespace {

constexpr int TitleRow = 2;
constexpr int HeadingRow = SheetRow(0);
constexpr int B = 2;
constexpr int D = 4;
constexpr int F = 6;
constexpr int H = 8;
constexpr int I = 9;
constexpr int StatisticsRow = 4;
constexpr int ChartRow = 8;
constexpr int ChartWidth = 400;
constexpr int ChartHeight = 200;

/// Below the headings, readings and source values are numbers; so are the row numbers of SAVE-mode data.
CellFormat FormatOf(int column, int tableRow, bool saveMode)
{
    const bool numbers = column == B + 1 || column == B + 3 || (column == B && saveMode);
    return numbers && tableRow > 0 ? CellFormat::General : CellFormat::Text;
}

/// What stands in a column of the sheet: the column of the table, 0 for the number of the row.
int TableColumn(int column, bool saveMode)
{
    return column == B && saveMode ? 0 : column - B + 1;
}

void WriteRow(SheetTarget &target, const SheetSource &source, int tableRow, bool saveMode)
{
    for (int column = B; column <= F; ++column) {
        const std::string text = source.Cell(tableRow, TableColumn(column, saveMode));
        target.SetCell(SheetRow(tableRow), column, FormatOf(column, tableRow, saveMode), text);
    }
}

/// Records the layout as a sheet that can be written to a file.
class SheetRecorder : public SheetTarget
{
  public:
    void SetCell(int row, int column, CellFormat format, std::string_view text) override
    {
        sheet.cells[row][column] = {format, std::string(text)};
    }
    void SetBorder(const CellRange &range, Edge edge, BorderWeight weight) override
    {
        sheet.borders.push_back({range, edge, weight});
    }
    void Centre(const CellRange &range) override { sheet.centred.push_back(range); }
    void Activate(int row, int column) override
    {
        sheet.activeRow = row;
        sheet.activeColumn = column;
    }
    void AddChart(const SheetChart &chart) override { sheet.chart = chart; }

    Sheet sheet;
};

} // namespace

void WriteTableRow(SheetTarget &target, const SheetSource &source, int tableRow)
{
    WriteRow(target, source, tableRow, source.IsSaveMode());
}

void WriteRunningRow(SheetTarget &target, const SheetSource &source, int tableRow)
{
    if (tableRow == 1) {
        target.Activate(HeadingRow, B);
        WriteRow(target, source, 0, false);
    }
    target.Activate(SheetRow(tableRow), B);
    WriteRow(target, source, tableRow, false);
}

void WriteFrameAndStatistics(SheetTarget &target, const SheetSource &source, int samples)
{
    const int last = SheetRow(samples);
    const CellRange table = {HeadingRow, B, last, F};
    const CellRange heading = {HeadingRow, B, HeadingRow, F};
    const CellRange rows = {SheetRow(1), B, last, F};

    target.SetCell(TitleRow, B, CellFormat::Text, source.Title());
    for (const Edge edge : {Edge::Top, Edge::Bottom, Edge::Left, Edge::Right})
        target.SetBorder(table, edge, BorderWeight::Medium);
    target.SetBorder(heading, Edge::Bottom, BorderWeight::Medium);
    target.SetBorder(heading, Edge::InsideVertical, BorderWeight::Thin);
    target.Centre(heading);
    target.SetBorder(rows, Edge::InsideHorizontal, BorderWeight::Thin);
    target.SetBorder(rows, Edge::InsideVertical, BorderWeight::Thin);
    target.Activate(StatisticsRow, H);
    int row = StatisticsRow;
    for (const auto &[name, text] : source.Statistics()) {
        target.SetCell(row, H, CellFormat::Text, name);
        target.SetCell(row++, I, CellFormat::Text, text);
    }
}

void WriteChart(SheetTarget &target, const SheetSource &source, int samples)
{
    SheetChart chart;
    chart.source = {SheetRow(1), B, SheetRow(samples), D};
    chart.row = ChartRow;
    chart.column = H;
    chart.width = ChartWidth;
    chart.height = ChartHeight;
    chart.title = source.Title();
    target.AddChart(chart);
}

Sheet LayOut(const SheetSource &source, int samples, bool numbers, std::shared_ptr<TableRows> rows)
{
    SheetRecorder recorder;
    WriteRow(recorder, source, 0, numbers);
    WriteFrameAndStatistics(recorder, source, samples);
    WriteChart(recorder, source, samples);
    Sheet sheet = std::move(recorder.sheet);
    sheet.title = source.Title();
    sheet.table = {SheetRow(1), B, samples, {}, std::move(rows)};
    for (int column = B; column <= F; ++column)
        sheet.table.columns.push_back(
            {FormatOf(column, 1, numbers), static_cast<std::size_t>(TableColumn(column, numbers))});
    return sheet;
}

} // namespace px40
