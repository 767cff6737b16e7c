#pragma once

#include "forward/sheetcontent.h"
#include "forward/sheettarget.h"
#include "forward/writeprogress.h"

#include <QString>

#include <memory>
#include <string>

namespace px40 {

enum class WriteResult {
    Done,
    Cancelled,
    InUse,  ///< another program has the workbook open; `HolderOf` says who, `ErrorText` in a sentence
    Taken,  ///< of a new workbook: another file has its name by now; `ErrorText` says so
    Failed, ///< the reason stands in `ErrorText`
};

/// A sheet in an .xlsx or .xlsm file, written without a spreadsheet program.
///
/// What is set is kept until `Write`, which makes the file as a temporary neighbour and renames it at the
/// very end: until then, and whatever happens, an existing workbook is as it was. In an existing workbook the
/// sheet becomes the last one and nothing else changes.
class XlsxFile : public SheetTarget
{
  public:
    /// `title`: what the sheet is to be called, as far as a sheet can; empty: "PX40 1", "PX40 2", ...
    explicit XlsxFile(const QString &title);
    ~XlsxFile() override;

    /// Why no sheet can be added to that file, in one sentence that says what to do instead; empty when one
    /// can. Reads little of it, writes nothing.
    static QString WhyNot(const QString &workbook);

    /// Who has that workbook open in another program; empty when nobody has.
    static QString HolderOf(const QString &workbook);

    /// Removes what a program that was killed while it wrote that workbook has left beside it.
    static void Sweep(const QString &workbook);

    SheetStep Attach() override;
    /// Fails as `WhyNot` says. With an empty name the file is made anew: `SetNewName` says where.
    SheetStep OpenOrAdd(const std::string &workbook) override;
    SheetStep SetVisible(bool visible) override;
    SheetStep SetInteractive(bool interactive) override;
    SheetStep SetCell(int row, int column, CellFormat format, std::string_view text) override;
    SheetStep SetBorder(const CellRange &range, Edge edge, BorderWeight weight) override;
    SheetStep Centre(const CellRange &range) override;
    SheetStep Activate(int row, int column) override;
    SheetStep AddChart(const SheetChart &chart) override;
    std::string ErrorText() const override;

    /// From now on the sheet goes into a new workbook of that name, and replaces the file that is there now,
    /// but none that comes later.
    void SetNewName(const QString &name);

    /// The workbook that is written.
    QString Name() const;

    /// Writes the file, and removes what `Sweep` does; may be called on another thread while nobody else uses
    /// this, and again after anything but `Done`.
    WriteResult Write(WriteWatch *watch);

  private:
    struct Parts;
    std::unique_ptr<Parts> parts_;
};

} // namespace px40
