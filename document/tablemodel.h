#pragma once

#include "document/rowstore.h"

#include <QAbstractTableModel>
#include <QStringList>

#include <limits>
#include <string_view>

namespace px40 {

/// The table of a data set, which is also its store: six columns, of which the first is the sample number
/// and the others are texts kept exactly as given.
///
/// The table has at least one row, and may have rows after the last sample that show only their number.
class TableModel : public QAbstractTableModel
{
    Q_OBJECT

  public:
    static constexpr int Columns = 6;
    static constexpr qint32 MaxSamples = std::numeric_limits<qint32>::max() - 1;

    /// `memoryNumbers`: the second column is headed as a memory number instead of a time.
    explicit TableModel(bool memoryNumbers, QObject *parent = nullptr);

    int rowCount(const QModelIndex &parent = {}) const override;
    int columnCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;

    bool HasMemoryNumbers() const { return memoryNumbers_; }

    /// Heading of a column, 0 to 5.
    QString Heading(int column) const { return headings_.at(column); }

    /// Text of a cell; `sample` is 1-based, `column` 0 to 5. Empty after the last sample, but for the
    /// number.
    QString Cell(qint32 sample, int column) const;

    /// Number, time and value of a sample, a line each; what the sample does not have is left out.
    QString SampleText(qint32 sample) const;

    qint32 Samples() const { return static_cast<qint32>(rows_.Count()); }
    int TableRows() const { return tableRows_; }

    void AppendTableRow();

    /// Puts the next sample into its row, which must be there.
    void AppendSample(const RowStore::Row &texts);

    /// Shows these rows in place of its own. `tableRows`: at least 1, and at least the samples.
    void Adopt(RowStore &&rows, int tableRows);

    const RowStore &Rows() const { return rows_; }

    /// The MODE of all samples that have one; empty when they differ. Looks at each sample once.
    QString CommonMode() const;

  private:
    RowStore rows_;
    QStringList headings_;
    bool memoryNumbers_;
    int tableRows_ = 1;
    mutable qint32 modesSeen_ = 0; ///< samples whose MODE has been looked at
    mutable std::string_view mode_;
};

} // namespace px40
