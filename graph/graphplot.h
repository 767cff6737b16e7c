#pragma once

#include "graph/graphaxis.h"
#include "graph/graphmodel.h"
#include "graph/graphstyle.h"
#include "graph/plotlibrary.h"
#include "graph/samplewindow.h"

#include <QPointer>
#include <QString>

#include <array>
#include <optional>
#include <vector>

namespace px40 {

/// The picture of a graph: readings, running maximum and minimum of the samples in view, axes and a line that
/// says what is what. It draws only on request, onto any painter; `Chart` is its life on the screen.
///
/// The horizontal axis has each sample at its own number. What is zoomed to and what is hidden belongs to
/// the picture alone: the model knows nothing of it.
///
/// Where it bypasses QCustomPlot, and why: the library draws into buffers of its own whenever anything
/// changes, so its protected `draw` is called instead, once for each paint event. Its tickers know no labels
/// that are chosen by their width, and its legend takes room beside the lines, is not level with the caption
/// and cannot show what is hidden.
class GraphPlot : public QCustomPlot
{
  public:
    /// What `graph()` takes, from the back to the front. Marks: single readings, all of them or only those
    /// between two gaps.
    /// Invalid: on the horizontal axis, where a sample has no valid reading.
    enum Drawing { Maximum, Minimum, Readings, Marks, Invalid, DrawingCount };

    /// Without its model, which may go first, the graph is empty.
    explicit GraphPlot(GraphModel *model, QWidget *parent = nullptr);

    void SetStyle(const GraphStyle &style);
    /// A line of text above the picture; empty: none.
    void SetCaption(const QString &caption) { caption_ = caption; }

    /// Takes the samples in view and divides the axes for a picture of that size; costs what is in view,
    /// however many there are. `density`: device pixels to a pixel.
    void Fill(const QSize &size, double density);

    /// Draws what `Fill` has taken.
    void Draw(QCPPainter &painter);

    /// The samples that are shown: those zoomed to, or those that the model says.
    SampleWindow Window() const;
    bool IsZoomed() const { return zoom_.has_value(); }
    void SetZoom(const std::optional<SampleWindow> &zoom) { zoom_ = zoom; }
    /// `drawing`: Maximum, Minimum or Readings, with which their marks go.
    bool IsHidden(Drawing drawing) const { return !graph(drawing)->visible(); }
    void Hide(Drawing drawing, bool hidden);
    /// The margin at the left, which has room for the widest labels so far, may be narrower again.
    void ForgetMargin() { labelRoom_ = nameRoom_ = 0; }
    /// Shows what `other` shows.
    void ShowLike(const GraphPlot &other);

    /// Of the model, seen or not.
    qint32 Samples() const { return model_ ? model_->Series().Count() : 0; }
    /// Null when it is gone.
    GraphModel *Model() const { return model_; }
    /// Where the samples were drawn at the last `Fill`; x counts from the left edge of `PlotRect`.
    const CategoryPlace &Place() const { return place_; }
    QRect PlotRect() const { return axisRect()->rect(); }
    /// From the upper edge of the picture.
    double Y(double value) const { return yAxis->coordToPixel(value); }

    /// Where the legend begins, from the left edge of the picture.
    double LegendLeft() const { return Legend().empty() ? PlotRect().right() : Legend().back().box.left(); }
    /// The line of text at the top, where the legend stands: above the lines, or on them where the picture is
    /// low.
    QRectF TopLine() const;

    /// What the legend names, in its order from left to right.
    static constexpr std::array LegendOrder = {Readings, Maximum, Minimum};
    static QString NameOf(Drawing drawing);
    /// The drawing whose entry in the legend lies there.
    std::optional<Drawing> LegendAt(const QPointF &place) const;

  protected:
    void draw(QCPPainter *painter) override;

  private:
    struct LegendEntry
    {
        Drawing drawing;
        QRectF box; ///< a piece of the line, then the name
    };
    /// Blank room around the picture, in proportion to its texts.
    static int Edge(const QFont &font);
    void StyleAxes(double density);
    void FillLines(double density, double height);
    void FillValueAxis(double length);
    int NameValueAxis(double length);
    void FillCategoryAxis();
    ValueRange RangeInView() const;
    std::vector<LegendEntry> Legend() const;
    void DrawLegend(QCPPainter &painter);

    QPointer<GraphModel> model_;
    GraphStyle style_;
    QString caption_;
    int labelRoom_ = 0; ///< of the value axis, in pixels: the widest so far
    int nameRoom_ = 0;
    CategoryPlace place_;
    std::optional<SampleWindow> zoom_;
    bool legendInside_ = false; ///< on the lines
};

} // namespace px40
