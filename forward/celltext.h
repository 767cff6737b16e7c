#pragma once

#include "forward/sheettarget.h"

#include <string>
#include <string_view>

namespace px40 {

enum class CellKind : unsigned char { Empty, Number, Text };

/// What a cell of that format and text (UTF-8) holds in a worksheet; its value, as it stands between the
/// tags, goes behind `out`.
///
/// Under `General` a plain decimal within the range of a double is a number, whatever the locale. A text
/// keeps the 32,767 UTF-16 units that a cell has room for; what is no UTF-8 in it becomes U+FFFD.
CellKind AppendCellValue(CellFormat format, std::string_view text, std::string &out);

/// A text of other parts, such as a title: control characters, which those cannot hold, become blanks. Good
/// in attributes too.
std::string XmlText(std::string_view text);

} // namespace px40
