#pragma once

namespace px40 {

struct CommandLine;

/// Lists on the standard output the data sets that were left unsaved when a program ended, or saves each as a
/// data file in a folder and then forgets it. Those that a running program has are not touched. A
/// QCoreApplication must be there.
///
/// The program's exit code; a sentence each on the standard error stream says what could not be read or
/// saved.
int RunRecover(const CommandLine &line);

} // namespace px40
