#pragma once

#include <QWidget>

class QScrollBar;

namespace px40 {

class Chart;
class GraphModel;

/// A graph above the scroll bar that moves its view.
class GraphPane : public QWidget
{
    Q_OBJECT

  public:
    /// The model may go first.
    explicit GraphPane(GraphModel *model, QWidget *parent = nullptr);

    Chart *Graph() const { return chData_; }

  private:
    void Follow();

    Chart *chData_;
    QScrollBar *sbData_;
};

} // namespace px40
