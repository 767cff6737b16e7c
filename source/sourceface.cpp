#include "source/sourceface.h"

#include "acquire/drawnface.h"
#include "acquire/readinglabel.h"
#include "resources/icons.h"
#include "source/sourcedisplay.h"

#include <QKeyEvent>
#include <QLabel>
#include <QPainter>
#include <QPushButton>

#include <algorithm>

namespace px40 {

/// A decimal point.
class PointMark : public QLabel
{
  public:
    using QLabel::QLabel;

  protected:
    void paintEvent(QPaintEvent *) override
    {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        painter.setBrush(palette().color(foregroundRole()));
        painter.drawEllipse(rect());
    }
};

namespace {

/// The frame of the reading.
class ReadingFrame : public QLabel
{
  public:
    using QLabel::QLabel;

  protected:
    void paintEvent(QPaintEvent *) override
    {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        QColor line = palette().color(QPalette::Text);
        line.setAlphaF(0.25F);
        painter.setPen(line);
        const double radius = height() * 0.07;
        painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), radius, radius);
    }
};

// In the units of the design size. What the face is larger than that lies to both sides of the reading, above
// and below it.
constexpr QSizeF DesignSize{352, 172};
constexpr double UsualScale = 1.2;
constexpr double ButtonsTop = 32;
constexpr double ButtonWidth = 32;
constexpr double ButtonHeight = 22;
constexpr double ButtonGap = 3; // between a button and the frame of the reading
constexpr double FrameMargin = 3;
constexpr double SignWidth = 56;
constexpr double DigitWidth = 38;
constexpr double UnitWidth = 70;
constexpr double PointSide = 6;
constexpr double ArrowSide = 14;

constexpr double ReadingWidth = SignWidth + DigitWidth * SourceFace::Digits + 8 + UnitWidth;

} // namespace

SourceFace::SourceFace(QWidget *parent)
    : InstrumentFace(DesignSize, Text(Str::SourceTitle), parent), llWaku_(new ReadingFrame(this)),
      spSourceOnOff_(new DrawnFace(this))
{
    llWaku_->setObjectName(QStringLiteral("llWaku"));
    spSourceOnOff_->setObjectName(QStringLiteral("spSourceOnOff"));
    BuildReading();
    BuildButtons("btUp", Str::SourceStepUp, &btUp_);
    BuildButtons("btDown", Str::SourceStepDown, &btDown_);
    for (int digit = 0; digit < Digits; ++digit) {
        const auto i = static_cast<std::size_t>(digit);
        connect(btUp_[i], &QAbstractButton::clicked, this, [this, digit] { Q_EMIT stepUp(digit); });
        connect(btDown_[i], &QAbstractButton::clicked, this, [this, digit] { Q_EMIT stepDown(digit); });
    }
    SourceFace::LoadDrawings();
    Show(SourceDisplay());
}

void SourceFace::BuildReading()
{
    for (std::size_t i = 0; i < llValue_.size(); ++i) {
        llValue_[i] = new ReadingLabel(this);
        llValue_[i]->setObjectName(QStringLiteral("llValue%1").arg(i));
        llValue_[i]->setTextFormat(Qt::PlainText);
        llValue_[i]->setForegroundRole(QPalette::Text);
        if (i > 0)
            llValue_[i]->setAlignment(Qt::AlignCenter);
    }
    for (std::size_t i = 0; i < shDec_.size(); ++i) {
        shDec_[i] = new PointMark(this);
        shDec_[i]->setForegroundRole(QPalette::Text);
        shDec_[i]->setObjectName(QStringLiteral("shDec%1").arg(i));
    }
}

void SourceFace::BuildButtons(const char *name, Str caption, Buttons *buttons)
{
    for (std::size_t i = 0; i < buttons->size(); ++i) {
        auto *const button = new QPushButton(this);
        button->setObjectName(QLatin1StringView(name) + QString::number(i));
        button->setAccessibleName(Text(caption).arg(i + 1));
        button->setToolTip(button->accessibleName());
        button->setAutoDefault(false);
        button->installEventFilter(this);
        buttons->at(i) = button;
    }
}

void SourceFace::LoadDrawings()
{
    InstrumentFace::LoadDrawings();
    spSourceOnOff_->SetDrawing(MakeIcon(lamp_ == Lamp::On ? u"lampon" : u"lampoff", Ground()));
    QPalette keys = palette();
    keys.setColor(QPalette::WindowText, palette().color(QPalette::Active, QPalette::ButtonText));
    for (QAbstractButton *const button : btUp_)
        button->setIcon(MakeIcon(u"stepup", keys));
    for (QAbstractButton *const button : btDown_)
        button->setIcon(MakeIcon(u"stepdown", keys));
}

