#pragma once

namespace px40 {

struct CommandLine;

/// Logs what the instrument measures into a new data file, row by row as they come, without any window and
/// without a display, until the period is over or the system asks for an end (SIGINT, SIGTERM, SIGHUP). A
/// QCoreApplication must be there, and runs its event loop here. In place of a file the rows alone may go to
/// the standard output, each at once.
///
/// The rows are in a journal as well, like those of a window, until the file has all of them: a file that
/// cannot be written does not end the run. The port is in use meanwhile, the program is not: other copies may
/// run.
///
/// The program's exit code; one sentence on the standard error stream says what went wrong. How the run gets
/// on is shown there if that is a terminal.
int RunLog(const CommandLine &line);

} // namespace px40
