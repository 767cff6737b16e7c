#pragma once

#include "document/tablemodel.h"

#include <QTableView>

namespace px40 {

class CellDelegate;

/// The table of a data window. Its columns share the width until the user gives one of them a width of its
/// own; Copy puts the selected cells with their headings on the clipboard.
class DataTable : public QTableView
{
    Q_OBJECT

  public:
    /// `model` must outlive the table, or be taken from it.
    DataTable(TableModel *model, QWidget *parent);

    void CopySelection() const;

    /// Scrolls vertically until that row (0-based) is seen, as the first one if it was out of view.
    void ShowRow(int row);

    /// At which no row is cut off at the lower edge, and no more than `most`.
    int HeightOfWholeRows(int most) const;

  protected:
    void selectionChanged(const QItemSelection &selected, const QItemSelection &deselected) override;
    void resizeEvent(QResizeEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;

  private:
    void ShareWidth();

    CellDelegate *cells_;
    bool sharing_ = false;
    bool widthsChosen_ = false;
};

} // namespace px40