void SourceFace::Show(const SourceDisplay &display)
{
    ShowSide(display.unit, display.function, display.symbol, LampOf(display.known, display.on),
             display.indicators);
    for (std::size_t i = 0; i < llValue_.size(); ++i)
        llValue_[i]->setText(display.digits[i]);
    for (std::size_t i = 0; i < shDec_.size(); ++i)
        shDec_[i]->setVisible(display.points[i]);
    for (QAbstractButton *const button : btUp_)
        button->setEnabled(display.mayStepUp);
}

void SourceFace::ShowLamp(Lamp lamp)
{
    spSourceOnOff_->setVisible(lamp != Lamp::None);
    if (lamp == Lamp::None || std::exchange(lamp_, lamp) == lamp)
        return;
    spSourceOnOff_->setAccessibleName(LampText(lamp == Lamp::On));
    SourceFace::LoadDrawings();
}

QSize SourceFace::sizeHint() const
{
    return (DesignSize * UsualScale * logicalDpiX() / 96).toSize();
}

QSize SourceFace::minimumSizeHint() const
{
    return (DesignSize * logicalDpiX() / 96).toSize();
}

void SourceFace::LayOut()
{
    InstrumentFace::LayOut();
    spSourceOnOff_->setGeometry(LampPlace());
    const QSizeF area = Area();
    const double left = (area.width() - ReadingWidth) / 2;
    const double top = ButtonsTop + (area.height() - DesignSize.height()) / 2;
    const double readingTop = top + ButtonHeight + ButtonGap + FrameMargin;
    LayOutReading(left, readingTop);
    const double below = readingTop + ReadingHeight + FrameMargin + ButtonGap;
    const int arrow = static_cast<int>(ArrowSide * Scale());
    for (std::size_t i = 0; i < btUp_.size(); ++i) {
        const double x =
            left + SignWidth + DigitWidth * static_cast<double>(i) + (DigitWidth - ButtonWidth) / 2;
        btUp_[i]->setGeometry(Place(x, top, ButtonWidth, ButtonHeight));
        btDown_[i]->setGeometry(Place(x, below, ButtonWidth, ButtonHeight));
        btUp_[i]->setIconSize(QSize(arrow, arrow));
        btDown_[i]->setIconSize(QSize(arrow, arrow));
    }
}

void SourceFace::LayOutReading(double left, double top)
{
    llWaku_->setGeometry(
        Place(left - Edge / 2, top - FrameMargin, ReadingWidth + Edge, ReadingHeight + 2 * FrameMargin));
    const QFont font = FaceFont(Text(Str::FontSizeHuge), Scale());
    double x = left;
    for (std::size_t i = 0; i < llValue_.size(); ++i) {
        const double width = i == 0 ? SignWidth : DigitWidth;
        llValue_[i]->setFont(font);
        llValue_[i]->setGeometry(Place(x, top, width, ReadingHeight));
        x += width;
    }
    const double baseline = llValue_[0]->y() + llValue_[0]->Baseline();
    for (std::size_t i = 0; i < shDec_.size(); ++i) {
        const double boundary = left + SignWidth + DigitWidth * static_cast<double>(i + 1);
        QRect mark = Place(boundary - PointSide / 2, top, PointSide, PointSide);
        mark.moveBottom(static_cast<int>(baseline));
        shDec_[i]->setGeometry(mark);
    }
    PlaceUnit(x + UnitGap, top, UnitWidth, baseline);
}

bool SourceFace::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::KeyPress && OnKey(static_cast<QKeyEvent *>(event)->key(), watched))
        return true;
    return InstrumentFace::eventFilter(watched, event);
}

bool SourceFace::OnKey(int key, const QObject *button)
{
    const auto of = [button](const Buttons &row) { return std::find(row.begin(), row.end(), button); };
    const bool isUp = of(btUp_) != btUp_.end();
    const Buttons &row = isUp ? btUp_ : btDown_;
    const auto digit = of(row) - row.begin();
    window()->setAttribute(Qt::WA_KeyboardFocusChange); // as Tab does: the focus is shown
    switch (key) {
    case Qt::Key_Left:
        row[static_cast<std::size_t>(std::max<std::ptrdiff_t>(digit - 1, 0))]->setFocus();
        return true;
    case Qt::Key_Right:
        row[static_cast<std::size_t>(std::min<std::ptrdiff_t>(digit + 1, Digits - 1))]->setFocus();
        return true;
    case Qt::Key_Up:
        btUp_[static_cast<std::size_t>(digit)]->click();
        return true;
    case Qt::Key_Down:
        btDown_[static_cast<std::size_t>(digit)]->click();
        return true;
    default:
        return false;
    }
}

} // namespace px40
