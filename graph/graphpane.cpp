#include "graph/graphpane.h"

#include "graph/chart.h"

#include <QScrollBar>
#include <QSignalBlocker>
#include <QVBoxLayout>

namespace px40 {

GraphPane::GraphPane(GraphModel *model, QWidget *parent)
    : QWidget(parent), chData_(new Chart(model, this)), sbData_(new QScrollBar(Qt::Horizontal, this))
{
    auto *const column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(2);
    column->addWidget(chData_, 1);
    column->addWidget(sbData_);
    sbData_->setObjectName(QStringLiteral("sbData"));
    connect(sbData_, &QScrollBar::valueChanged, chData_, &Chart::ScrollTo);
    connect(model, &GraphModel::changed, this, &GraphPane::Follow);
    connect(chData_, &Chart::windowChanged, this, &GraphPane::Follow);
    Follow();
}

void GraphPane::Follow()
{
    if (!chData_->Model())
        return;
    const QSignalBlocker blocker(sbData_); // what comes from the graph does not go back to it
    const SampleWindow window = chData_->Window();
    sbData_->setPageStep(window.count);
    sbData_->setRange(0, chData_->Furthest());
    sbData_->setValue(window.skipped);
    sbData_->setEnabled(chData_->Furthest() > 0);
}

} // namespace px40
