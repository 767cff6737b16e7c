#include "acquire/instrumentface.h"

#include "acquire/readinglabel.h"
#include "acquire/spokenreading.h"
#include "resources/icons.h"
#include "resources/strings.h"

#include <QAbstractButton>
#include <QAccessible>
#include <QAccessibleWidget>
#include <QFontMetricsF>
#include <QLabel>
#include <QPainter>

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

namespace px40 {

namespace {

// In the units of the design size.
constexpr double CornerRadius = 6;
constexpr double TopRow = 8;
constexpr double TopHeight = 18;
constexpr double LampSide = 14;
constexpr double LampGap = 4;
constexpr double Overhang = 4; // for letters that reach beyond their left edge
constexpr double IndicatorHeight = 14;
constexpr double IndicatorBottom = 6;
constexpr double UnitGap = 8;
constexpr double SymbolSide = 42;

/// The longest text that each indicator can show, whose room it keeps; the sixth never shows any.
constexpr std::array<const char16_t *, 7> LongestIndicators = {
    u"AUTO STEP", u"2.5s", u"RJON", u"IPTS-68", u"AUTO OFF", u"", u"CONTACT IN"};
constexpr int LeastIndicatorPixels = 10;
constexpr double OutputFrame = 2; // in pixels
constexpr double FocusInset = 4;

constexpr double PixelsPerPoint = 96.0 / 72.0;

/// The display as a screen reader finds it: one thing, whose name is its reading at the moment of asking,
/// with the buttons on it.
class SpokenFace : public QAccessibleWidget
{
  public:
    explicit SpokenFace(InstrumentFace *face)
        : QAccessibleWidget(face, face->findChild<QAbstractButton *>() ? QAccessible::Grouping
                                                                       : QAccessible::StaticText),
          face_(face)
    {
    }

    QString text(QAccessible::Text kind) const override
    {
        return kind == QAccessible::Name          ? face_->Spoken()
               : kind == QAccessible::Description ? face_->SpokenState()
                                                  : QAccessibleWidget::text(kind);
    }
    int childCount() const override { return static_cast<int>(Buttons().size()); }
    QAccessibleInterface *child(int index) const override
    {
        return QAccessible::queryAccessibleInterface(Buttons().value(index));
    }
    int indexOfChild(const QAccessibleInterface *child) const override
    {
        return static_cast<int>(Buttons().indexOf(qobject_cast<QAbstractButton *>(child->object())));
    }

  private:
    QList<QAbstractButton *> Buttons() const { return face_->findChildren<QAbstractButton *>(); }

    InstrumentFace *face_;
};

QAccessibleInterface *MakeSpoken(const QString &, QObject *object)
{
    auto *const face = qobject_cast<InstrumentFace *>(object);
    return face ? new SpokenFace(face) : nullptr;
}

} // namespace

/// An icon that fills the label, sharp on any screen.
class IconLabel : public QLabel
{
  public:
    using QLabel::QLabel;

    void SetIcon(QStringView name)
    {
        name_ = name;
        update();
    }

  protected:
    /// On the display's background, not on the window's, and in an opaque colour.
    void paintEvent(QPaintEvent *) override
    {
        QPalette ground = palette();
        const QColor paper = palette().color(QPalette::Active, QPalette::Base);
        const QColor ink = palette().color(QPalette::Active, foregroundRole());
        ground.setColor(QPalette::Window, paper);
        ground.setColor(QPalette::WindowText, Mix(paper, ink, ink.alphaF()));
        QPainter painter(this);
        MakeIcon(name_, ground).paint(&painter, rect());
    }

