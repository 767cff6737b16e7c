#include "forward/datasetsource.h"

#include "document/dataset.h"
#include "resources/strings.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <span>
#include <string_view>
#include <utility>

namespace px40 {

namespace {

class StoredRows : public TableRows
{
  public:
    explicit StoredRows(const RowStore &store) : rows_(store) {}

    void Rewind() override
    {
        rows_.Rewind();
        number_ = 0;
    }

    std::span<const std::string_view> Next() override
    {
        const RowStore::Bytes texts = rows_.Next();
        char *const end = std::to_chars(digits_.begin(), digits_.end(), ++number_).ptr;
        columns_.front() = {digits_.begin(), end};
        std::copy(texts.begin(), texts.end(), columns_.begin() + 1);
        return columns_;
    }

  private:
    RowReader rows_;
    int number_ = 0;
    std::array<char, 12> digits_;
    std::array<std::string_view, RowStore::Texts + 1> columns_;
};

} // namespace

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
    return data_->Kind() == KindSave;
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

std::shared_ptr<TableRows> DataSetSource::Rows() const
{
    return std::make_shared<StoredRows>(data_->Table().Rows());
}

std::array<std::pair<std::string, std::string>, 3> DataSetSource::Statistics() const
{
    const auto named = [](Str name, const QString &text) {
        return std::pair(Text(name).toStdString(), text.toStdString());
    };
    return {named(Str::StatisticMax, data_->GetDispmax(true)),
            named(Str::StatisticMin, data_->GetDispmin(true)), named(Str::StatisticAvg, data_->GetDispavg())};
}

} // namespace px40
