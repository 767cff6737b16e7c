#pragma once

#include <QMdiArea>
#include <QMdiSubWindow>
#include <QPointer>

class QPaintEvent;

namespace px40 {

/// The area of the data windows; while there is none it says how to get one.
class Workspace : public QMdiArea
{
    Q_OBJECT

  public:
    explicit Workspace(QWidget *parent = nullptr);

    /// Gives a data window that was just added its first place: cascaded after those that are there, most
    /// of the workspace wide and high, never beyond it, and so large that it shows what it holds if there
    /// is room.
    void Place(QMdiSubWindow *window);

    /// Moves a window that brought its own size so that as much of it as possible is seen.
    void MoveIntoView(QMdiSubWindow *window);

    /// Disables all windows for a while, or enables them again. Disabling takes the focus from the active
    /// one, which gets it back.
    void EnableWindows(bool enabled);
    /// The main window has become active: the same for a window that could not be given the focus before.
    void ReturnFocusSoon();

  protected:
    void paintEvent(QPaintEvent *event) override;

  private:
    void ReturnFocus();

    QPointer<QMdiSubWindow> activeBefore_;
    bool enabled_ = true;
};

} // namespace px40
