#include "resources/housestyle.h"

#include "resources/icons.h"

#include <QHeaderView>
#include <QPainter>
#include <QStyleFactory>
#include <QStyleOption>
#include <QTableView>

#include <array>

namespace px40 {

namespace {

constexpr double InactiveInk = 0.65; // share of the ink in the title of a window that is not active
constexpr double FrameInk = 0.45;    // share of the ink in the frame of a box on a dark ground
constexpr double WindowInk = 0.35;   // the same in the frame of a window
constexpr double UnderTitle = 2;     // height of the line below an active title
constexpr int TitleMargin = 6;
constexpr int BelowGroupTitle = 3; // as Fusion lays it out
constexpr double GlyphSide = 9;
constexpr int MostFramed = 64; // palettes; the widgets of the program share a few

bool IsDark(const QPalette &palette)
{
    return palette.color(QPalette::Window).lightness() < 128;
}

QColor Ink(const QPalette &palette, double share)
{
    return Mix(palette.color(QPalette::Window), palette.color(QPalette::WindowText), share);
}

QColor GridLine(const QPalette &palette)
{
    return Mix(palette.color(QPalette::Base), palette.color(QPalette::Text), 0.18);
}

enum class Glyph { Minimise, Maximise, Restore, Close };

void DrawGlyph(QPainter &painter, const QRect &room, Glyph glyph)
{
    QRectF box(0, 0, GlyphSide, GlyphSide);
    box.moveCenter(QRectF(room).center());
    box.moveTopLeft(QPointF(box.topLeft().toPoint()) + QPointF(0.5, 0.5));
    const QRectF inner = box.adjusted(0, 2, -2, 0);
    switch (glyph) {
    case Glyph::Minimise:
        painter.drawLine(box.bottomLeft(), box.bottomRight());
        break;
    case Glyph::Maximise:
        painter.drawRect(box);
        break;
    case Glyph::Restore:
        painter.drawRect(inner);
        painter.drawPolyline(std::array{inner.topLeft() + QPointF(2, 0), box.topLeft() + QPointF(2, 0),
                                        box.topRight(), inner.bottomRight() + QPointF(2, -2),
                                        inner.bottomRight() + QPointF(0, -2)}
                                 .data(),
                             5);
        break;
    case Glyph::Close:
        painter.setRenderHint(QPainter::Antialiasing);
        painter.drawLine(box.topLeft(), box.bottomRight());
        painter.drawLine(box.topRight(), box.bottomLeft());
        painter.setRenderHint(QPainter::Antialiasing, false);
        break;
    }
}

struct WindowButton
{
    QStyle::SubControl inTitleBar;
    QStyle::SubControl inMenuBar;
    Glyph glyph;
};

constexpr WindowButton WindowButtons[] = {
    {QStyle::SC_TitleBarMinButton, QStyle::SC_MdiMinButton, Glyph::Minimise},
    {QStyle::SC_TitleBarMaxButton, QStyle::SC_None, Glyph::Maximise},
    {QStyle::SC_TitleBarNormalButton, QStyle::SC_MdiNormalButton, Glyph::Restore},
    {QStyle::SC_TitleBarCloseButton, QStyle::SC_MdiCloseButton, Glyph::Close},
};

bool Has(const QStyleOptionTitleBar &bar, QStyle::SubControl button)
{
    const bool minimised = (bar.titleBarState & Qt::WindowMinimized) != 0;
    const bool maximised = (bar.titleBarState & Qt::WindowMaximized) != 0;
    const auto may = [&bar](Qt::WindowType hint) { return bar.titleBarFlags.testFlag(hint); };
    switch (button) {
    case QStyle::SC_TitleBarMinButton:
        return may(Qt::WindowMinimizeButtonHint) && !minimised;
    case QStyle::SC_TitleBarMaxButton:
        return may(Qt::WindowMaximizeButtonHint) && !maximised;
    case QStyle::SC_TitleBarNormalButton:
        return (may(Qt::WindowMinimizeButtonHint) && minimised) ||
               (may(Qt::WindowMaximizeButtonHint) && maximised);
    default:
        return may(Qt::WindowSystemMenuHint);
    }
}

} // namespace

HouseStyle::HouseStyle(const QString &base)
    : QProxyStyle(base.isEmpty() ? nullptr : QStyleFactory::create(base)),
      ownLook_(baseStyle()->name().compare(u"fusion", Qt::CaseInsensitive) == 0)
{
}

void HouseStyle::polish(QPalette &palette)
{
    QProxyStyle::polish(palette);
    palette = WithReadableHints(palette);
}

QIcon HouseStyle::standardIcon(StandardPixmap icon, const QStyleOption *option, const QWidget *widget) const
{
    const QPalette palette = widget ? widget->palette() : QPalette();
    switch (icon) {
    case SP_MessageBoxWarning:
        return MakeIcon(u"warning", palette);
    case SP_MessageBoxQuestion:
        return MakeIcon(u"question", palette);
    default:
        return QProxyStyle::standardIcon(icon, option, widget);
    }
}

int HouseStyle::pixelMetric(PixelMetric metric, const QStyleOption *option, const QWidget *widget) const
{
    if (metric == PM_MessageBoxIconSize)
        return 48; // as large as the tool bar's lines are drawn well
    if (ownLook_ && metric == PM_MenuPanelWidth)
        return 1; // the frame
    constexpr int CellMargin = 6;
    if (metric == PM_HeaderMargin)
        return CellMargin;
    if (metric == PM_FocusFrameHMargin && qobject_cast<const QTableView *>(widget))
        return CellMargin - 1; // the style adds one
    return QProxyStyle::pixelMetric(metric, option, widget);
}

int HouseStyle::styleHint(StyleHint hint, const QStyleOption *option, const QWidget *widget,
                          QStyleHintReturn *returned) const
{
    if (hint == SH_Table_GridLineColor && option)
        return static_cast<int>(GridLine(option->palette).rgb());
    if (hint == SH_EtchDisabledText)
        return 0; // on dark the second letters would be seen
    return QProxyStyle::styleHint(hint, option, widget, returned);
}

/// The style draws frames in a shade of the window's colour, and focus in one of the highlight, which are not
/// seen on a dark ground: a palette with colours of which those shades are seen.
const QPalette &HouseStyle::WithFrames(const QPalette &palette) const
{
    auto known = framed_.constFind(palette.cacheKey());
    if (known == framed_.constEnd()) {
        if (framed_.size() >= MostFramed)
            framed_.clear();
        constexpr double Darkened = 1.45; // by 1.4 or 1.5, depending on what is drawn
        QPalette made = palette;
        for (const QPalette::ColorGroup group : {QPalette::Active, QPalette::Inactive, QPalette::Disabled}) {
            QPalette one = palette;
            one.setCurrentColorGroup(group);
            const QColor frame = Ink(one, group == QPalette::Disabled ? FrameInk / 2 : FrameInk);
            constexpr int FocusDarkened = 125; // percent, by the style
            made.setColor(group, QPalette::Highlight, one.color(QPalette::Highlight).lighter(FocusDarkened));
            made.setColor(group, QPalette::Window, frame.lighter(static_cast<int>(100 * Darkened)));
        }
        known = framed_.insert(palette.cacheKey(), made);
    }
    return *known;
}

template <typename Option>
void HouseStyle::DrawFramed(PrimitiveElement element, Option option, QPainter *painter,
                            const QWidget *widget) const
{
    if (IsDark(option.palette))
        option.palette = WithFrames(option.palette);
    QProxyStyle::drawPrimitive(element, &option, painter, widget);
}

void HouseStyle::drawPrimitive(PrimitiveElement element, const QStyleOption *option, QPainter *painter,
                               const QWidget *widget) const
{
    if (!ownLook_)
        return QProxyStyle::drawPrimitive(element, option, painter, widget);
    switch (element) {
    case PE_FrameFocusRect:
        if (option->state.testFlag(State_Item)) // of a table or list
            break;
        if (option->state.testFlag(State_KeyboardFocusChange))
            DrawThinFrame(*painter, option->rect, option->palette.color(QPalette::Highlight));
        return;
    case PE_FrameMenu:
    case PE_FrameWindow: // of a window in a workspace
        return DrawThinFrame(*painter, option->rect, Ink(option->palette, WindowInk));
    case PE_Frame:
        if (widget && widget->inherits("QComboBoxPrivateContainer"))
            break;
        return DrawThinFrame(*painter, option->rect, Ink(option->palette, 0.25));
    case PE_FrameLineEdit:
        if (const auto *const frame = qstyleoption_cast<const QStyleOptionFrame *>(option))
            return DrawFramed(element, *frame, painter, widget);
        break;
    case PE_PanelButtonCommand:
    case PE_IndicatorRadioButton:
    case PE_IndicatorCheckBox:
        if (const auto *const button = qstyleoption_cast<const QStyleOptionButton *>(option))
            return DrawFramed(element, *button, painter, widget);
        break;
    case PE_IndicatorToolBarSeparator: {
        const QRect &room = option->rect;
        painter->fillRect(option->state.testFlag(State_Horizontal)
                              ? QRect(room.center().x(), room.top() + 6, 1, room.height() - 12)
                              : QRect(room.left() + 6, room.center().y(), room.width() - 12, 1),
                          Ink(option->palette, 0.25));
        return;
    }
    case PE_FrameGroupBox:
        return DrawThinFrame(*painter,
                             option->rect.adjusted(0, option->fontMetrics.height() + BelowGroupTitle, 0, 0),
                             Ink(option->palette, IsDark(option->palette) ? 0.25 : 0.18));
    default:
        break;
    }
    QProxyStyle::drawPrimitive(element, option, painter, widget);
}

void HouseStyle::drawControl(ControlElement element, const QStyleOption *option, QPainter *painter,
                             const QWidget *widget) const
{
    const auto *const item = qstyleoption_cast<const QStyleOptionMenuItem *>(option);
    if (ownLook_ && element == CE_MenuItem && item && item->text.isEmpty() &&
        item->menuItemType == QStyleOptionMenuItem::Separator) {
        const QRect &room = option->rect;
        painter->fillRect(room.left() + 5, room.center().y(), room.width() - 10, 1,
                          Ink(option->palette, 0.25));
        return;
    }
    const auto *const heading = qstyleoption_cast<const QStyleOptionHeader *>(option);
    if (ownLook_ && element == CE_HeaderSection && heading) {
        const QRect &room = option->rect;
        const QPalette &palette = option->palette;
        const bool pressed = option->state.testFlag(State_Sunken);
        painter->fillRect(
            room, Mix(palette.color(QPalette::Base), palette.color(QPalette::Text), pressed ? 0.15 : 0.05));
        painter->fillRect(room.left(), room.bottom(), room.width(), 1, GridLine(palette));
        if (heading->position != QStyleOptionHeader::End)
            painter->fillRect(room.right(), room.top(), 1, room.height(), GridLine(palette));
        return;
    }
    // Each line of a button's caption is centred by itself, whatever spaces are around it.
    const auto *const button = qstyleoption_cast<const QStyleOptionButton *>(option);
    if (element != CE_PushButtonLabel || !button || !button->text.contains(u'\n'))
        return QProxyStyle::drawControl(element, option, painter, widget);
    QStyleOptionButton centred = *button;
    QStringList lines = button->text.split(u'\n');
    for (QString &line : lines)
        line = line.trimmed();
    centred.text = lines.join(u'\n');
    QProxyStyle::drawControl(element, &centred, painter, widget);
}

void HouseStyle::drawComplexControl(ComplexControl control, const QStyleOptionComplex *option,
                                    QPainter *painter, const QWidget *widget) const
{
    const auto *const slider = qstyleoption_cast<const QStyleOptionSlider *>(option);
    if (control == CC_ScrollBar && slider && slider->minimum == slider->maximum) {
        const QWidget *const place =
            widget && widget->parentWidget() ? widget->parentWidget()->parentWidget() : nullptr;
        const auto *const table = qobject_cast<const QTableView *>(place);
        painter->fillRect(option->rect, option->palette.color(table ? QPalette::Base : QPalette::Window));
        if (table && slider->orientation == Qt::Vertical) { // the heading goes on above it
            QStyleOptionHeader heading;
            heading.initFrom(table->horizontalHeader());
            heading.rect = option->rect;
            heading.rect.setHeight(table->horizontalHeader()->height());
            heading.position = QStyleOptionHeader::End;
            drawControl(CE_HeaderSection, &heading, painter, widget);
        }
        return;
    }
    if (ownLook_ && control == CC_TitleBar) {
        if (const auto *const bar = qstyleoption_cast<const QStyleOptionTitleBar *>(option))
            return DrawTitleBar(*bar, *painter, widget);
    }
    if (ownLook_ && control == CC_MdiControls)
        return DrawWindowButtons(*option, *painter, widget);
    QProxyStyle::drawComplexControl(control, option, painter, widget);
}

void HouseStyle::DrawTitleBar(const QStyleOptionTitleBar &bar, QPainter &painter, const QWidget *widget) const
{
    const bool active = (bar.titleBarState & State_Active) != 0;
    const QPalette &palette = bar.palette;
    painter.save();
    painter.fillRect(bar.rect, palette.color(QPalette::Window));
    const QRect whole = bar.rect;
    DrawThinFrame(painter, whole.adjusted(0, 0, 0, 1), Ink(palette, WindowInk)); // open below
    if (active)
        painter.fillRect(QRectF(whole.left(), whole.bottom() + 1 - UnderTitle, whole.width(), UnderTitle),
                         palette.color(QPalette::Highlight));

    const QRect menu = subControlRect(CC_TitleBar, &bar, SC_TitleBarSysMenu, widget);
    if (!bar.icon.isNull() && bar.titleBarFlags.testFlag(Qt::WindowSystemMenuHint)) {
        QRect icon(QPoint(), QSize(1, 1) * pixelMetric(PM_SmallIconSize, &bar, widget));
        icon.moveCenter(menu.center());
        bar.icon.paint(&painter, icon);
    }
    QFont font = painter.font();
    font.setWeight(QFont::DemiBold);
    painter.setFont(font);
    painter.setPen(Ink(palette, active ? 1 : InactiveInk));
    const QRect room =
        subControlRect(CC_TitleBar, &bar, SC_TitleBarLabel, widget).adjusted(TitleMargin, 0, -TitleMargin, 0);
    painter.drawText(room, Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine,
                     painter.fontMetrics().elidedText(bar.text, Qt::ElideRight, room.width()));
    DrawWindowButtons(bar, painter, widget);
    painter.restore();
}

/// Of a title bar, or of a maximised window in the menu bar.
void HouseStyle::DrawWindowButtons(const QStyleOptionComplex &option, QPainter &painter,
                                   const QWidget *widget) const
{
    const auto *const bar = qstyleoption_cast<const QStyleOptionTitleBar *>(&option);
    for (const WindowButton &button : WindowButtons) {
        const SubControl which = bar ? button.inTitleBar : button.inMenuBar;
        if (which == SC_None || (bar ? !Has(*bar, which) : !option.subControls.testFlag(which)))
            continue;
        const QRect room = subControlRect(bar ? CC_TitleBar : CC_MdiControls, &option, which, widget);
        const bool pointed = option.activeSubControls.testFlag(which);
        const bool pressed = pointed && option.state.testFlag(State_Sunken);
        if (pressed || (pointed && option.state.testFlag(State_MouseOver)))
            painter.fillRect(room, Ink(option.palette, pressed ? 0.25 : 0.12));
        const bool faint = bar && (bar->titleBarState & State_Active) == 0;
        painter.setPen(QPen(Ink(option.palette, faint ? InactiveInk : 1), 1));
        painter.setBrush(Qt::NoBrush);
        DrawGlyph(painter, room, button.glyph);
    }
}

} // namespace px40
