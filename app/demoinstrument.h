#pragma once

#include "platform/portmap.h"
#include "simulator/servedinstrument.h"

#include <QPointer>

#include <string>
#include <string_view>

namespace px40 {

class DemoLine;

/// The simulated instrument inside the program, at the end of a line that is as slow as a cable but no device
/// of the system. Everything runs on the thread of the user interface.
class DemoInstrument : public sim::ServedInstrument
{
  public:
    /// `options.link` is the name of the device, if there is one.
    explicit DemoInstrument(sim::ServerOptions options = {});
    ~DemoInstrument();
    DemoInstrument(const DemoInstrument &) = delete;
    DemoInstrument &operator=(const DemoInstrument &) = delete;

    /// The name of the device; empty while it is unplugged.
    std::string DevicePath() const { return plugged_ ? name_ : std::string(); }

    /// Puts it on that port of the program. It must outlive all that opens the port.
    void FixOn(PortMap &ports, int number);

    /// Pulls the cable, and plugs it in again.
    void HangUp();
    void PlugIn() { plugged_ = true; }

    /// Sends bytes that no command asked for, after a reply under way. Lost while nobody has the port open.
    void Inject(std::string_view bytes);

  private:
    friend class DemoLine;

    const std::string name_;
    bool plugged_ = true;
    QPointer<DemoLine> line_;
};

} // namespace px40
