#pragma once

#include <QMdiArea>
#include <QMdiSubWindow>
#include <QPointer>

class QAction;
class QPaintEvent;
class QVBoxLayout;

namespace px40 {

/// The area of the data windows; while there is none it offers the ways to get one.
class Workspace : public QMdiArea
{
    Q_OBJECT

  public:
    explicit Workspace(QWidget *parent = nullptr);

    /// Adds a row to what an empty workspace offers: the command's icon, what it is for, and its shortcut.
    void Offer(QAction *command, const QString &purpose);

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

    /// What gets the focus that comes here by keyboard: the data window that was active last, but for
    /// minimised ones, or the first offer. Null while there is neither.
    QWidget *FocusPlace() const;

  protected:
    void resizeEvent(QResizeEvent *event) override;
    bool viewportEvent(QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

  private:
    void ReturnFocus();
    void ShowOffers();

    QPointer<QMdiSubWindow> activeBefore_;
    QWidget *offers_;
    QVBoxLayout *offerRows_;
    bool enabled_ = true;
};

} // namespace px40
