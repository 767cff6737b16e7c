#pragma once

#include "forward/sheettarget.h"

#include <memory>

namespace px40 {

/// Writes to a sheet of Microsoft Excel by automation: the instance that runs, else a new one. For Windows
/// only.
///
/// One forwarding to one sheet. Used by one thread, which handles messages between the calls. When it is
/// destroyed Excel and the workbook stay open for the user. A dead Excel is a failure like any other.
class ExcelAutomation : public SheetTarget
{
  public:
    ExcelAutomation();
    ~ExcelAutomation() override;

    /// Whether there is an Excel to be had.
    static bool IsInstalled();

    /// `Busy` for as long as the instance that runs is a hidden one, which another program works with.
    SheetStep Attach() override;
    /// `workbook` as Excel spells it, with backslashes; compared exactly with the names of the open ones.
    SheetStep OpenOrAdd(const std::string &workbook) override;
    SheetStep SetVisible(bool visible) override;
    SheetStep SetInteractive(bool interactive) override;
    SheetStep SetCell(int row, int column, CellFormat format, std::string_view text) override;
    SheetStep SetBorder(const CellRange &range, Edge edge, BorderWeight weight) override;
    SheetStep Centre(const CellRange &range) override;
    SheetStep Activate(int row, int column) override;
    SheetStep AddChart(const SheetChart &chart) override;
    std::string ErrorText() const override;

  private:
    struct Parts;
    template <class Calls>
    SheetStep Make(const Calls &calls);

    std::unique_ptr<Parts> parts_;
};

} // namespace px40
