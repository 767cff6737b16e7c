#pragma once

#include <algorithm>
#include <cmath>

namespace px40 {

// Lengths of windows are kept in twips, 1/1440 inch, of which a pixel takes 1440 / logical dots per inch.

constexpr double TwipsPerInch = 1440.0;

inline int TwipsToPixels(double twips, double dotsPerInch)
{
    constexpr double Furthest = 1e6; // a broken setting must not overflow a coordinate
    return static_cast<int>(std::lround(std::clamp(twips * dotsPerInch / TwipsPerInch, -Furthest, Furthest)));
}

inline int PixelsToTwips(int pixels, double dotsPerInch)
{
    return static_cast<int>(std::lround(pixels * TwipsPerInch / dotsPerInch));
}

} // namespace px40
