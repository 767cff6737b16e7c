#pragma once

#include "platform/result.h"

#include <memory>

namespace px40 {

struct CommandLine;
struct Services;

/// Puts behind the ports what the command line says, the simulated instrument too, which is to be kept as
/// long as the ports are used; null without one.
Result<std::shared_ptr<void>> TakePorts(const CommandLine &line, Services &services);

} // namespace px40
