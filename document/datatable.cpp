#include "document/datatable.h"

#include "document/tablecopy.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QHeaderView>
#include <QKeyEvent>
#include <QMimeData>
#include <QScrollBar>

#include <algorithm>
#include <array>
#include <numeric>

namespace px40 {

namespace {
/// Columns in characters; a wider table is divided in the same proportions.
constexpr std::array<int, TableModel::Columns> ColumnWidths = {9, 14, 15, 13, 15, 13};

/// A copied table: as text and, for spreadsheets, as HTML, which is made only when one of them asks for it.
class TableMime : public QMimeData
{
  public:
    explicit TableMime(const QString &text) { setText(text); }

    QStringList formats() const override { return {Html(), QStringLiteral("text/plain")}; }

  protected:
    QVariant retrieveData(const QString &format, QMetaType type) const override
    {
        return format == Html() ? TableHtml(text()) : QMimeData::retrieveData(format, type);
    }

  private:
    static QString Html() { return QStringLiteral("text/html"); }
};

} // namespace

DataTable::DataTable(TableModel *model, QWidget *parent) : QTableView(parent)
{
    setObjectName(QStringLiteral("fgData"));
    setModel(model);
    setAlternatingRowColors(true);
    setSelectionMode(QAbstractItemView::ExtendedSelection);
    setWordWrap(false);
    setTabKeyNavigation(false);
    verticalHeader()->hide();
    verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    verticalHeader()->setDefaultSectionSize(fontMetrics().height() + 6);
    horizontalHeader()->setHighlightSections(false);
    horizontalHeader()->setStretchLastSection(true); // takes the width that rounding or the user leaves
    ShareWidth();
    connect(horizontalHeader(), &QHeaderView::sectionResized, this, [this](int column) {
        if (!sharing_ && column != TableModel::Columns - 1) // the last one stretches by itself
            widthsChosen_ = true;
    });
}

void DataTable::ShareWidth()
{
    if (widthsChosen_ || !model())
        return;
    sharing_ = true;
    const int total = std::reduce(ColumnWidths.begin(), ColumnWidths.end());
    const int width = std::max(viewport()->width(), total * fontMetrics().averageCharWidth());
    for (int column = 0; column < TableModel::Columns; ++column)
        setColumnWidth(column, width * ColumnWidths.at(static_cast<std::size_t>(column)) / total);
    sharing_ = false;
}

void DataTable::resizeEvent(QResizeEvent *event)
{
    ShareWidth(); // first, or a scroll bar flashes up when the window gets narrower
    QTableView::resizeEvent(event);
}

void DataTable::ShowRow(int row)
{
    const QModelIndex index = model()->index(row, 0);
    const QRect place = visualRect(index);
    if (place.top() >= 0 && place.bottom() < viewport()->height())
        return;
    const int sideways = horizontalScrollBar()->value();
    scrollTo(index, PositionAtTop);
    horizontalScrollBar()->setValue(sideways);
}

void DataTable::CopySelection() const
{
    const auto *const table = qobject_cast<const TableModel *>(model());
    if (!table || !selectionModel()->hasSelection())
        return;
    const QString text = TableText(*table, selectionModel()->selection());
    if (text.indexOf(u'\n') + 1 < text.size()) // more than the headings
        QGuiApplication::clipboard()->setMimeData(new TableMime(text));
}

void DataTable::keyPressEvent(QKeyEvent *event)
{
    if (event->matches(QKeySequence::Copy)) {
        CopySelection();
        event->accept();
        return;
    }
    QTableView::keyPressEvent(event);
}

} // namespace px40
