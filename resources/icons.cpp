#include "resources/icons.h"

#include <QColor>
#include <QFile>
#include <QIconEngine>
#include <QImage>
#include <QLoggingCategory>
#include <QPainter>
#include <QPalette>
#include <QPixmapCache>
#include <QSvgRenderer>
#include <algorithm>
#include <cmath>
#include <memory>
#include <utility>

using namespace Qt::Literals::StringLiterals;

// The macro declares a function of the global namespace. Without the call a linker drops the resources of
// a static library.
static void InitResources()
{
    Q_INIT_RESOURCE(px40);
}

namespace px40 {

QColor Mix(const QColor &from, const QColor &to, double share)
{
    const auto channel = [share](int a, int b) { return static_cast<int>(std::lround(a + (b - a) * share)); };
    return QColor(channel(from.red(), to.red()), channel(from.green(), to.green()),
                  channel(from.blue(), to.blue()));
}

void DrawThinFrame(QPainter &painter, const QRect &rect, const QColor &colour)
{
    const QTransform toDevice = painter.deviceTransform();
    const QTransform back = toDevice.inverted();
    // Rounded corner by corner, as the clip of a widget is.
    const QRectF exact = toDevice.mapRect(QRectF(rect));
    const QRect room(exact.topLeft().toPoint(), exact.bottomRight().toPoint() - QPoint(1, 1));
    const int line = std::max(1, static_cast<int>(toDevice.m11()));
    for (const QRect &side : {QRect(room.left(), room.top(), room.width(), line),
                              QRect(room.left(), room.bottom() + 1 - line, room.width(), line),
                              QRect(room.left(), room.top(), line, room.height()),
                              QRect(room.right() + 1 - line, room.top(), line, room.height())})
        painter.fillRect(back.mapRect(QRectF(side)), colour);
}

namespace {

Q_LOGGING_CATEGORY(lcResources, "px40.resources")

constexpr double disabledOpacity = 0.35;
constexpr double leastContrast = 3.5;
constexpr double leastTextContrast = 4.5;
constexpr double leastDisabledContrast = 3;

struct Colours
{
    QColor ink;
    QColor muted;
    QColor accent;
};

double Luminance(const QColor &colour)
{
    const auto linear = [](double v) {
        return v <= 0.04045 ? v / 12.92 : std::pow((v + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(colour.redF()) + 0.7152 * linear(colour.greenF()) +
           0.0722 * linear(colour.blueF());
}

} // namespace

double Contrast(const QColor &a, const QColor &b)
{
    const double la = Luminance(a);
    const double lb = Luminance(b);
    return (std::max(la, lb) + 0.05) / (std::min(la, lb) + 0.05);
}

namespace {

/// `colour` itself where it stands out from `ground`, else the first step from it towards `ink` that does.
QColor Readable(const QColor &colour, const QColor &ground, const QColor &ink)
{
    constexpr int steps = 16;
    QColor result = colour;
    for (int i = 1; i <= steps && Contrast(result, ground) < leastContrast; ++i)
        result = Mix(colour, ink, static_cast<double>(i) / steps);
    return result;
}

Colours ColoursOf(const QPalette &palette)
{
    const QColor ground = palette.color(QPalette::Active, QPalette::Window);
    const QColor ink = palette.color(QPalette::Active, QPalette::WindowText);
    const QColor accent = palette.color(QPalette::Active, QPalette::Highlight);
    return {ink, Readable(Mix(ink, ground, 0.4), ground, ink), Readable(accent, ground, ink)};
}

/// The drawing in file `path`, its three placeholder colours replaced. Null where there is no such file.
std::shared_ptr<QSvgRenderer> LoadDrawing(const QString &path, const Colours &colours)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return nullptr;
    QByteArray svg = file.readAll();
    svg.replace("#010203", colours.ink.name().toLatin1());
    svg.replace("#010204", colours.muted.name().toLatin1());
    svg.replace("#010205", colours.accent.name().toLatin1());
    auto renderer = std::make_shared<QSvgRenderer>(svg);
    return renderer->isValid() ? renderer : nullptr;
}

/// Decides which of an icon's two drawings suits a size.
enum class Kind { Tool, Application };

/// Draws an icon at exactly the size that is asked for, from one of two drawings. For tool icons `normal_`
/// has a grid of 24 and lines 2 wide, `small_` a grid of 16 and lines 1 wide: at the usual sizes lines fall
/// on whole pixels, and large icons do not look heavy. For the program's own icon `small_` is just simpler.
class DrawnIconEngine final : public QIconEngine
{
  public:
    DrawnIconEngine(Kind kind, std::shared_ptr<QSvgRenderer> normal, std::shared_ptr<QSvgRenderer> small,
                    QString key)
        : kind_(kind), normal_(std::move(normal)), small_(std::move(small)), key_(std::move(key))
    {
    }

    void paint(QPainter *painter, const QRect &rect, QIcon::Mode mode, QIcon::State state) override
    {
        const qreal ratio = painter->device()->devicePixelRatio();
        QPixmap picture = pixmap((QSizeF(rect.size()) * ratio).toSize(), mode, state);
        picture.setDevicePixelRatio(ratio);
        painter->drawPixmap(rect.topLeft(), picture);
    }

    /// `size` is in device pixels.
    QPixmap pixmap(const QSize &size, QIcon::Mode mode, QIcon::State) override
    {
        const bool faded = mode == QIcon::Disabled;
        const QString key = u"%1_%2x%3_%4"_s.arg(key_).arg(size.width()).arg(size.height()).arg(faded);
        QPixmap result;
        if (size.isEmpty() || QPixmapCache::find(key, &result))
            return result;
        result = Render(size);
        if (faded)
            result = Faded(result);
        QPixmapCache::insert(key, result);
        return result;
    }

    QIconEngine *clone() const override { return new DrawnIconEngine(*this); }

  private:
    DrawnIconEngine(const DrawnIconEngine &) = default;

    QSvgRenderer &DrawingFor(int side) const
    {
        const bool simple =
            kind_ == Kind::Application ? side < 40 : side < 22 || side >= 40 || side % 16 == 0;
        return simple && small_ ? *small_ : *normal_;
    }

    QPixmap Render(const QSize &size) const
    {
        QPixmap result(size);
        result.fill(Qt::transparent);
        const int side = std::min(size.width(), size.height());
        const QPoint corner((size.width() - side) / 2, (size.height() - side) / 2);
        QPainter painter(&result);
        DrawingFor(side).render(&painter, QRectF(corner, QSizeF(side, side)));
        return result;
    }

    // Grey first, or a faded red would still call for attention; and the picture as a whole, or faded lines
    // would be darker where they cross.
    static QPixmap Faded(const QPixmap &picture)
    {
        QImage image = picture.toImage().convertToFormat(QImage::Format_ARGB32);
        for (int y = 0; y < image.height(); ++y) {
            auto *const line = reinterpret_cast<QRgb *>(image.scanLine(y));
            std::transform(line, line + image.width(), line, [](QRgb colour) {
                const int grey = qGray(colour);
                return qRgba(grey, grey, grey, static_cast<int>(qAlpha(colour) * disabledOpacity));
            });
        }
        return QPixmap::fromImage(image);
    }

    Kind kind_;
    std::shared_ptr<QSvgRenderer> normal_;
    std::shared_ptr<QSvgRenderer> small_;
    QString key_;
};

QIcon LoadIcon(Kind kind, QStringView name, const Colours &colours)
{
    [[maybe_unused]] static const bool initialised = (InitResources(), true);
    auto normal = LoadDrawing(u":/icons/%1.svg"_s.arg(name), colours);
    if (!normal) {
        qCWarning(lcResources) << "there is no icon" << name;
        return {};
    }
    auto small = LoadDrawing(u":/icons/small/%1.svg"_s.arg(name), colours);
    QString key =
        u"px40_%1_%2%3%4"_s.arg(name, colours.ink.name(), colours.muted.name(), colours.accent.name());
    return QIcon(new DrawnIconEngine(kind, std::move(normal), std::move(small), std::move(key)));
}

} // namespace

QColor LampGreen(const QPalette &palette)
{
    return palette.color(QPalette::Base).lightness() < 128 ? QColor(0x3f, 0xd0, 0x6a)
                                                           : QColor(0x1a, 0x9a, 0x42);
}

/// As little nearer to `away` as makes the contrast; `away` itself where nothing does.
static QColor Apart(const QColor &colour, const QColor &away, const QColor &against, double contrast)
{
    constexpr int Steps = 20;
    int step = 0;
    while (step < Steps && Contrast(Mix(colour, away, double(step) / Steps), against) < contrast)
        ++step;
    return Mix(colour, away, double(step) / Steps);
}

QPalette WithReadableHints(QPalette palette)
{
    for (const QPalette::ColorGroup group : {QPalette::Active, QPalette::Inactive}) {
        const QColor selected = palette.color(group, QPalette::HighlightedText);
        const QColor away = selected.lightness() < 128 ? Qt::white : Qt::black;
        palette.setColor(group, QPalette::Highlight,
                         Apart(palette.color(group, QPalette::Highlight), away, selected, leastTextContrast));
    }
    for (const QPalette::ColorRole role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText}) {
        const QColor ground = palette.color(QPalette::Disabled, QPalette::Window);
        palette.setColor(QPalette::Disabled, role,
                         Apart(palette.color(QPalette::Disabled, role), palette.color(QPalette::Active, role),
                               ground, leastDisabledContrast));
    }
    for (const QPalette::ColorGroup group : {QPalette::Active, QPalette::Inactive, QPalette::Disabled}) {
        const QColor ground = palette.color(group, QPalette::Window);
        const QColor hint = palette.color(group, QPalette::PlaceholderText);
        if (Contrast(Mix(ground, hint, hint.alphaF()), ground) < leastTextContrast)
            palette.setColor(group, QPalette::PlaceholderText,
                             Mix(palette.color(group, QPalette::WindowText), ground, 0.35));
    }
    return palette;
}

QIcon MakeIcon(QStringView name, const QPalette &palette)
{
    return LoadIcon(Kind::Tool, name, ColoursOf(palette));
}

QIcon ApplicationIcon()
{
    return LoadIcon(Kind::Application, u"px40", {});
}

} // namespace px40
