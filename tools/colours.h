#pragma once

#include <QPalette>

namespace px40 {

/// What a desktop sets for all its programs, a dark one and the style's own.
QPalette DarkColours();
QPalette LightColours();

} // namespace px40
