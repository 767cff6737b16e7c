#include "app/frmcancel.h"

#include "app/progressrules.h"
#include "link/comm.h"
#include "link/linkstate.h"
#include "platform/geometry.h"
#include "platform/named.h"
#include "resources/strings.h"

#include <QApplication>
#include <QCloseEvent>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QStyle>

#include <algorithm>
#include <utility>

namespace px40 {

namespace {
constexpr int NarrowestTwips = 6000;
} // namespace

frmCancel::frmCancel(LinkState &state, Comm &comm, std::function<void(bool)> enableApplication,
                     QWidget *parent)
    : QDialog(parent), state_(&state), comm_(&comm), enableApplication_(std::move(enableApplication)),
      llMsg_(NewNamed<QLabel>(u"llMsg", this)), pbNow_(NewNamed<QProgressBar>(u"pbNow", this)),
      btCancel_(NewNamed<QPushButton>(u"btCancel", Text(Str::Cancel), this))
{
    setObjectName(QStringLiteral("frmCancel"));
    pbNow_->setRange(0, 100);
    pbNow_->setTextVisible(false);
    connect(btCancel_, &QPushButton::clicked, this, &frmCancel::PressCancel);
}

void frmCancel::Show()
{
    btCancel_->setEnabled(true);
    pbNow_->setValue(0);
    if (!std::exchange(open_, true))
        enableApplication_(false);
    LayOut(); // first: the desktop places the dialog by its size
    show();
    btCancel_->setFocus();
}

void frmCancel::SetCaption(const QString &caption)
{
    setWindowTitle(caption);
}

void frmCancel::SetMessage(const QString &message)
{
    llMsg_->setText(message);
    LayOut();
}

void frmCancel::RenProgress(bool throttle, int current, int total)
{
    const int value = ProgressValue(throttle, current, total, pbNow_->maximum());
    if (value >= 0)
        pbNow_->setValue(value);
}

void frmCancel::DisableCancel()
{
    btCancel_->setEnabled(false);
}

void frmCancel::Unload()
{
    if (!std::exchange(open_, false))
        return;
    const bool focused = QApplication::activeWindow(); // none while the user works in another program
    hide();
    enableApplication_(true);
    if (focused)
        parentWidget()->activateWindow();
}

void frmCancel::closeEvent(QCloseEvent *event)
{
    event->ignore();
    PressCancel();
}

void frmCancel::PressCancel()
{
    if (!btCancel_->isEnabled())
        return;
    btCancel_->setEnabled(false);
    SetMessage(Text(Str::Canceling));
    if (state_->LinkActivity == ActivityDownload) {
        state_->DownloadCancel = true;
        comm_->FlagsChanged();
    } else {
        state_->CancelRequest = true;
    }
}

void frmCancel::LayOut()
{
    const double dpi = logicalDpiX();
    const auto pixels = [dpi](int twips) { return TwipsToPixels(twips, dpi); };
    llMsg_->adjustSize();
    const QSize cancel = btCancel_->sizeHint();
    const int barHeight = pbNow_->sizeHint().height();
    const int width = std::max(pixels(NarrowestTwips), llMsg_->width() + pixels(600));
    const int barWidth = width - 2 * pixels(240);
    const int barTop = pixels(360) + llMsg_->height() + pixels(180);
    const int cancelTop = barTop + barHeight + pixels(420);

    llMsg_->move(pixels(240), pixels(360));
    pbNow_->setGeometry(pixels(240), barTop, barWidth, barHeight);
    btCancel_->setGeometry(QRect(QPoint((width - cancel.width()) / 2, cancelTop), cancel));
    // The height was designed with the title bar included.
    const int titleBar = style()->pixelMetric(QStyle::PM_TitleBarHeight, nullptr, this);
    setFixedSize(width, cancelTop + cancel.height() + pixels(600) - titleBar);
}

} // namespace px40
