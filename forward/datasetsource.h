#pragma once

#include "forward/sheetsource.h"
#include "xlsx/sheet.h"

#include <QString>

#include <memory>

namespace px40 {

class DataSet;

/// A data set of the program, as forwarding sees it.
class DataSetSource : public SheetSource
{
  public:
    DataSetSource(std::shared_ptr<const DataSet> dataSet, const QString &title);

    int Samples() const override;
    bool IsSaveMode() const override;
    std::string Cell(int row, int column) const override;
    std::array<std::pair<std::string, std::string>, 3> Statistics() const override;
    std::string Title() const override { return title_; }

    /// The rows as they are now, however the data set goes on: all columns of the table, the number first.
    std::shared_ptr<TableRows> Rows() const;

  private:
    std::shared_ptr<const DataSet> data_;
    std::string title_;
};

} // namespace px40
