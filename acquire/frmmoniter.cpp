#include "acquire/frmmoniter.h"

#include "acquire/instrumentface.h"
#include "link/comm.h"
#include "link/linkstate.h"
#include "link/linkuse.h"
#include "platform/elidedlabel.h"
#include "platform/geometry.h"
#include "platform/jobs.h"
#include "resources/strings.h"

#include <QCloseEvent>
#include <QPushButton>

#include <algorithm>
#include <utility>

namespace px40 {

namespace {

constexpr int ClickDelayMs = 10;

// In pixels of 1/96 inch, as the face's design.
constexpr QSizeF FaceSize{304, 108};
constexpr double ReadingTop = 31;
constexpr double ReadingWidth = 228; // three quarters of the face
constexpr std::size_t FirstIndicator =
    2;                                // while the others are lit here, the source neither steps nor sweeps
constexpr double ReadingScale = 1.13; // so that a sign, five digits and a point fill it
constexpr double UnitWidth = 56;
constexpr double Margin = 8;
constexpr double ButtonWidth = 84;
constexpr double ButtonHeight = 38;
constexpr QSizeF DesignSize{FaceSize.width() + 2 * Margin, FaceSize.height() + 3 * Margin + ButtonHeight};
constexpr double UsualScale = 1.6;

// Where the window opens first: beside the main window if the screen is wide enough, else inside its right
// edge, far enough down to leave menus and tool bar free. In pixels.
constexpr int Beside = 8;
constexpr int FromRight = 24;
constexpr int FromTop = 128;

FaceDesign MeasureDesign()
{
    return {.size = FaceSize,
            .side = Text(Str::MoniterTitle),
            .lamps = {"shOff", "shOn"},
            .reading = {{QStringLiteral("llValue"), ReadingWidth}},
            .readingTop = ReadingTop,
            .unitWidth = UnitWidth,
            .readingScale = ReadingScale,
            .firstIndicator = FirstIndicator};
}

} // namespace

frmMoniter::frmMoniter(const InstrumentLink &link, UserStore &store, QWidget *parent)
    : LiveWindow(QStringLiteral("Moniter"), store, parent), link_(link),
      face_(new InstrumentFace(MeasureDesign(), this)),
      btMeasOnOff_(NewNamed<QPushButton>(
          "btMeasOnOff", Text(Str::MeasCaption) + QStringLiteral("\n ") + Text(Str::OnCaption), this))
{
    setWindowTitle(Text(Str::MoniterTitle));
    btMeasOnOff_->setAccessibleName(Text(Str::MeasCaption) + u' ' + Text(Str::OnCaption));
    btMeasOnOff_->setFocus();

    MessageLine()->setWordWrap(true); // two lines fit beside the button

    // The click returns first; the command is sent on the tick, when the link is free.
    connect(btMeasOnOff_, &QPushButton::clicked, this, [this] {
        // Two waiting presses cancel each other out, so a third one replaces them.
        presses_ = presses_ < 2 ? presses_ + 1 : 1;
        tmMeasInter_.SetInterval(ClickDelayMs);
    });
    connect(&tmMeasInter_, &Timer::tick, this, &frmMoniter::SendNow);

    const double scale = logicalDpiX() / 96.0;
    setMinimumSize((DesignSize * scale).toSize());
    const QSize usual = (DesignSize * UsualScale * scale).toSize();
    Place(QRect(FirstPlace(usual), usual));
}

void frmMoniter::Show(const MeasureDisplay &display)
{
    face_->Show(display, {&display.value, 1}, display.value);
    ShowFault(display.fault);
    btMeasOnOff_->setEnabled(display.buttonEnabled);
    if (display.buttonEnabled)
        btMeasOnOff_->setFocus(); // lost while it was disabled
}

void frmMoniter::SendNow()
{
    if (presses_ == 0 || LinkInUse(link_.state))
        return; // the timer goes on
    --presses_;
    link_.jobs.Launch(SwitchMeasuring(this, link_), "measuring on and off");
}

QCoro::Task<void> frmMoniter::SwitchMeasuring(QPointer<frmMoniter> window, InstrumentLink link)
{
    const LinkUse use(link.gate, ActivityMonitorCommand);
    const int measureOn = link.instrument.Status.MeasureOn;
    // At once, so that a second press before the next status sends the other command.
    link.instrument.Status.MeasureOn = measureOn == 0 ? 1 : 0;
    const LinkCommand command = SetMeasuring(measureOn != 1);

    // The next status shows whether it worked; why it did not is shown here.
    const Result<QString> reply = co_await link.comm.SendCommand(command);
    const Result<> obeyed = Obeyed(command, reply);
    if (window)
        window->ShowMessage(obeyed ? QString() : obeyed.error().text);
    if (window && window->presses_ == 0)
        window->tmMeasInter_.SetInterval(0);
}

QPoint frmMoniter::FirstPlace(const QSize &usual) const
{
    const QList<QRect> screens = UsableScreens();
    const QWidget *const main = parentWidget() ? parentWidget()->window() : nullptr;
    const QRect frame = main ? main->frameGeometry() : screens.value(0);
    const QPoint beside(frame.right() + Beside, main ? main->geometry().top() : frame.top());
    for (const QRect &screen : screens) {
        if (screen.intersects(frame) && screen.contains(QRect(beside, usual)))
            return beside;
    }
    return frame.topRight() + QPoint(1 - FromRight - usual.width(), FromTop);
}

void frmMoniter::closeEvent(QCloseEvent *event)
{
    event->setAccepted(MayClose(link_.state));
    if (!event->isAccepted())
        return;
    tmMeasInter_.SetEnabled(false);
    LiveWindow::closeEvent(event);
}

void frmMoniter::resizeEvent(QResizeEvent *event)
{
    QWidget::resizeEvent(event);
    const double scale = std::min(width() / DesignSize.width(), height() / DesignSize.height());
    const auto scaled = [scale](double length) { return static_cast<int>(length * scale); };
    const int margin = scaled(Margin);
    const QSize button(scaled(ButtonWidth), scaled(ButtonHeight));
    btMeasOnOff_->setFont(FaceFont(Text(Str::FontSizeNormal), scale));
    btMeasOnOff_->setGeometry(
        QRect(QPoint(width() - margin - button.width(), height() - margin - button.height()), button));
    face_->setGeometry(margin, margin, width() - 2 * margin, height() - 3 * margin - button.height());
    MessageLine()->setFont(FaceFont(Text(Str::FontSizeNormal), scale));
    MessageLine()->setGeometry(
        QRect(margin, btMeasOnOff_->y(), btMeasOnOff_->x() - 2 * margin, btMeasOnOff_->height()));
}

} // namespace px40
