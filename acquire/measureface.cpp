#include "acquire/measureface.h"

#include "acquire/readinglabel.h"
#include "resources/icons.h"
#include "resources/strings.h"

#include <QEvent>
#include <QFontMetricsF>
#include <QLabel>
#include <QPainter>

#include <algorithm>
#include <cmath>

namespace px40 {

/// A drawing that fills its place, sharp on any screen.
class DrawnFace : public QWidget
{
  public:
    using QWidget::QWidget;

    void SetDrawing(const QIcon &drawing)
    {
        drawing_ = drawing;
        update();
    }

  protected:
    void paintEvent(QPaintEvent *) override
    {
        QPainter painter(this);
        drawing_.paint(&painter, rect());
    }

  private:
    QIcon drawing_;
};

namespace {

// Places on the face, in the units of its design size. What the face is larger than that lies to both sides
// of the reading, above and below it.
constexpr double CornerRadius = 6;
constexpr double Edge = 12;
constexpr double TopRow = 8;
constexpr double TopHeight = 18;
constexpr double LampSide = 14;
constexpr double LampGap = 4;
constexpr double Overhang = 4; // room for letters that reach to the left of their place
constexpr double ReadingWidth = 216;
constexpr double ReadingTop = 31;
constexpr double ReadingHeight = 54;
constexpr double UnitGap = 8;
constexpr double UnitWidth = 56;
constexpr double SymbolSide = 42;
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

MeasureFace::MeasureFace(QWidget *parent)
    : QWidget(parent), llFunction_(NewLabel("llFunction", Qt::AlignLeft | Qt::AlignVCenter)),
      llState_(NewLabel("llState", Qt::AlignLeft | Qt::AlignVCenter)), llValue_(new ReadingLabel(this)),
      llUnit_(NewLabel("llUnit", Qt::AlignLeft | Qt::AlignTop)), shOn_(new DrawnFace(this)),
      shOff_(new DrawnFace(this))
{
    llValue_->setObjectName(QStringLiteral("llValue"));
    llValue_->setTextFormat(Qt::PlainText);
    llValue_->setForegroundRole(QPalette::Text);
    for (std::size_t i = 0; i < llDipsw_.size(); ++i)
        llDipsw_[i] = NewLabel(qPrintable(QStringLiteral("llDipsw%1").arg(i)), Qt::AlignCenter);
    for (DrawnFace *&symbol : imUnit_)
        symbol = new DrawnFace(this);
    NameDrawings();
    LoadDrawings();
    Show(MeasureDisplay());
}

QLabel *MeasureFace::NewLabel(const char *name, Qt::Alignment alignment)
{
    auto *const label = new QLabel(this);
    label->setObjectName(QString::fromLatin1(name));
    label->setTextFormat(Qt::PlainText);
    label->setForegroundRole(QPalette::Text);
    label->setAlignment(alignment);
    return label;
}

void MeasureFace::NameDrawings()
{
    shOn_->setObjectName(QStringLiteral("shOn"));
    shOff_->setObjectName(QStringLiteral("shOff"));
    shOn_->setAccessibleName(Text(Str::MoniterTitle) + u' ' + Text(Str::OnCaption));
    shOff_->setAccessibleName(Text(Str::MoniterTitle) + u' ' + Text(Str::MeasureOff));
    for (std::size_t i = 0; i < imUnit_.size(); ++i) {
        imUnit_[i]->setObjectName(QStringLiteral("imUnit%1").arg(i));
        imUnit_[i]->setAccessibleName(Text(Str::UnitCelsius));
    }
}

void MeasureFace::LoadDrawings()
{
    // The drawings lie on the display's ground, not on the window's.
    QPalette ground = palette();
    ground.setColor(QPalette::Window, palette().color(QPalette::Active, QPalette::Base));
    ground.setColor(QPalette::WindowText, palette().color(QPalette::Active, QPalette::Text));
    shOn_->SetDrawing(MakeIcon(u"lampon", ground));
    shOff_->SetDrawing(MakeIcon(u"lampoff", ground));
    imUnit_[MeasureDisplay::ThermocoupleSymbol]->SetDrawing(MakeIcon(u"celsiustc", ground));
    imUnit_[MeasureDisplay::Pt100Symbol]->SetDrawing(MakeIcon(u"celsiuspt", ground));
    imUnit_[MeasureDisplay::Jpt100Symbol]->SetDrawing(MakeIcon(u"celsiusjpt", ground));
}

void MeasureFace::Show(const MeasureDisplay &display)
{
    llValue_->setText(display.value);
    llUnit_->setText(display.unit);
    llFunction_->setText(display.function);
    llState_->setText((display.on ? shOn_ : shOff_)->accessibleName());
    shOn_->setVisible(display.on);
    shOff_->setVisible(!display.on);
    for (std::size_t i = 0; i < imUnit_.size(); ++i)
        imUnit_[i]->setVisible(display.symbol == static_cast<int>(i));
    for (std::size_t i = 0; i < llDipsw_.size(); ++i)
        llDipsw_[i]->setText(display.indicators[i]);
}

double MeasureFace::Scale() const
{
    return std::min(width() / DesignSize.width(), height() / DesignSize.height());
}

void MeasureFace::LayOut()
{
    const double scale = Scale();
    const double faceWidth = width() / scale;
    const double faceHeight = height() / scale;
    const auto place = [scale](double left, double top, double w, double h) {
        return QRectF(left * scale, top * scale, w * scale, h * scale).toRect();
    };
    llFunction_->setFont(FaceFont(Text(Str::FontSizeMedium), scale));
    llState_->setFont(FaceFont(Text(Str::FontSizeNormal), scale));
    llValue_->setFont(FaceFont(Text(Str::FontSizeHuge), scale));
    llUnit_->setFont(FaceFont(Text(Str::FontSizeLarge), scale));

    // As wide as the longer state, so that the lamp does not move.
    const QFontMetricsF stateMetrics(llState_->font());
    const double stateWidth = std::max(stateMetrics.horizontalAdvance(shOn_->accessibleName()),
                                       stateMetrics.horizontalAdvance(shOff_->accessibleName())) /
                              scale;
    const double stateLeft = faceWidth - Edge - stateWidth;
    const double lampLeft = stateLeft - LampGap - LampSide;
    llFunction_->setIndent(static_cast<int>(Overhang * scale));
    llFunction_->setGeometry(place(Edge - Overhang, TopRow, lampLeft - Edge, TopHeight));
    llState_->setGeometry(place(stateLeft, TopRow, stateWidth + Edge, TopHeight));
    const QRect lamp = place(lampLeft, TopRow + (TopHeight - LampSide) / 2, LampSide, LampSide);
    shOn_->setGeometry(lamp);
    shOff_->setGeometry(lamp);

    const double left = (faceWidth - ReadingWidth - UnitGap - UnitWidth) / 2;
    const double top = ReadingTop + (faceHeight - DesignSize.height()) / 2;
    llValue_->setGeometry(place(left, top, ReadingWidth, ReadingHeight));
    const double unitLeft = left + ReadingWidth + UnitGap;
    const QRect symbol = place(unitLeft, top + (ReadingHeight - SymbolSide) / 2, SymbolSide, SymbolSide);
    for (DrawnFace *const face : imUnit_)
        face->setGeometry(symbol);
    // Value and unit stand on one line.
    QRect unit = place(unitLeft, top, UnitWidth, ReadingHeight);
    unit.setTop(static_cast<int>(
        std::lround(llValue_->y() + llValue_->Baseline() - QFontMetricsF(llUnit_->font()).ascent())));
    llUnit_->setGeometry(unit);

    double indicatorLeft = Edge;
    double all = 0;
    for (const double part : IndicatorWidths)
        all += part;
    for (std::size_t i = 0; i < llDipsw_.size(); ++i) {
        const double part = IndicatorWidths[i] / all * (faceWidth - 2 * Edge);
        llDipsw_[i]->setFont(FaceFont(Text(Str::FontSizeSmall), scale));
        llDipsw_[i]->setGeometry(
            place(indicatorLeft, faceHeight - IndicatorBottom - IndicatorHeight, part, IndicatorHeight));
        indicatorLeft += part;
    }
}

void MeasureFace::resizeEvent(QResizeEvent *event)
{
    QWidget::resizeEvent(event);
    if (!rect().isEmpty())
        LayOut();
}

void MeasureFace::paintEvent(QPaintEvent *)
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

void MeasureFace::changeEvent(QEvent *event)
{
    QWidget::changeEvent(event);
    if (event->type() == QEvent::PaletteChange)
        LoadDrawings();
}

} // namespace px40
