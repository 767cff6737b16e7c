#include "forward/sheetlayout.h"

#include "forward/sheetsource.h"

#include <array>
#include <string_view>

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

/// Makes calls one behind the other and stops at the first that is not done. All of them may be made again.
class Calls
{
  public:
    explicit Calls(SheetTarget &target) : target_(&target) {}

    void Cell(int row, int column, CellFormat format, std::string_view text)
    {
        if (result == SheetStep::Done)
            result = target_->SetCell(row, column, format, text);
    }
    void Border(const CellRange &range, Edge edge, BorderWeight weight)
    {
        if (result == SheetStep::Done)
            result = target_->SetBorder(range, edge, weight);
    }
    void Centre(const CellRange &range)
    {
        if (result == SheetStep::Done)
            result = target_->Centre(range);
    }
    void Activate(int row, int column)
    {
        if (result == SheetStep::Done)
            result = target_->Activate(row, column);
    }

    SheetStep result = SheetStep::Done;

  private:
    SheetTarget *target_;
};

/// Readings and source values are numbers below their headings; so is the number of SAVE-mode data.
CellFormat FormatOf(int column, int tableRow, bool saveMode)
{
    const bool numbers = column == B + 1 || column == B + 3 || (column == B && saveMode);
    return numbers && tableRow > 0 ? CellFormat::General : CellFormat::Text;
}

void WriteRow(Calls &calls, const SheetSource &source, int tableRow, bool saveMode)
{
    for (int column = B; column <= F; ++column) {
        const int tableColumn = column == B && saveMode ? 0 : column - B + 1;
        const std::string text = source.Cell(tableRow, tableColumn);
        calls.Cell(SheetRow(tableRow), column, FormatOf(column, tableRow, saveMode), text);
    }
}

} // namespace

SheetStep WriteTableRow(SheetTarget &target, const SheetSource &source, int tableRow)
{
    Calls calls(target);
    WriteRow(calls, source, tableRow, source.IsSaveMode());
    return calls.result;
}

SheetStep WriteRunningRow(SheetTarget &target, const SheetSource &source, int tableRow)
{
    Calls calls(target);
    if (tableRow == 1) {
        calls.Activate(HeadingRow, B);
        WriteRow(calls, source, 0, false);
    }
    calls.Activate(SheetRow(tableRow), B);
    WriteRow(calls, source, tableRow, false);
    return calls.result;
}

SheetStep WriteFrameAndStatistics(SheetTarget &target, const SheetSource &source, int samples)
{
    const int last = SheetRow(samples);
    const CellRange table = {HeadingRow, B, last, F};
    const CellRange heading = {HeadingRow, B, HeadingRow, F};
    const CellRange rows = {SheetRow(1), B, last, F};

    Calls calls(target);
    calls.Cell(TitleRow, B, CellFormat::Text, source.Title());
    for (const Edge edge : {Edge::Top, Edge::Bottom, Edge::Left, Edge::Right})
        calls.Border(table, edge, BorderWeight::Medium);
    calls.Border(heading, Edge::Bottom, BorderWeight::Medium);
    calls.Border(heading, Edge::InsideVertical, BorderWeight::Thin);
    calls.Centre(heading);
    calls.Border(rows, Edge::InsideHorizontal, BorderWeight::Thin);
    calls.Border(rows, Edge::InsideVertical, BorderWeight::Thin);
    calls.Activate(StatisticsRow, H);
    for (int which = 0; which < 3; ++which) {
        calls.Cell(StatisticsRow + which, H, CellFormat::Text, source.StatisticName(which));
        calls.Cell(StatisticsRow + which, I, CellFormat::Text, source.StatisticText(which));
    }
    return calls.result;
}

SheetStep WriteChart(SheetTarget &target, const SheetSource &source, int samples)
{
    SheetChart chart;
    chart.source = {SheetRow(1), B, SheetRow(samples), D};
    chart.row = ChartRow;
    chart.column = H;
    chart.width = ChartWidth;
    chart.height = ChartHeight;
    chart.title = source.Title();
    return target.AddChart(chart);
}

} // namespace px40
