#include "document/tablemodel.h"

#include "resources/strings.h"

#include <utility>

namespace px40 {

namespace {

/// Numbers stand at the right, and their headings with them.
QVariant AlignmentOf(int column)
{
    const bool number = column == 0 || column == 2 || column == 4;
    return QVariant::fromValue(Qt::AlignVCenter | (number ? Qt::AlignRight : Qt::AlignLeft));
}

} // namespace

TableModel::TableModel(bool memoryNumbers, QObject *parent)
    : QAbstractTableModel(parent), headings_{Text(Str::HeadingNumber),
                                             Text(memoryNumbers ? Str::HeadingNumber : Str::HeadingTime),
                                             Text(Str::HeadingData),
                                             Text(Str::HeadingMode),
                                             Text(Str::HeadingData),
                                             Text(Str::HeadingSource)},
      memoryNumbers_(memoryNumbers)
{
}

int TableModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : tableRows_;
}

int TableModel::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : Columns;
}

QVariant TableModel::data(const QModelIndex &index, int role) const
{
    if (!index.isValid())
        return {};
    const int column = index.column();
    if (role == Qt::DisplayRole)
        return Cell(index.row() + 1, column);
    return role == Qt::TextAlignmentRole ? AlignmentOf(column) : QVariant();
}

QVariant TableModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || section < 0 || section >= Columns)
        return {};
    if (role == Qt::DisplayRole)
        return headings_.at(section);
    return role == Qt::TextAlignmentRole ? AlignmentOf(section) : QVariant();
}

QString TableModel::Cell(qint32 sample, int column) const
{
    if (column == 0)
        return QString::number(sample);
    return sample >= 1 && sample <= Samples() ? rows_.Cell(sample - 1, column - 1) : QString();
}

QString TableModel::SampleText(qint32 sample) const
{
    const QString number = Cell(sample, 0);
    QStringList lines{Heading(0) + u' ' + number};
    constexpr int Longest = 100; // noise can be any length
    const QString value = Cell(sample, 2).trimmed() + u' ' + Cell(sample, 3).trimmed();
    for (const QString &whole : {Cell(sample, 1).trimmed(), value.trimmed()}) {
        const QString line = whole.left(Longest);
        const bool repeatsNumber = line == Heading(0) + number; // a memory number instead of a time
        if (!line.isEmpty() && !repeatsNumber)
            lines << line;
    }
    return lines.join(u'\n');
}

QString TableModel::CommonMode() const
{
    constexpr qint32 Mixed = MaxSamples + 1;
    for (; modesSeen_ < Samples(); ++modesSeen_) {
        const std::string_view mode = rows_.Utf8(modesSeen_)[2];
        if (!mode_.empty() && !mode.empty() && mode != mode_) {
            modesSeen_ = Mixed;
            mode_ = {};
            break;
        }
        mode_ = mode_.empty() ? mode : mode_;
    }
    return QString::fromUtf8(mode_.data(), static_cast<qsizetype>(mode_.size())).trimmed();
}

void TableModel::AppendTableRow()
{
    beginInsertRows({}, tableRows_, tableRows_);
    ++tableRows_;
    endInsertRows();
}

void TableModel::AppendSample(const RowStore::Row &texts)
{
    rows_.Append(texts);
    const int row = Samples() - 1;
    Q_EMIT dataChanged(index(row, 0), index(row, Columns - 1), {Qt::DisplayRole});
}

void TableModel::Adopt(RowStore &&rows, int tableRows)
{
    beginResetModel();
    rows_ = std::move(rows);
    tableRows_ = tableRows;
    modesSeen_ = 0;
    mode_ = {};
    endResetModel();
}

} // namespace px40
