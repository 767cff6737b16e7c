#pragma once

#include "bench/rig.h"
#include "document/dataset.h"
#include "platform/jobs.h"

#include <QMdiArea>

#include <cstddef>
#include <memory>

namespace px40::bench {

/// A data set, alone or in a data window.
class SetRig
{
  public:
    SetRig() : data(std::make_shared<DataSet>(shared)) {}
    SetRig(const SetRig &) = delete;
    SetRig &operator=(const SetRig &) = delete;

    /// Opens the data window, off screen, and waits until it has been painted.
    void Show();

    /// The graph of the data window, which must have been shown.
    QWidget *Graph() const;

    LinkState state;
    DocumentShared shared;
    Jobs jobs;
    std::shared_ptr<DataSet> data;

  private:
    std::unique_ptr<QMdiArea> area_;
};

/// Counts how often a widget is painted, so that no figure is that of a painting which did not take place.
class PaintCount : public QObject
{
  public:
    explicit PaintCount(QWidget *widget);

    int Count() const { return count_; }

  protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

  private:
    int count_ = 0;
};

/// Until nothing more is to be laid out or painted.
void Settle();

/// Memory of this process that is in use; what has been freed is given back first.
std::size_t ResidentBytes();

} // namespace px40::bench
