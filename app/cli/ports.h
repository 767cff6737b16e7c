#pragma once

namespace px40 {

struct CommandLine;
struct Services;

/// Assigns the devices that the command line names to their ports, and the simulated instrument if it asks
/// for that.
void TakePorts(const CommandLine &line, Services &services);

/// For a job without a window, after that: the port that the command line names, or the only one it can mean,
/// or that of the settings.
void ChoosePort(const CommandLine &line, Services &services);

} // namespace px40
