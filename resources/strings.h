#pragma once

#include <QString>

namespace px40 {

/// Every text that a user sees has a number in the string table; the enumerator tells what it is for.
/// Numbers below 1000 are the system's own table, those from 1000 on were added with this program.
enum class Str : int {
#define PX40_TEXT(name, number, text) name = (number),
#include "resources/stringtable.h"
#undef PX40_TEXT
};

/// The text of that number; empty when the table has none.
QString Text(Str id);

/// The same with `count` in the place of "%n", and "(s)" after a word as that number has it: "1 row", "2
/// rows".
QString Counted(Str id, qint64 count);

/// The first line of a text that may have several, divided by CR LF: what of it fits into one line.
QString FirstLine(const QString &text);

} // namespace px40
