#include "document/panelbar.h"

#include "platform/elidedlabel.h"
#include "resources/icons.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>

#include <algorithm>

namespace px40 {

PanelBar::PanelBar(const QString &name, QWidget *parent) : QWidget(parent), layout_(new QHBoxLayout(this))
{
    setObjectName(name);
    layout_->setContentsMargins(0, 0, 0, 0);
    layout_->setSpacing(8);
    setFixedHeight(std::max(20, fontMetrics().height() + 4));
}

ElidedLabel *PanelBar::AddPanel(const QString &key, const QString &caption, int captionWidth, int width)
{
    auto *const panel = new QWidget(this);
    auto *const row = new QHBoxLayout(panel);
    row->setContentsMargins(6, 0, 0, 0);
    row->setSpacing(8);

    auto *const captionLabel = new QLabel(caption, panel);
    captionLabel->setForegroundRole(QPalette::PlaceholderText);
    captionLabel->setMinimumWidth(
        std::max(captionLabel->sizeHint().width(), fontMetrics().averageCharWidth() * captionWidth));
    auto *const value = new ElidedLabel(panel);
    value->setObjectName(key);
    value->setTextInteractionFlags(Qt::TextSelectableByMouse);
    value->setMinimumWidth(1); // a long text does not widen the window
    value->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    captionLabel->setBuddy(value); // tells a screen reader what the value is
    row->addWidget(captionLabel);
    row->addWidget(value, 1);

    if (width > 0)
        panel->setFixedWidth(fontMetrics().averageCharWidth() * width);
    layout_->addWidget(panel, width > 0 ? 0 : 1);
    captions_.append(captionLabel);
    return value;
}

void PanelBar::paintEvent(QPaintEvent *)
{
    if (lineAbove_)
        QPainter(this).fillRect(QRect(0, 0, width(), 1), Mix(palette().color(QPalette::Window),
                                                             palette().color(QPalette::WindowText), 0.2));
}

void PanelBar::changeEvent(QEvent *event)
{
    QWidget::changeEvent(event);
    if (event->type() != QEvent::EnabledChange)
        return;
    // The placeholder colour has no disabled shade: the caption would stand out beside its disabled value.
    for (QLabel *const caption : std::as_const(captions_))
        caption->setForegroundRole(isEnabled() ? QPalette::PlaceholderText : QPalette::WindowText);
}

} // namespace px40
