#include "acquire/instrumentface.h"

#include "acquire/drawnface.h"
#include "resources/icons.h"
#include "resources/strings.h"

#include <QEvent>
#include <QFontMetricsF>
#include <QLabel>
#include <QPainter>

#include <algorithm>
#include <cmath>
#include <utility>

namespace px40 {

namespace {

// In the units of the design size.
constexpr double CornerRadius = 6;
constexpr double TopRow = 8;
constexpr double TopHeight = 18;
constexpr double LampSide = 14;
constexpr double LampGap = 4;
constexpr double Overhang = 4; // room for letters that reach to the left of their place
constexpr double IndicatorHeight = 14;
constexpr double IndicatorBottom = 6;

/// Each indicator keeps a place as wide as the longest text it can show; the fifth never shows any.
constexpr std::array<double, 7> IndicatorWidths = {54, 26, 32, 44, 52, 8, 60};

constexpr double PixelsPerPoint = 96.0 / 72.0;

} // namespace

QFont FaceFont(const QString &sizeText, double scale)
{
    QFont font;
    font.setFamilies({Text(Str::FontName), QStringLiteral("Segoe UI"), QStringLiteral("Noto Sans"),
                      QStringLiteral("DejaVu Sans"), font.family()});
    font.setStyleHint(QFont::SansSerif);
    font.setPixelSize(
        std::max(1, static_cast<int>(std::lround(sizeText.toDouble() * PixelsPerPoint * scale))));
    return font;
}

InstrumentFace::InstrumentFace(const QSizeF &designSize, const QString &side, QWidget *parent)
    : QWidget(parent), designSize_(designSize), side_(side),
      llFunction_(NewLabel("llFunction", Qt::AlignLeft | Qt::AlignVCenter)),
      llState_(NewLabel("llState", Qt::AlignLeft | Qt::AlignVCenter)),
      llUnit_(NewLabel("llUnit", Qt::AlignLeft | Qt::AlignTop))
{
    for (std::size_t i = 0; i < llDipsw_.size(); ++i)
        llDipsw_[i] = NewLabel(qPrintable(QStringLiteral("llDipsw%1").arg(i)), Qt::AlignCenter);
    for (std::size_t i = 0; i < imUnit_.size(); ++i) {
        imUnit_[i] = new DrawnFace(this);
        imUnit_[i]->setObjectName(QStringLiteral("imUnit%1").arg(i));
        imUnit_[i]->setAccessibleName(Text(Str::UnitCelsius));
    }
}

QLabel *InstrumentFace::NewLabel(const char *name, Qt::Alignment alignment)
{
    auto *const label = new QLabel(this);
    label->setObjectName(QString::fromLatin1(name));
    label->setTextFormat(Qt::PlainText);
    label->setForegroundRole(QPalette::Text);
    label->setAlignment(alignment);
    return label;
}

QString InstrumentFace::LampText(bool on) const
{
    return side_ + u' ' + Text(on ? Str::OnCaption : Str::MeasureOff);
}

void InstrumentFace::ShowSide(const QString &unit, const QString &function, MeasureDisplay::Symbol symbol,
                              Lamp lamp, const OptionIndicators &indicators)
{
    SetFaded(false);
    SetLamp(lamp);
    llUnit_->setText(unit);
    llFunction_->setText(function);
    for (std::size_t i = 0; i < imUnit_.size(); ++i)
        imUnit_[i]->setVisible(symbol == static_cast<int>(i));
    for (std::size_t i = 0; i < llDipsw_.size(); ++i)
        llDipsw_[i]->setText(indicators[i]);
}

void InstrumentFace::Fade()
{
    SetFaded(true);
    SetLamp(Lamp::None);
}

void InstrumentFace::SetLamp(Lamp lamp)
{
    llState_->setText(lamp == Lamp::None ? QString() : LampText(lamp == Lamp::On));
    ShowLamp(lamp);
}

void InstrumentFace::SetFaded(bool faded)
{
    if (std::exchange(faded_, faded) == faded)
        return;
    const QList<QLabel *> labels = findChildren<QLabel *>();
    for (QLabel *const label : labels)
        label->setForegroundRole(Ink());
    LoadDrawings();
    update();
}

QPalette InstrumentFace::Ground() const
{
    // The drawings lie on the display's ground, not on the window's, and their ink is opaque.
    QPalette ground = palette();
    const QColor paper = palette().color(QPalette::Active, QPalette::Base);
    const QColor ink = palette().color(QPalette::Active, Ink());
    ground.setColor(QPalette::Window, paper);
    ground.setColor(QPalette::WindowText, Mix(paper, ink, ink.alphaF()));
    return ground;
}

void InstrumentFace::LoadDrawings()
{
    const QPalette ground = Ground();
    imUnit_[MeasureDisplay::ThermocoupleSymbol]->SetDrawing(MakeIcon(u"celsiustc", ground));
    imUnit_[MeasureDisplay::Pt100Symbol]->SetDrawing(MakeIcon(u"celsiuspt", ground));
    imUnit_[MeasureDisplay::Jpt100Symbol]->SetDrawing(MakeIcon(u"celsiusjpt", ground));
}

double InstrumentFace::Scale() const
{
    return std::min(width() / designSize_.width(), height() / designSize_.height());
}

QSizeF InstrumentFace::Area() const
{
    return QSizeF(size()) / Scale();
}

QRect InstrumentFace::Place(double left, double top, double width, double height) const
{
    const double scale = Scale();
    return QRectF(left * scale, top * scale, width * scale, height * scale).toRect();
}

void InstrumentFace::LayOut()
{
    LayOutTopRow();
    LayOutIndicators();
}

void InstrumentFace::LayOutTopRow()
{
    const double scale = Scale();
    llFunction_->setFont(FaceFont(Text(Str::FontSizeMedium), scale));
    llState_->setFont(FaceFont(Text(Str::FontSizeNormal), scale));
    // As wide as the longer state, so that the lamp does not move.
    const QFontMetricsF metrics(llState_->font());
    const double stateWidth =
        std::max(metrics.horizontalAdvance(LampText(true)), metrics.horizontalAdvance(LampText(false))) /
        scale;
    const double stateLeft = Area().width() - Edge - stateWidth;
    const double lampLeft = stateLeft - LampGap - LampSide;
    llFunction_->setIndent(static_cast<int>(Overhang * scale));
    llFunction_->setGeometry(Place(Edge - Overhang, TopRow, lampLeft - Edge, TopHeight));
    llState_->setGeometry(Place(stateLeft, TopRow, stateWidth + Edge, TopHeight));
    lampPlace_ = Place(lampLeft, TopRow + (TopHeight - LampSide) / 2, LampSide, LampSide);
}

void InstrumentFace::LayOutIndicators()
{
    const QSizeF area = Area();
    double left = Edge;
    double all = 0;
    for (const double part : IndicatorWidths)
        all += part;
    for (std::size_t i = 0; i < llDipsw_.size(); ++i) {
        const double part = IndicatorWidths[i] / all * (area.width() - 2 * Edge);
        llDipsw_[i]->setFont(FaceFont(Text(Str::FontSizeSmall), Scale()));
        llDipsw_[i]->setGeometry(
            Place(left, area.height() - IndicatorBottom - IndicatorHeight, part, IndicatorHeight));
        left += part;
    }
}

void InstrumentFace::PlaceUnit(double left, double top, double width, double baseline)
{
    llUnit_->setFont(FaceFont(Text(Str::FontSizeLarge), Scale()));
    const QRect symbol = Place(left, top + (ReadingHeight - SymbolSide) / 2, SymbolSide, SymbolSide);
    for (DrawnFace *const face : imUnit_)
        face->setGeometry(symbol);
    QRect unit = Place(left, top, width, ReadingHeight);
    unit.setTop(static_cast<int>(std::lround(baseline - QFontMetricsF(llUnit_->font()).ascent())));
    llUnit_->setGeometry(unit);
}

void InstrumentFace::resizeEvent(QResizeEvent *event)
{
    QWidget::resizeEvent(event);
    if (!rect().isEmpty())
        LayOut();
}

void InstrumentFace::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setBrush(palette().color(QPalette::Base));
    QColor edge = palette().color(QPalette::Text);
    edge.setAlphaF(0.3F);
    painter.setPen(edge);
    const double radius = CornerRadius * Scale();
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), radius, radius);
}

void InstrumentFace::changeEvent(QEvent *event)
{
    QWidget::changeEvent(event);
    if (event->type() == QEvent::PaletteChange)
        LoadDrawings();
}

} // namespace px40
