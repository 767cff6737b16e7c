#include "app/windowround.h"

#include "app/live.h"
#include "app/mainactions.h"
#include "app/workspace.h"

#include <QAction>
#include <QApplication>
#include <QToolBar>

namespace px40 {

RoundStop NextStop(RoundStop now, const std::array<bool, RoundStops> &open, bool back)
{
    const auto from = static_cast<std::size_t>(now);
    for (std::size_t step = 1; step < RoundStops; ++step) {
        const std::size_t next = (from + (back ? RoundStops - step : step)) % RoundStops;
        if (open.at(next))
            return static_cast<RoundStop>(next);
    }
    return now;
}

WindowRound::WindowRound(MainActions &actions, Workspace &workspace, Live &live, QWidget *window)
    : QObject(window), actions_(&actions), workspace_(&workspace), live_(&live), window_(window)
{
    for (const bool back : {false, true}) {
        auto *const go = new QAction(this);
        go->setShortcut(back ? Qt::SHIFT | Qt::Key_F6 : QKeyCombination(Qt::Key_F6));
        window->addAction(go);
        connect(go, &QAction::triggered, this, [this, back] { Go(back); });
    }
}

RoundStop WindowRound::Now() const
{
    const QWidget *const active = QApplication::activeWindow();
    const QWidget *const focused = QApplication::focusWidget();
    if (active && active == live_->Source())
        return RoundStop::Source;
    if (active && active == live_->Moniter())
        return RoundStop::Moniter;
    return focused && qobject_cast<const QToolBar *>(focused->parentWidget()) ? RoundStop::Bar
                                                                              : RoundStop::Workspace;
}

void WindowRound::Go(bool back)
{
    const auto isThere = [](const QWidget *window) { return window && !window->isMinimized(); };
    QWidget *window = window_;
    QWidget *focus = nullptr;
    switch (NextStop(Now(),
                     {FirstButton() != nullptr, workspace_->FocusPlace() != nullptr,
                      isThere(live_->Moniter()), isThere(live_->Source())},
                     back)) {
    case RoundStop::Bar:
        focus = FirstButton();
        break;
    case RoundStop::Workspace:
        focus = workspace_->FocusPlace();
        break;
    case RoundStop::Moniter:
        window = live_->Moniter();
        break;
    case RoundStop::Source:
        window = live_->Source();
        break;
    }
    window->setAttribute(Qt::WA_KeyboardFocusChange); // as Tab does: the focus is shown
    if (focus)
        focus->setFocus(Qt::TabFocusReason);
    window->raise();
    window->activateWindow();
}

QWidget *WindowRound::FirstButton() const
{
    for (const QToolBar *const bar : {actions_->MainBar(), actions_->SubBar()}) {
        const QList<QAction *> buttons = bar->actions();
        for (QAction *const button : buttons) {
            QWidget *const shown = bar->widgetForAction(button);
            if (!button->isSeparator() && shown->isVisible() && shown->isEnabled())
                return shown;
        }
    }
    return nullptr;
}

} // namespace px40
