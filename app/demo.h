#pragma once

#include <QString>

#include <memory>

namespace px40 {

struct CommandLine;
struct Services;

/// The simulated instrument inside the program. Keep it as long as the port is used.
class Demo
{
  public:
    /// Puts the simulated instrument on port 1 for this run. Null with the reason in `error` where that
    /// cannot be done.
    static std::unique_ptr<Demo> Start(Services &services, QString *error);

    virtual ~Demo() = default;
};

/// Puts behind the ports what the command line says, the simulated instrument too. Keep what it gives as long
/// as the ports are used; null without a simulated instrument. On failure the reason is in `error`.
std::unique_ptr<Demo> TakePorts(const CommandLine &line, Services &services, QString *error);

} // namespace px40
