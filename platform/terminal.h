#pragma once

#include <QString>

namespace px40 {

// What is said on the terminal from which the program was started, in the encoding of that.

/// False when it could not be said.
bool PrintLine(const QString &text);
void PrintError(const QString &text);

/// Shows a text in place of the one shown before, on the standard error stream if that is a terminal; else
/// nothing. Empty: takes the last one away.
void ShowOnTerminal(const QString &text);

} // namespace px40
