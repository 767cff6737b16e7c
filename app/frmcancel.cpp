#include "app/frmcancel.h"

#include "app/progressrules.h"
#include "link/comm.h"
#include "link/linkstate.h"
#include "platform/geometry.h"
#include "resources/strings.h"

#include <QApplication>
#include <QCloseEvent>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QStyle>

#include <utility>

namespace px40 {

frmCancel::frmCancel(LinkState &state, Comm &comm, std::function<void(bool)> enableApplication,
                     QWidget *parent)
    : QDialog(parent), state_(&state), comm_(&comm), enableApplication_(std::move(enableApplication)),
      llMsg_(new QLabel(this)), pbNow_(new QProgressBar(this)), btCancel_(new QPushButton(this))
{
    setObjectName(QStringLiteral("frmCancel"));
    llMsg_->setObjectName(QStringLiteral("llMsg"));
    pbNow_->setObjectName(QStringLiteral("pbNow"));
    btCancel_->setObjectName(QStringLiteral("btCancel"));
    pbNow_->setRange(0, 100);
    pbNow_->setTextVisible(false);
    btCancel_->setText(Text(Str::Cancel));
    connect(btCancel_, &QPushButton::clicked, this, &frmCancel::PressCancel);
}

void frmCancel::Show()
{
    btCancel_->setEnabled(true);
    pbNow_->setValue(0);
    if (!std::exchange(open_, true))
        enableApplication_(false);
    LayOut(); // the desktop places it by its size
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
    const bool focused = QApplication::activeWindow(); // else the user works in another program
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
    state_->ForwardErrorText = Text(Str::Canceled);
    if (state_->LinkActivity == ActivityDownload) {
        comm_->tmTimeout().SetEnabled(false);
        state_->DownloadCancel = true;
        comm_->FlagsChanged();
    } else {
        state_->CancelRequest = true;
    }
}

void frmCancel::LayOut()
{
    const double dpi = logicalDpiX();
    const auto twips = [dpi](int pixels) { return PixelsToTwips(pixels, dpi); };
    const auto pixels = [dpi](int length) { return TwipsToPixels(length, dpi); };

    llMsg_->adjustSize();
    const QSize cancel = btCancel_->sizeHint();
    const int barHeight = pbNow_->sizeHint().height();
    ProgressParts parts;
    parts.messageWidth = twips(llMsg_->width());
    parts.messageHeight = twips(llMsg_->height());
    parts.barHeight = twips(barHeight);
    parts.cancelWidth = twips(cancel.width());
    parts.cancelHeight = twips(cancel.height());
    const ProgressLayout layout = LayOutProgress(parts);

    llMsg_->move(pixels(layout.messageLeft), pixels(layout.messageTop));
    pbNow_->setGeometry(pixels(layout.barLeft), pixels(layout.barTop), pixels(layout.barWidth), barHeight);
    btCancel_->setGeometry(QRect(QPoint(pixels(layout.cancelLeft), pixels(layout.cancelTop)), cancel));
    // The layout's height is the frame's, title bar included.
    const int titleBar = style()->pixelMetric(QStyle::PM_TitleBarHeight, nullptr, this);
    setFixedSize(pixels(layout.width), pixels(layout.height) - titleBar);
}

} // namespace px40
