#pragma once

#include "platform/result.h"

#include <QString>

class QFile;

namespace px40 {

// What is said on the terminal from which the program was started, in its encoding, and what goes to the
// standard output in place of a file. On Windows that is the console of the program that has started this
// one; a pipe or a file gets the console's encoding (chcp), without one UTF-8.

/// To be called before anything is opened: a standard stream that is closed would be the next file's number,
/// and what is printed would go there. A reader that has gone is a failure to write like any other, and so is
/// a file that may not grow any more. On Windows the program joins the console, and hears its Ctrl+C.
void KeepStandardStreams();

/// Before windows are shown: the console may be closed and the windows stay, unless the program was given its
/// standard streams, as px40ap.com does, which waits for it.
void LeaveConsole();

bool IsOutputTerminal();
bool IsErrorTerminal();

/// Waits that long, or without end where it is negative, until the standard output takes a line without
/// anybody waiting. False when it does not, or when a signal has come meanwhile.
bool OutputTakesLine(int milliseconds);

/// Opens the standard output for bytes as they are.
Result<> OpenOutput(QFile *file);

/// False when it could not be said.
bool PrintLine(const QString &text);
void PrintError(const QString &text);

/// The answer to how the program was started; in a box where it has no stream to go to.
void TellStarter(const QString &text, bool wrong);

/// The same for what is told on the way: left out where it would have to be waited for.
void NoteError(const QString &text);

/// Before the process is ended: what was told on the way is out, or its reader has let it wait for a second.
void AwaitTold();

/// Shows a text in place of the one shown before, on the standard error stream if that is a terminal; else
/// nothing. Empty: takes the last one away. Left out while the terminal is held (Ctrl+S).
void ShowOnTerminal(const QString &text);

} // namespace px40
