#include "document/graphpane.h"

#include "document/chart.h"
#include "document/dataset.h"

#include <QScrollBar>
#include <QSignalBlocker>
#include <QVBoxLayout>

#include <algorithm>

namespace px40 {

GraphPane::GraphPane(DataSet *set, QWidget *parent)
    : QWidget(parent), set_(set), chData_(new Chart(set, this)), sbData_(new QScrollBar(Qt::Horizontal, this))
{
    auto *const column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(2);
    column->addWidget(chData_, 1);
    column->addWidget(sbData_);
    sbData_->setObjectName(QStringLiteral("sbData"));
    connect(sbData_, &QScrollBar::valueChanged, set, &DataSet::ScrollTo);
    connect(set, &DataSet::graphChanged, this, &GraphPane::FollowSet);
    FollowSet();
}

void GraphPane::FollowSet()
{
    if (!set_)
        return;
    const QSignalBlocker blocker(sbData_); // what comes from the set does not go back to it
    const GraphScroll &scroll = set_->Scroll();
    sbData_->setPageStep(std::max(1, set_->Graph().count));
    sbData_->setRange(0, scroll.maximum);
    sbData_->setValue(scroll.value);
    sbData_->setEnabled(scroll.maximum > 0);
}

} // namespace px40
