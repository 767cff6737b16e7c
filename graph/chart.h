#pragma once

#include "graph/graphplot.h"

#include <QPixmap>
#include <QPoint>

#include <optional>

namespace px40 {

/// A graph on the screen. However many samples come in, it draws once for each time that the
/// screen is painted, and not at all while it is hidden.
///
/// The wheel and the keys Left, Right, PageUp, PageDown, Home and End move the view; the sample that is
/// nearest to the pointer is told in the line of the legend. A drag zooms to the samples under it, as the
/// keys + and - do around the middle; a double click or Escape goes back to what the model's settings say. A
/// click on the legend hides a line.
class Chart : public GraphPlot
{
    Q_OBJECT

  public:
    /// The model may go first; the graph is empty then.
    explicit Chart(GraphModel *model, QWidget *parent = nullptr);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

    /// Skips that many samples: by the model's scroll, or in the zoom while there is one.
    void ScrollTo(qint64 skipped);
    /// What is told about the sample under the pointer, in one line; empty: nothing.
    QString HoverText() const;
    /// The most that can be skipped.
    qint32 Furthest() const;

  Q_SIGNALS:
    /// Zoomed, or moved while zoomed; the model signals all other moves.
    void windowChanged();
    /// The user wishes the graph on the clipboard, or in a file.
    void copyRequested();
    void saveAsRequested();

  protected:
    bool event(QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    void wheelEvent(QWheelEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void contextMenuEvent(QContextMenuEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void mouseDoubleClickEvent(QMouseEvent *event) override;

  private:
    void MarkDirty();
    void Refresh();
    void Move(qint64 samples);
    void Zoom(const std::optional<SampleWindow> &window);
    void ZoomIn();
    void ZoomOut();
    void ZoomBack();
    void ToggleHidden(Drawing drawing);
    bool IsDragged() const;
    void StopDrag();
    void Hover();
    void DrawHover(QPainter &painter) const;
    void DrawHoverText(QPainter &painter) const;
    void DrawBand(QPainter &painter) const;

    QPixmap picture_;
    GraphStyle look_;
    std::optional<QPoint> pointer_; ///< where the mouse is; nothing while it is elsewhere
    qint32 hovered_ = 0;            ///< the sample under the pointer; 0: none
    int wheel_ = 0;                 ///< what has been turned towards the next notch, in eighths of a degree
    struct Drag
    {
        int x = 0;     ///< where the button went down
        double at = 0; ///< the place among the samples that was there
        int toX = 0;
    };
    std::optional<Drag> drag_; ///< nothing while the button is up
    bool dirty_ = true;
};

} // namespace px40
