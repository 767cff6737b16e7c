#pragma once

#include <QByteArray>
#include <QStringView>

namespace px40 {

/// The same table as `text`, which `TableText` has made, as HTML (UTF-8) in which each cell tells
/// spreadsheets what it is: a number whatever decimal sign the user's language has, or a text, whatever it
/// looks like. Times are left to the spreadsheet, as if they were typed.
QByteArray TableHtml(QStringView text);

} // namespace px40
