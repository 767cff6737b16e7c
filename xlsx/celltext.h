#pragma once

#include "xlsx/sheet.h"

#include <string>
#include <string_view>

namespace px40 {

/// What a cell holds as it stands in a worksheet, from behind the attributes of its element on, to its end.
///
/// Under `General` a plain decimal within the range of a double is a number, whatever the locale. A text
/// keeps the 32,767 UTF-16 units that a cell has room for; what is no UTF-8 in it becomes U+FFFD.
void AppendCellContent(CellFormat format, std::string_view text, std::string &out);

/// A text of other parts, such as a title: control characters, which those cannot hold, become blanks. Good
/// in attributes too.
std::string XmlText(std::string_view text);

} // namespace px40
