#pragma once

#include <array>
#include <string>
#include <utility>

namespace px40 {

/// The data set that is forwarded, as a sheet sees it. All texts are UTF-8.
class SheetSource
{
  public:
    virtual ~SheetSource() = default;

    virtual int Samples() const = 0;

    /// SAVE-mode data: their numbers stand in the sheet in place of the second column.
    virtual bool IsSaveMode() const = 0;

    /// Cell of the table as the user sees it: `row` 0 is the heading, 1 the first sample; `column` 0 to 5.
    virtual std::string Cell(int row, int column) const = 0;

    /// Maximum, minimum and average: what each is called, and its text.
    virtual std::array<std::pair<std::string, std::string>, 3> Statistics() const = 0;

    /// Above the table, and on the chart.
    virtual std::string Title() const = 0;
};

} // namespace px40
