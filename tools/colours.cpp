#include "tools/colours.h"

#include <QApplication>
#include <QStyle>

#include <utility>

namespace px40 {

QPalette DarkColours()
{
    static constexpr std::pair<QPalette::ColorRole, QRgb> Colours[] = {
        {QPalette::Window, 0x2d2d30},
        {QPalette::WindowText, 0xe1e1e1},
        {QPalette::Base, 0x1e1e20},
        {QPalette::AlternateBase, 0x262629},
        {QPalette::ToolTipBase, 0x2d2d30},
        {QPalette::ToolTipText, 0xe1e1e1},
        {QPalette::PlaceholderText, 0x9b9b9b},
        {QPalette::Text, 0xe1e1e1},
        {QPalette::Button, 0x38383c},
        {QPalette::ButtonText, 0xe1e1e1},
        {QPalette::BrightText, 0xffffff},
        {QPalette::Link, 0x5aaafa},
        {QPalette::Highlight, 0x3278c8},
        {QPalette::HighlightedText, 0xffffff},
    };
    QPalette palette(QColor(0x2d, 0x2d, 0x30));
    for (const auto &[role, colour] : Colours)
        palette.setColor(role, QColor(colour));
    for (const QPalette::ColorRole role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        palette.setColor(QPalette::Disabled, role, QColor(127, 127, 127));
    palette.setColor(QPalette::Disabled, QPalette::Highlight, QColor(80, 80, 80));
    return palette;
}

QPalette LightColours()
{
    QPalette palette = QApplication::style()->standardPalette();
    QApplication::style()->polish(palette); // as the program gets it from the desktop
    return palette;
}

} // namespace px40
