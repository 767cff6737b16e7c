#pragma once

#include <QString>

#include <memory>

namespace px40 {

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

} // namespace px40
