#include "document/datatable.h"

#include "document/tablecopy.h"
#include "resources/icons.h"
#include "resources/strings.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QHeaderView>
#include <QKeyEvent>
#include <QMimeData>
#include <QPainter>
#include <QScrollBar>
#include <QStyledItemDelegate>

#include <algorithm>
#include <array>
#include <numeric>

namespace px40 {

/// One selected cell is outlined, so that its text stays as it was; only several are filled.
class CellDelegate : public QStyledItemDelegate
{
  public:
    using QStyledItemDelegate::QStyledItemDelegate;

    void SetAlone(bool alone) { alone_ = alone; }

    void paint(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const override
    {
        const bool alone = alone_ && option.state.testFlag(QStyle::State_Selected);
        QStyleOptionViewItem plain = option;
        if (alone)
            plain.state &= ~(QStyle::State_Selected | QStyle::State_HasFocus);
        if (alone) // the view has filled it
            painter->fillRect(
                option.rect,
                option.palette.color(index.row() % 2 == 0 ? QPalette::Base : QPalette::AlternateBase));
        QStyledItemDelegate::paint(painter, plain, index);
        if (!alone)
            return;
        constexpr int Width = 2;
        const bool focused =
            option.state.testFlag(QStyle::State_HasFocus) && option.state.testFlag(QStyle::State_Active);
        const QPalette &palette = option.palette;
        QPen pen(focused ? palette.color(QPalette::Highlight)
                         : Mix(palette.color(QPalette::Base), palette.color(QPalette::Text), 0.5),
                 Width);
        pen.setJoinStyle(Qt::MiterJoin);
        painter->setPen(pen);
        painter->setBrush(Qt::NoBrush);
        painter->drawRect(option.rect.adjusted(Width / 2, Width / 2, -Width / 2, -Width / 2));
    }

  private:
    bool alone_ = false; ///< the selected cell is the only one
};

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

DataTable::DataTable(TableModel *model, QWidget *parent) : QTableView(parent), cells_(new CellDelegate(this))
{
    setItemDelegate(cells_);
    setObjectName(QStringLiteral("fgData"));
    setAccessibleName(Text(Str::TableName));
    setModel(model);
    setAlternatingRowColors(true);
    setSelectionMode(QAbstractItemView::ExtendedSelection);
    setWordWrap(false);
    setTabKeyNavigation(false);
    setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOn); // the columns keep still when it is needed
    verticalHeader()->hide();
    verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    verticalHeader()->setMinimumSectionSize(1); // the style's margins would make rows higher
    verticalHeader()->setDefaultSectionSize(fontMetrics().height() + 6);
    horizontalHeader()->setHighlightSections(false);
    horizontalHeader()->setStretchLastSection(true); // takes the width that rounding or the user leaves
    ShareWidth();
    connect(horizontalHeader(), &QHeaderView::sectionResized, this, [this](int column) {
        if (!sharing_ && column != TableModel::Columns - 1) // the last one stretches by itself
            widthsChosen_ = true;
    });
}

void DataTable::selectionChanged(const QItemSelection &selected, const QItemSelection &deselected)
{
    QTableView::selectionChanged(selected, deselected);
    const QItemSelection all = selectionModel()->selection();
    cells_->SetAlone(all.size() == 1 && all.first().width() == 1 && all.first().height() == 1);
    viewport()->update(); // a cell that is no longer alone looks different
}

int DataTable::HeightOfWholeRows(int most) const
{
    const QScrollBar *const sideways = horizontalScrollBar();
    const int row = verticalHeader()->defaultSectionSize();
    const int beside = horizontalHeader()->height() + 2 * frameWidth() +
                       (sideways->maximum() > 0 ? sideways->sizeHint().height() : 0);
    return beside + std::max(0, most - beside) / row * row;
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
