#include "app/frmsplash.h"

#include "app/titlecard.h"

#include <QVBoxLayout>

namespace px40 {

frmSplash::frmSplash() : QWidget(nullptr, Qt::SplashScreen | Qt::FramelessWindowHint)
{
    setObjectName(QStringLiteral("frmSplash"));
    auto *const column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->addWidget(new TitleCard(this));
    connect(&tmWait_, &Timer::tick, this, &frmSplash::EndWait);
}

frmSplash::~frmSplash()
{
    EndWait();
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
