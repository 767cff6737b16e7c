#pragma once

#include "xlsx/sheet.h"

#include <initializer_list>
#include <string>
#include <string_view>

namespace px40 {

inline const std::string XmlDeclaration = "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n";

/// `form` with the texts in place of its "%1" to "%9".
std::string Filled(std::string_view form, std::initializer_list<std::string_view> texts);

/// Appends the rest of a cell's element in a worksheet, which follows the number of its style.
///
/// Under `General` a plain decimal within the range of a double is a number, whatever the locale. A text
/// keeps the 32,767 UTF-16 units that a cell has room for; what is no UTF-8 in it becomes U+FFFD.
void AppendCellContent(CellFormat format, std::string_view text, std::string &out);

/// A text of other parts, such as a title: control characters, which those cannot hold, become blanks. Good
/// in attributes too.
std::string XmlText(std::string_view text);

} // namespace px40
