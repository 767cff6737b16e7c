#pragma once

namespace px40 {

struct CommandLine;

/// Fetches what the instrument has stored into a data file and prints maximum, minimum and average of the
/// readings, without any window and without a display. A QCoreApplication must be there, and runs its event
/// loop here. In place of a file the data may go to the standard output, and then nothing else does.
///
/// The program's exit code; when nothing was changed, one sentence on the standard error stream says why.
/// Progress is shown on the standard error stream if that is a terminal.
int RunDownload(const CommandLine &line);

} // namespace px40
