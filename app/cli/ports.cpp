#include "app/cli/ports.h"

#include "app/cli/commandline.h"
#include "app/demoinstrument.h"
#include "app/services.h"

namespace px40 {

void TakePorts(const CommandLine &line, Services &services)
{
    for (const auto &[number, path] : line.portDevices)
        services.ports.Fix(number, path);
    if (!line.demo)
        return;
    const auto instrument = std::make_shared<DemoInstrument>();
    instrument->FixOn(services.ports, PortMap::First);
    services.ports.KeepNothing();
    services.simulated = true;
    services.demo = instrument;
}

void ChoosePort(const CommandLine &line, Services &services)
{
    services.settings.ReadFile();
    int port = services.settings.PortNumber();
    if (line.port != 0)
        port = line.port;
    else if (services.simulated)
        port = PortMap::First;
    else if (!line.portDevices.isEmpty())
        port = line.portDevices.constFirst().first;
    services.comm.SetPortNumber(port);
}

} // namespace px40
