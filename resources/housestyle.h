#pragma once

#include <QHash>
#include <QProxyStyle>

class QStyleOptionTitleBar;

namespace px40 {

/// The desktop's style with what the program does not leave to it: drawn icons in message boxes, hints that
/// can be read, no scroll bar where there is nothing to scroll, and where that style is Fusion flat title
/// bars of the windows in a workspace, and frames of boxes and options that are seen on dark colours, too.
/// Other styles decide that themselves.
///
/// Everything is drawn in the colours of the moment, so they may change while the program runs.
class HouseStyle : public QProxyStyle
{
    Q_OBJECT

  public:
    /// On top of `base`, a style's name; empty: what the desktop or the command line says.
    explicit HouseStyle(const QString &base = QString());

    void drawPrimitive(PrimitiveElement element, const QStyleOption *option, QPainter *painter,
                       const QWidget *widget) const override;
    void drawControl(ControlElement element, const QStyleOption *option, QPainter *painter,
                     const QWidget *widget) const override;
    void drawComplexControl(ComplexControl control, const QStyleOptionComplex *option, QPainter *painter,
                            const QWidget *widget) const override;
    QIcon standardIcon(StandardPixmap icon, const QStyleOption *option, const QWidget *widget) const override;
    int pixelMetric(PixelMetric metric, const QStyleOption *option, const QWidget *widget) const override;
    int styleHint(StyleHint hint, const QStyleOption *option, const QWidget *widget,
                  QStyleHintReturn *returned) const override;
    void polish(QPalette &palette) override;
    using QProxyStyle::polish;

  private:
    void DrawTitleBar(const QStyleOptionTitleBar &bar, QPainter &painter, const QWidget *widget) const;
    void DrawWindowButtons(const QStyleOptionComplex &option, QPainter &painter, const QWidget *widget) const;
    /// With a frame that is seen on a dark ground.
    template <typename Option>
    void DrawFramed(PrimitiveElement element, Option option, QPainter *painter, const QWidget *widget) const;
    const QPalette &WithFrames(const QPalette &palette) const;

    bool ownLook_;                           ///< the base is Fusion
    mutable QHash<qint64, QPalette> framed_; ///< by the key of the palette that it was made from
};

} // namespace px40
