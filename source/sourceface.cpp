#include "source/sourceface.h"

#include "platform/named.h"
#include "resources/icons.h"
#include "source/sourcedisplay.h"

#include <QKeyEvent>
#include <QLabel>
#include <QPainter>
#include <QPushButton>

#include <algorithm>

namespace px40 {

/// Draws a shape in place of a text.
class ShapeLabel : public QLabel
{
  public:
    using QLabel::QLabel;

  protected:
    virtual void Draw(QPainter &painter) const = 0;

    void paintEvent(QPaintEvent *) override
    {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        Draw(painter);
    }
};

/// A decimal point.
class PointMark : public ShapeLabel
{
  public:
    using ShapeLabel::ShapeLabel;

  protected:
    void Draw(QPainter &painter) const override
    {
        painter.setPen(Qt::NoPen);
        painter.setBrush(palette().color(foregroundRole()));
        painter.drawEllipse(rect());
    }
};

namespace {

/// The frame of the reading.
class ReadingFrame : public ShapeLabel
{
  public:
    using ShapeLabel::ShapeLabel;

  protected:
    void Draw(QPainter &painter) const override
    {
        QColor line = palette().color(QPalette::Text);
        line.setAlphaF(0.25F);
        painter.setPen(line);
        const double radius = height() * 0.07;
        painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), radius, radius);
    }
};

// In the units of `DesignSize`.
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

FaceDesign SourceDesign()
{
    FaceDesign design = {.size = DesignSize,
                         .side = Text(Str::SourceTitle),
                         .lamps = {"spSourceOnOff", "spSourceOnOff"},
                         .reading = {{QStringLiteral("llValue0"), SignWidth}},
                         .readingTop = ButtonsTop + ButtonHeight + ButtonGap + FrameMargin,
                         .unitWidth = UnitWidth,
                         .isOutput = true};
    for (int digit = 1; digit <= SourceFace::Digits; ++digit)
        design.reading.append({QStringLiteral("llValue%1").arg(digit), DigitWidth});
    return design;
}

} // namespace

SourceFace::SourceFace(QWidget *parent)
    : InstrumentFace(SourceDesign(), parent), llWaku_(NewLabel<ReadingFrame>(QStringLiteral("llWaku"), {}))
{
    for (std::size_t i = 0; i < shDec_.size(); ++i)
        shDec_[i] = NewLabel<PointMark>(QStringLiteral("shDec%1").arg(i), {});
    BuildButtons("btUp", Str::SourceStepUp, &btUp_);
    BuildButtons("btDown", Str::SourceStepDown, &btDown_);
    for (int digit = 0; digit < Digits; ++digit) {
        const auto i = static_cast<std::size_t>(digit);
        connect(btUp_[i], &QAbstractButton::clicked, this, [this, digit] { Q_EMIT stepUp(digit); });
        connect(btDown_[i], &QAbstractButton::clicked, this, [this, digit] { Q_EMIT stepDown(digit); });
    }
    LoadIcons();
    Show(SourceDisplay());
}

void SourceFace::BuildButtons(const char *name, Str caption, Buttons *buttons)
{
    for (std::size_t i = 0; i < buttons->size(); ++i) {
        auto *const button = NewNamed<QPushButton>(QLatin1StringView(name) + QString::number(i), this);
        button->setAccessibleName(Text(caption).arg(i + 1));
        button->setToolTip(button->accessibleName());
        button->setAutoDefault(false);
        button->installEventFilter(this);
        buttons->at(i) = button;
    }
}

void SourceFace::LoadIcons()
{
    QPalette keys = palette();
    keys.setColor(QPalette::WindowText, palette().color(QPalette::Active, QPalette::ButtonText));
    for (QAbstractButton *const button : btUp_)
        button->setIcon(MakeIcon(u"stepup", keys));
    for (QAbstractButton *const button : btDown_)
        button->setIcon(MakeIcon(u"stepdown", keys));
}

void SourceFace::changeEvent(QEvent *event)
{
    InstrumentFace::changeEvent(event);
    if (event->type() == QEvent::PaletteChange)
        LoadIcons();
}

void SourceFace::Show(const SourceDisplay &display)
{
    QString value;
    for (std::size_t i = 0; i < display.digits.size(); ++i) {
        value += display.digits[i];
        if (i > 0 && i <= display.points.size() && display.points[i - 1])
            value += u'.';
    }
    InstrumentFace::Show(display, display.digits, value);
    for (std::size_t i = 0; i < shDec_.size(); ++i)
        shDec_[i]->setVisible(display.points[i]);
    for (QAbstractButton *const button : btUp_)
        button->setEnabled(display.mayStepUp);
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
    const QRectF reading = ReadingPlace();
    llWaku_->setGeometry(Place(reading.left() - Edge / 2, reading.top() - FrameMargin, reading.width() + Edge,
                               reading.height() + 2 * FrameMargin));
    const double above = reading.top() - FrameMargin - ButtonGap - ButtonHeight;
    const double below = reading.top() + reading.height() + FrameMargin + ButtonGap;
    const int arrow = static_cast<int>(ArrowSide * Scale());
    for (std::size_t i = 0; i < btUp_.size(); ++i) {
        const double x =
            reading.left() + SignWidth + DigitWidth * static_cast<double>(i) + (DigitWidth - ButtonWidth) / 2;
        btUp_[i]->setGeometry(Place(x, above, ButtonWidth, ButtonHeight));
        btDown_[i]->setGeometry(Place(x, below, ButtonWidth, ButtonHeight));
        btUp_[i]->setIconSize(QSize(arrow, arrow));
        btDown_[i]->setIconSize(QSize(arrow, arrow));
    }
    for (std::size_t i = 0; i < shDec_.size(); ++i) {
        const double boundary = reading.left() + SignWidth + DigitWidth * static_cast<double>(i + 1);
        QRect mark = Place(boundary - PointSide / 2, reading.top(), PointSide, PointSide);
        mark.moveBottom(static_cast<int>(Baseline()));
        shDec_[i]->setGeometry(mark);
    }
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