  private:
    QStringView name_; ///< a literal
};

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

InstrumentFace::InstrumentFace(const FaceDesign &design, QWidget *parent)
    : QWidget(parent), design_(design),
      llFunction_(NewLabel<QLabel>(QStringLiteral("llFunction"), Qt::AlignLeft | Qt::AlignVCenter)),
      llState_(NewLabel<QLabel>(QStringLiteral("llState"), Qt::AlignLeft | Qt::AlignVCenter)),
      llUnit_(NewLabel<QLabel>(QStringLiteral("llUnit"), Qt::AlignLeft | Qt::AlignTop)),
      llDemo_(NewLabel<QLabel>(QStringLiteral("llDemo"), Qt::AlignLeft | Qt::AlignVCenter))
{
    for (std::size_t i = 0; i < llDipsw_.size(); ++i)
        llDipsw_[i] = NewLabel<QLabel>(QStringLiteral("llDipsw%1").arg(i), Qt::AlignCenter);
    static constexpr QStringView Symbols[] = {u"celsiustc", u"celsiuspt", u"celsiusjpt"};
    for (std::size_t i = 0; i < imUnit_.size(); ++i) {
        imUnit_[i] = NewLabel<IconLabel>(QStringLiteral("imUnit%1").arg(i), {});
        imUnit_[i]->SetIcon(Symbols[i]);
        imUnit_[i]->hide();
    }
    for (const FaceDesign::Cell &cell : design.reading)
        reading_ << NewLabel<ReadingLabel>(cell.name, reading_.isEmpty() ? Qt::AlignRight : Qt::AlignCenter);
    static const bool SpokenInstalled = (QAccessible::installFactory(&MakeSpoken), true);
    static_cast<void>(SpokenInstalled);
    setFocusPolicy(Qt::TabFocus); // so that a screen reader's user can go there
    llDemo_->setText(Text(Str::Demo));
    llDemo_->hide();
    const auto [off, on] = design.lamps;
    lamps_[0] = NewLabel<IconLabel>(QLatin1StringView(off), {});
    lamps_[1] = on == off ? lamps_[0] : NewLabel<IconLabel>(QLatin1StringView(on), {});
    for (IconLabel *const lamp : lamps_)
        lamp->hide();
}

QString InstrumentFace::LampText(bool on) const
{
    return design_.side + u' ' + Text(on ? Str::OnCaption : Str::MeasureOff);
}

QString InstrumentFace::SpokenState() const
{
    return faded_ ? Text(Str::SpokenOld) : llState_->text();
}

void InstrumentFace::Show(const SideDisplay &display, std::span<const QString> reading, const QString &value)
{
    spoken_ = SpokenReading(display, value);
    SetFaded(false);
    SetLamp(!display.known ? Lamp::None : display.on ? Lamp::On : Lamp::Off);
    llUnit_->setText(display.unit);
    llFunction_->setText(display.function);
    for (std::size_t i = 0; i < imUnit_.size(); ++i)
        imUnit_[i]->setVisible(display.symbol == static_cast<int>(i));
    for (std::size_t i = 0; i < llDipsw_.size(); ++i)
        llDipsw_[i]->setText(display.indicators[i]);
    for (qsizetype i = 0; i < reading_.size(); ++i)
        reading_[i]->setText(reading[static_cast<std::size_t>(i)]);
}

void InstrumentFace::Fade()
{
    SetFaded(true);
    SetLamp(Lamp::None);
}

void InstrumentFace::SetLamp(Lamp lamp)
{
    if (std::exchange(lamp_, lamp) == lamp)
        return;
    QFont state = llState_->font();
    state.setWeight(StateWeight());
    llState_->setFont(state);
    update();
    for (IconLabel *const one : lamps_)
        one->hide();
    llState_->clear();
    if (lamp == Lamp::None)
        return;
    const bool on = lamp == Lamp::On;
    llState_->setText(LampText(on));
    IconLabel *const shown = lamps_[on ? 1 : 0];
    shown->SetIcon(on ? u"lampon" : u"lampoff");
    shown->setAccessibleName(LampText(on));
    shown->show();
}

/// The state of an output that is on is not overlooked.
QFont::Weight InstrumentFace::StateWeight() const
{
    return design_.isOutput && lamp_ == Lamp::On ? QFont::DemiBold : QFont::Normal;
}

void InstrumentFace::SetDemo(bool demo)
{
    if (llDemo_->isHidden() != demo)
        return;
    llDemo_->setVisible(demo);
    LayOutIndicators();
}

void InstrumentFace::SetFaded(bool faded)
{
    if (std::exchange(faded_, faded) == faded)
        return;
    const QList<QLabel *> labels = findChildren<QLabel *>();
    for (QLabel *const label : labels)
        label->setForegroundRole(faded ? QPalette::PlaceholderText : QPalette::Text);
    update();
}

double InstrumentFace::Scale() const
{
    return std::min(width() / design_.size.width(), height() / design_.size.height());
}

QRect InstrumentFace::Place(double left, double top, double width, double height) const
{
    const double scale = Scale();
    return QRectF(left * scale, top * scale, width * scale, height * scale).toRect();
}

QRectF InstrumentFace::ReadingPlace() const
{
    const QSizeF area = QSizeF(size()) / Scale();
    double wide = UnitGap + design_.unitWidth;
    for (const FaceDesign::Cell &cell : design_.reading)
        wide += cell.width;
    const double top = design_.readingTop + (area.height() - design_.size.height()) / 2;
    return {(area.width() - wide) / 2, top, wide, ReadingHeight};
}

double InstrumentFace::Baseline() const
{
    return reading_.first()->y() + reading_.first()->Baseline();
}

void InstrumentFace::LayOut()
{
    LayOutTopRow();
    LayOutReading();
    LayOutIndicators();
}

void InstrumentFace::LayOutTopRow()
{
    const double scale = Scale();
    llFunction_->setFont(FaceFont(Text(Str::FontSizeMedium), scale));
    QFont stateFont = FaceFont(Text(Str::FontSizeNormal), scale);
    stateFont.setWeight(design_.isOutput ? QFont::DemiBold : QFont::Normal);
    // As wide as the widest state, so that the lamp does not move.
    const QFontMetricsF metrics(stateFont);
    stateFont.setWeight(StateWeight());
    llState_->setFont(stateFont);
    const double stateWidth =
        std::max(metrics.horizontalAdvance(LampText(true)), metrics.horizontalAdvance(LampText(false))) /
        scale;
    const double stateLeft = width() / scale - Edge - stateWidth;
    const double lampLeft = stateLeft - LampGap - LampSide;
    llFunction_->setIndent(static_cast<int>(Overhang * scale));
    llFunction_->setGeometry(Place(Edge - Overhang, TopRow, lampLeft - Edge, TopHeight));
    llState_->setGeometry(Place(stateLeft, TopRow, stateWidth + Edge, TopHeight));
    for (IconLabel *const lamp : lamps_)
        lamp->setGeometry(Place(lampLeft, TopRow + (TopHeight - LampSide) / 2, LampSide, LampSide));
}

/// In a row with the same gaps between the longest texts, behind the word of a demo.
void InstrumentFace::LayOutIndicators()
{
    const double scale = Scale();
    QFont font = FaceFont(Text(Str::FontSizeSmall), scale);
    font.setPixelSize(std::max(font.pixelSize(), LeastIndicatorPixels));
    QFont strong = font;
    strong.setWeight(QFont::DemiBold);
    const QFontMetricsF metrics(font);
    const bool demo = !llDemo_->isHidden();
    const double demoWidth = std::ceil(QFontMetricsF(strong).horizontalAdvance(llDemo_->text())) + 1;

    std::vector<std::pair<QLabel *, double>> row;
    if (demo)
        row.emplace_back(llDemo_, demoWidth);
    for (std::size_t i = 0; i < llDipsw_.size(); ++i) {
        const QString longest = QString::fromUtf16(LongestIndicators.at(i));
        llDipsw_[i]->setFont(font);
        llDipsw_[i]->setGeometry({});
        if (!longest.isEmpty() && i >= design_.firstIndicator)
            row.emplace_back(llDipsw_[i], std::ceil(metrics.horizontalAdvance(longest)) + 1);
    }
    llDemo_->setFont(strong);
    double texts = 0;
    for (const auto &[label, textWidth] : row)
        texts += textWidth;
    const double margin = Edge * scale;
    const double gap = (width() - 2 * margin - texts) / static_cast<double>(row.size() - 1);
    const double top = height() - (IndicatorBottom + IndicatorHeight) * scale;
    double left = margin;
    for (const auto &[label, textWidth] : row) {
        label->setGeometry(QRectF(left, top, textWidth, IndicatorHeight * scale).toRect());
        left += textWidth + gap;
    }
}

void InstrumentFace::LayOutReading()
{
    const QRectF place = ReadingPlace();
    double left = place.left();
    for (qsizetype i = 0; i < reading_.size(); ++i) {
        const double cell = design_.reading[i].width;
        reading_[i]->setFont(FaceFont(Text(Str::FontSizeHuge), Scale() * design_.readingScale));
        reading_[i]->setGeometry(Place(left, place.top(), cell, ReadingHeight));
        left += cell;
    }
    left += UnitGap;
    const double symbolTop = place.top() + (ReadingHeight - SymbolSide) / 2;
    for (IconLabel *const symbol : imUnit_)
        symbol->setGeometry(Place(left, symbolTop, SymbolSide, SymbolSide));
    llUnit_->setFont(FaceFont(Text(Str::FontSizeLarge), Scale()));
    QRect unit = Place(left, place.top(), design_.unitWidth, ReadingHeight);
    unit.setTop(static_cast<int>(std::lround(Baseline() - QFontMetricsF(llUnit_->font()).ascent())));
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
    const bool output = design_.isOutput && lamp_ == Lamp::On;
    const double strength = output ? OutputFrame : 1;
    const QColor edge = Mix(palette().color(QPalette::Base), palette().color(QPalette::Text), 0.3);
    painter.setPen(QPen(output ? LampGreen(palette()) : edge, strength));
    const double radius = CornerRadius * Scale();
    const double inset = strength / 2;
    painter.drawRoundedRect(QRectF(rect()).adjusted(inset, inset, -inset, -inset), radius, radius);
    if (!hasFocus() || !window()->testAttribute(Qt::WA_KeyboardFocusChange))
        return;
    painter.setBrush(Qt::NoBrush); // inside the frame, which may tell of an output
    painter.setPen(QPen(palette().color(QPalette::Highlight), OutputFrame));
    painter.drawRoundedRect(QRectF(rect()).adjusted(FocusInset, FocusInset, -FocusInset, -FocusInset), radius,
                            radius);
}

} // namespace px40
