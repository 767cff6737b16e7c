#pragma once

#include "forward/sheettarget.h"

#include <memory>

namespace px40 {

/// Writes to a sheet of Microsoft Excel by automation: the instance that runs, else a new one. For Windows
/// only.
///
/// One forwarding to one sheet. Used by one thread, which handles messages between the calls. When it is
/// destroyed Excel and the workbook stay open for the user. A dead Excel is a failure like any other.
class ExcelAutomation : public Spreadsheet
{
  public:
    ExcelAutomation();
    ~ExcelAutomation() override;

    /// Whether Excel is installed here.
    static bool IsInstalled();

    /// `Busy` for as long as the instance that runs is a hidden one, which another program works with.
    SheetStep Attach() override;
    /// `workbook` as Excel spells it, with backslashes; compared exactly with the names of the open ones.
    SheetStep OpenOrAdd(const std::string &workbook) override;
    void SetVisible(bool visible) override;
    void SetInteractive(bool interactive) override;
    void SetCell(int row, int column, CellFormat format, std::string_view text) override;
    void SetBorder(const CellRange &range, Edge edge, BorderWeight weight) override;
    void Centre(const CellRange &range) override;
    void Activate(int row, int column) override;
    void AddChart(const SheetChart &chart) override;

  private:
    struct Parts;
    std::unique_ptr<Parts> parts_;
};

} // namespace px40
