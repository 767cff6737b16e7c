#pragma once

#include <QWidget>

class QScrollBar;

namespace px40 {

class Chart;
class DataSet;

/// The graph of a data set above the scroll bar that moves its view.
class GraphPane : public QWidget
{
    Q_OBJECT

  public:
    /// The data set may go first.
    explicit GraphPane(DataSet *set, QWidget *parent = nullptr);

    Chart *Graph() const { return chData_; }

  private:
    void Follow();

    Chart *chData_;
    QScrollBar *sbData_;
};

} // namespace px40
