#include "forward/datasetsource.h"

#include "document/dataset.h"
#include "resources/strings.h"

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
    StoredRows(const RowStore &store, bool numbers) : rows_(store), numbers_(numbers) {}

    void Rewind() override
    {
        rows_.Rewind();
        number_ = 0;
    }

    std::span<const std::string_view> Next() override
    {
        texts_ = rows_.Next();
        if (numbers_) {
            char *const end = std::to_chars(digits_.begin(), digits_.end(), ++number_).ptr;
            texts_.front() = {digits_.begin(), end};
        }
        return texts_;
    }

  private:
    RowReader rows_;
    bool numbers_;
    int number_ = 0;
    std::array<char, 12> digits_;
    RowStore::Bytes texts_;
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

std::shared_ptr<TableRows> DataSetSource::Rows(bool numbers) const
{
    return std::make_shared<StoredRows>(data_->Table().Rows(), numbers);
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
