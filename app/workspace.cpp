#include "app/workspace.h"

#include "resources/icons.h"

#include <QAbstractButton>
#include <QAction>
#include <QMdiSubWindow>
#include <QPaintEvent>
#include <QPainter>
#include <QStyle>
#include <QStyleOption>
#include <QVBoxLayout>

#include <algorithm>

namespace px40 {

namespace {

/// Darker than the windows in it.
QColor Ground(const QPalette &palette)
{
    const QColor window = palette.color(QPalette::Window);
    return window.lightness() < 128 ? Mix(window, Qt::black, 0.45) : window.darker(112);
}

/// A row of icon, text and shortcut that runs a command.
class CommandLink : public QAbstractButton
{
  public:
    CommandLink(QAction *command, const QString &purpose, QWidget *parent)
        : QAbstractButton(parent), command_(command)
    {
        setText(purpose);
        setIconSize(QSize(24, 24));
        setCursor(Qt::PointingHandCursor);
        setAttribute(Qt::WA_Hover);
        connect(this, &QAbstractButton::clicked, command, &QAction::trigger);
        connect(command, &QAction::changed, this, &CommandLink::Follow);
        Follow();
    }

    QSize sizeHint() const override
    {
        const int texts = fontMetrics().horizontalAdvance(text()) + fontMetrics().horizontalAdvance(Keys());
        return {iconSize().width() + texts + 2 * Margin + 4 * Gap, iconSize().height() + Margin};
    }

  protected:
    void paintEvent(QPaintEvent *) override
    {
        QPainter painter(this);
        const QColor ground = Ground(palette());
        const QColor ink = palette().color(QPalette::WindowText);
        if (isEnabled() && underMouse())
            painter.fillRect(rect(), Mix(ground, ink, isDown() ? 0.18 : 0.08));
        if (hasFocus() && window()->testAttribute(Qt::WA_KeyboardFocusChange))
            DrawThinFrame(painter, rect(), palette().color(QPalette::Highlight));
        QRect room = rect().adjusted(Margin, 0, -Margin, 0);
        const QIcon::Mode mode = isEnabled() ? QIcon::Normal : QIcon::Disabled;
        icon().paint(&painter, QRect(room.topLeft(), QSize(iconSize().width(), height())), Qt::AlignCenter,
                     mode);
        room.setLeft(room.left() + iconSize().width() + Gap);
        painter.setPen(ink);
        painter.drawText(room, Qt::AlignRight | Qt::AlignVCenter, Keys());
        room.setRight(room.right() - fontMetrics().horizontalAdvance(Keys()) - Gap);
        painter.drawText(room, Qt::AlignLeft | Qt::AlignVCenter,
                         fontMetrics().elidedText(text(), Qt::ElideRight, room.width()));
    }

  private:
    static constexpr int Margin = 12;
    static constexpr int Gap = 12;

    QString Keys() const { return command_->shortcut().toString(QKeySequence::NativeText); }

    void Follow()
    {
        setIcon(command_->icon());
        setEnabled(command_->isEnabled());
    }

    QAction *command_;
};

} // namespace

Workspace::Workspace(QWidget *parent)
    : QMdiArea(parent), offers_(new QWidget(viewport())), offerRows_(new QVBoxLayout(offers_))
{
    offers_->setObjectName(QStringLiteral("offers"));
    offerRows_->setSpacing(4);
    setObjectName(QStringLiteral("workspace"));
    setHorizontalScrollBarPolicy(Qt::ScrollBarAsNeeded);
    setVerticalScrollBarPolicy(Qt::ScrollBarAsNeeded);
    setActivationOrder(QMdiArea::ActivationHistoryOrder);
}

void Workspace::Place(QMdiSubWindow *window)
{
    constexpr int Steps = 4; // after so many windows the cascade begins again
    const QRect area = viewport()->rect();
    const int step = window->style()->pixelMetric(QStyle::PM_TitleBarHeight, nullptr, window);
    const int offset = static_cast<int>((subWindowList().size() - 1) % Steps) * step;
    const QSize most = area.size() * 0.85;
    const QSize wanted = window->size().expandedTo(most).boundedTo(area.size() - QSize(offset, offset));
    window->setGeometry(QRect(area.topLeft() + QPoint(offset, offset), wanted));
}

void Workspace::MoveIntoView(QMdiSubWindow *window)
{
    const QSize beside = viewport()->size() - window->size();
    window->move(std::min(window->x(), std::max(0, beside.width())),
                 std::min(window->y(), std::max(0, beside.height())));
}

void Workspace::EnableWindows(bool enabled)
{
    enabled_ = enabled;
    if (!enabled)
        activeBefore_ = activeSubWindow();
    const QList<QMdiSubWindow *> windows = subWindowList();
    for (QMdiSubWindow *const window : windows)
        window->setEnabled(enabled);
    if (!enabled)
        return;
    ReturnFocus();
    ReturnFocusSoon();
}

void Workspace::ReturnFocusSoon()
{
    const auto giveBack = [this] {
        if (!window()->isActiveWindow() || !enabled_)
            return;
        ReturnFocus();
        activeBefore_ = nullptr;
    };
    QMetaObject::invokeMethod(this, giveBack, Qt::QueuedConnection);
}

void Workspace::ReturnFocus()
{
    if (!activeBefore_)
        return;
    setFocus(); // or another data window gets it while the table of this one is hidden
    activeBefore_->setFocus();
}

QWidget *Workspace::FocusPlace() const
{
    if (const QList<QMdiSubWindow *> windows = subWindowList(ActivationHistoryOrder); !windows.isEmpty()) {
        const auto last = std::find_if(windows.rbegin(), windows.rend(), [](const QMdiSubWindow *one) {
            return one->isEnabled() && !one->isMinimized();
        });
        return last != windows.rend() ? *last : nullptr;
    }
    const QList<CommandLink *> offers = offers_->findChildren<CommandLink *>();
    const auto first =
        std::find_if(offers.begin(), offers.end(), [](const QWidget *one) { return one->isEnabled(); });
    return first != offers.end() ? *first : nullptr;
}

void Workspace::Offer(QAction *command, const QString &purpose)
{
    offerRows_->addWidget(new CommandLink(command, purpose, offers_));
}

/// In the middle, while there is no data window.
void Workspace::ShowOffers()
{
    QRect room(QPoint(), offers_->sizeHint().boundedTo(viewport()->size()));
    room.moveCenter(viewport()->rect().center());
    offers_->setGeometry(room);
    offers_->lower();
    offers_->setVisible(subWindowList().isEmpty());
}

void Workspace::resizeEvent(QResizeEvent *event)
{
    QMdiArea::resizeEvent(event);
    ShowOffers();
}

bool Workspace::viewportEvent(QEvent *event)
{
    if (event->type() == QEvent::ChildAdded || event->type() == QEvent::ChildRemoved)
        QMetaObject::invokeMethod(this, &Workspace::ShowOffers, Qt::QueuedConnection);
    return QMdiArea::viewportEvent(event);
}

void Workspace::paintEvent(QPaintEvent *event)
{
    QPainter painter(viewport());
    painter.fillRect(event->rect(), Ground(palette()));
}

} // namespace px40
