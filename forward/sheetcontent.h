#pragma once

#include "forward/cellstyle.h"
#include "forward/sheettarget.h"

#include <QString>

#include <memory>
#include <optional>
#include <string_view>
#include <vector>

namespace px40 {

struct SheetParts;

/// What stands on a sheet that is to be written to a file: cells, lines, chart. Rows that come in ascending
/// order, which is all but a few, are put aside in a temporary file, so a million rows take little memory.
///
/// Used by one thread at a time.
class SheetContent
{
  public:
    SheetContent();
    ~SheetContent();
    SheetContent(const SheetContent &) = delete;
    SheetContent &operator=(const SheetContent &) = delete;

    /// Where rows may be put aside if the folder for temporary files takes nothing, or no more.
    void SetOtherFolder(const QString &folder);

    /// False, with the reason in `ErrorText`, when the temporary file takes no more. Setting a cell again
    /// replaces it.
    bool SetCell(int row, int column, CellFormat format, std::string_view text);
    void SetBorder(const CellRange &range, Edge edge, BorderWeight weight);
    void Centre(const CellRange &range);
    void Activate(int row, int column);
    void SetChart(const SheetChart &chart);

    const std::optional<SheetChart> &Chart() const;

    /// The different looks that the cells have as things stand now; a cell is written with a number into
    /// this.
    std::vector<CellStyle> Styles();

    QString ErrorText() const;

  private:
    friend class SheetXml;
    std::unique_ptr<SheetParts> parts_;
};

} // namespace px40
