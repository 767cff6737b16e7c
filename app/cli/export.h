#pragma once

namespace px40 {

struct CommandLine;

/// Forwards a data file to a workbook, which is made or gets one more sheet, without any window, display or
/// instrument. A QCoreApplication must be there, and runs its event loop here. May run beside an open
/// program.
///
/// The program's exit code; done, with one line on the standard output, unless the workbook itself goes
/// there; or nothing changed, with one sentence on the standard error stream. Progress is shown as for a
/// download.
int RunExport(const CommandLine &line);

} // namespace px40
