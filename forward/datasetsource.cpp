#include "forward/datasetsource.h"

#include "document/dataset.h"
#include "resources/strings.h"

#include <array>
#include <utility>

namespace px40 {

DataSetSource::DataSetSource(std::shared_ptr<const DataSet> dataSet, const QString &title)
    : data_(std::move(dataSet)), title_(title.toStdString())
{
}

int DataSetSource::Samples() const
{
    return data_->GetDatacount();
}

bool DataSetSource::IsSaveMode() const
{
    return DataKind(data_->Kind()) == KindSave;
}

std::string DataSetSource::Cell(int row, int column) const
{
    const TableModel &table = data_->Table();
    if (row == 0)
        return table.Heading(column).toStdString();
    if (column == 0)
        return std::to_string(row);
    // Straight from the store: a large set has millions of these.
    return std::string(table.Rows().Utf8(row - 1).at(static_cast<std::size_t>(column) - 1));
}

std::string DataSetSource::StatisticName(int which) const
{
    constexpr std::array Names = {Str::StatisticMax, Str::StatisticMin, Str::StatisticAvg};
    return Text(Names.at(static_cast<std::size_t>(which))).toStdString();
}

std::string DataSetSource::StatisticText(int which) const
{
    const QString text = which == 0   ? data_->GetDispmax(true)
                         : which == 1 ? data_->GetDispmin(true)
                                      : data_->GetDispavg();
    return text.toStdString();
}

} // namespace px40
