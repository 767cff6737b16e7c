#pragma once

namespace px40 {

struct CommandLine;

/// Fetches the stored readings into a data file and prints their maximum, minimum and average, without any
/// window and without a display. A QCoreApplication must be there, and runs its event loop here.
///
/// The program's exit code: 0, or 1 with one sentence on the standard error stream; the file is then as it
/// was. Progress is shown on the standard error stream if that is a terminal.
int RunDownload(const CommandLine &line);

} // namespace px40
