#pragma once

#include "document/graphaxis.h"
#include "document/graphstyle.h"
#include "document/plotlibrary.h"
#include "document/samplewindow.h"

#include <QPointer>
#include <QString>

#include <array>
#include <optional>
#include <vector>

namespace px40 {

class DataSet;
struct GraphPoint;

/// The picture of a data set's graph: readings, running maximum and minimum of the samples in view, axes and
/// a line that says what is what. It draws only on request, onto any painter; `Chart` is its life on the
/// screen.
///
/// A sample stands at its own number on the horizontal axis. What is zoomed to and what is hidden belongs to
/// the picture alone: the data set and its file know nothing of it.
class GraphPlot : public QCustomPlot
{
  public:
    /// What `graph()` takes, from the back to the front. Marks: single readings, all of them or only those
    /// between two gaps.
    enum Drawing { Maximum, Minimum, Readings, Marks, DrawingCount };

    /// Without its data set, which may go first, the graph is empty.
    explicit GraphPlot(const DataSet *set, QWidget *parent = nullptr);

    void SetStyle(const GraphStyle &style);
    /// A line of text above the picture; empty: none.
    void SetCaption(const QString &caption) { caption_ = caption; }

    /// Takes the samples in view and divides the axes for a picture of that size; costs what is in view,
    /// however long the data set is. `density`: device pixels to a pixel.
    void Fill(const QSize &size, double density);

    /// Draws what `Fill` has taken.
    void Draw(QCPPainter &painter);

    /// The samples that are shown: those zoomed to, or those that the data set's settings and scroll say.
    SampleWindow Window() const;
    bool IsZoomed() const { return zoom_.has_value(); }
    void SetZoom(const std::optional<SampleWindow> &zoom) { zoom_ = zoom; }
    /// `drawing`: Maximum, Minimum or Readings, whose marks go with them.
    bool IsHidden(Drawing drawing) const { return hidden_.at(static_cast<std::size_t>(drawing)); }
    void Hide(Drawing drawing, bool hidden);
    /// Shows what `other` shows.
    void ShowLike(const GraphPlot &other);

    /// Samples of the data set, seen or not.
    qint32 Samples() const;
    const DataSet *Set() const;
    /// Where the samples stood in view at the last `Fill`; x counts from the left edge of `PlotRect`.
    const CategoryPlace &Place() const { return place_; }
    QRect PlotRect() const { return axisRect()->rect(); }
    /// The points of a sample; all are nothing when it is not in view.
    GraphPoint Point(qint32 sample) const;
    /// From the upper edge of the picture.
    double Y(double value) const { return yAxis->coordToPixel(value); }

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
    void FillLines(double density);
    void FillValueAxis(double room);
    int NameValueAxis(double room);
    void FillCategoryAxis();
    ValueRange RangeInView() const;
    std::vector<LegendEntry> Legend() const;
    void DrawLegend(QCPPainter &painter);

    QPointer<const DataSet> set_;
    GraphStyle style_;
    QString caption_;
    CategoryPlace place_;
    std::optional<SampleWindow> zoom_;
    std::array<bool, DrawingCount> hidden_{};
    bool legendShown_ = true;
};

} // namespace px40
