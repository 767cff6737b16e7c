#pragma once

#include <QMdiArea>

class QPaintEvent;

namespace px40 {

/// The ground on which the data windows lie; while there is none it says how to get one.
class Workspace : public QMdiArea
{
    Q_OBJECT

  public:
    explicit Workspace(QWidget *parent = nullptr);

    /// Gives a data window that was just added its first place: cascaded behind those that are there, most
    /// of the workspace wide and high, never beyond it, and so large that it shows what it holds if there
    /// is room.
    void Place(QMdiSubWindow *window);

    /// Moves a window that brought its own size so that as much of it as possible is seen.
    void BringIn(QMdiSubWindow *window);

  protected:
    void paintEvent(QPaintEvent *event) override;
};

} // namespace px40
