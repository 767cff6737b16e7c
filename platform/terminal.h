#pragma once

#include "platform/result.h"

#include <QString>

class QFile;

namespace px40 {

// What is said on the terminal from which the program was started, in its encoding, and what goes to the
// standard output in place of a file.

/// To be called before anything is opened: a standard stream that is closed would be the next file's number,
/// and what is printed would go there. A reader that has gone is a failure to write like any other.
void KeepStandardStreams();

bool IsOutputTerminal();

/// Opens the standard output for bytes as they are.
Result<> OpenOutput(QFile *file);

/// False when it could not be said.
bool PrintLine(const QString &text);
void PrintError(const QString &text);

/// Shows a text in place of the one shown before, on the standard error stream if that is a terminal; else
/// nothing. Empty: takes the last one away.
void ShowOnTerminal(const QString &text);

} // namespace px40
