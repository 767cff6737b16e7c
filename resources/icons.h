#pragma once

#include <QColor>
#include <QIcon>
#include <QStringView>

class QPainter;
class QPalette;
class QRect;

namespace px40 {

/// The opaque colour on the way `from` one `to` another; `share` 0 to 1.
QColor Mix(const QColor &from, const QColor &to, double share);

/// How far two colours are apart in lightness, 1 to 21 (as web pages are judged: 3 is enough for a line).
double Contrast(const QColor &a, const QColor &b);

/// A frame of the thinnest line along the inside of `rect`, on whole pixels of the device: at 125 % a pen
/// would miss a side here and there.
void DrawThinFrame(QPainter &painter, const QRect &rect, const QColor &colour);

/// Of a lamp that is on, as a line or a dot on the ground of `palette`.
QColor LampGreen(const QPalette &palette);

/// The drawn icon `name` (such as u"open") in the colours of `palette`: lines in its window-text colour,
/// the accent in its highlight colour, both from the active group. Any size and device pixel ratio comes
/// out sharp; the disabled look is grey and faded and needs no second icon.
///
/// An icon keeps the colours that it was made with: on QEvent::PaletteChange make it again. A name that
/// does not exist gives an empty icon (isNull()) and a warning in the log. Needs a QGuiApplication.
QIcon MakeIcon(QStringView name, const QPalette &palette);

/// The program's own icon, for windows and the task bar. Its colours are its own, whatever the palette.
QIcon ApplicationIcon();

/// `palette` with hints (QPalette::PlaceholderText) that can be read on its windows: some desktops set dark
/// colours and leave the hints black. The same for selected texts, and in part for disabled ones.
QPalette WithReadableHints(QPalette palette);

} // namespace px40
