#include "app/frmsplash.h"

#include "app/titlecard.h"

#include <QGuiApplication>
#include <QPainter>
#include <QScreen>
#include <QVBoxLayout>

namespace px40 {

frmSplash::frmSplash() : QWidget(nullptr, Qt::SplashScreen | Qt::FramelessWindowHint)
{
    setObjectName(QStringLiteral("frmSplash"));
    auto *const column = new QVBoxLayout(this);
    column->setContentsMargins(1, 1, 1, 1); // for the border
    column->addWidget(new TitleCard(this));
    adjustSize();
    if (const QScreen *const screen = QGuiApplication::primaryScreen())
        move(screen->availableGeometry().center() - rect().center());
    connect(&tmWait_, &Timer::tick, this, &frmSplash::EndWait);
}

frmSplash::~frmSplash()
{
    EndWait();
}

void frmSplash::paintEvent(QPaintEvent *)
{
    QColor ink = palette().windowText().color();
    ink.setAlphaF(0.4F);
    QPainter painter(this);
    painter.setPen(ink);
    painter.drawRect(rect().adjusted(0, 0, -1, -1));
}

QCoro::Task<void> frmSplash::Wait()
{
    const OneShot<bool> waited;
    waited_ = waited;
    tmWait_.SetEnabled(true);
    co_await waited;
}

void frmSplash::EndWait()
{
    tmWait_.SetEnabled(false);
    if (waited_)
        waited_->Complete(true);
}

} // namespace px40
