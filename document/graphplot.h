#pragma once

#include "document/graphaxis.h"
#include "document/graphstyle.h"
#include "document/plotlibrary.h"

#include <QPointer>
#include <QString>

namespace px40 {

class DataSet;
struct GraphPoint;

/// The picture of a data set's graph: readings, running maximum and minimum of the samples in view, axes and
/// a line that says what is what. It draws only on request, onto any painter; `Chart` is its life on the
/// screen.
///
/// A sample stands at its own number on the horizontal axis.
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

    const DataSet *Set() const;
    /// Where the samples stood in view at the last `Fill`; x counts from the left edge of `PlotRect`.
    const CategoryPlace &Place() const { return place_; }
    QRect PlotRect() const { return axisRect()->rect(); }
    /// The points of a sample; all are nothing when it is not in view.
    GraphPoint Point(qint32 sample) const;
    /// From the upper edge of the picture.
    double Y(double value) const { return yAxis->coordToPixel(value); }

  protected:
    void draw(QCPPainter *painter) override;

  private:
    void FillLines(double density);
    void FillValueAxis(double room);
    void FillCategoryAxis();
    ValueRange RangeInView() const;
    void DrawLegend(QCPPainter &painter);

    QPointer<const DataSet> set_;
    GraphStyle style_;
    QString caption_;
    CategoryPlace place_;
    bool legendShown_ = true;
};

} // namespace px40
