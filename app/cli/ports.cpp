#include "app/cli/ports.h"

#include "app/cli/commandline.h"
#include "app/services.h"

#ifdef Q_OS_UNIX
#include "simulator/ptyserver.h"
#endif

#include <exception>

namespace px40 {

namespace {

Result<std::shared_ptr<void>> StartSimulation(Services &services)
{
#ifdef Q_OS_UNIX
    try {
        const auto server = std::make_shared<sim::PtyServer>();
        services.ports.Fix(PortMap::First, QString::fromStdString(server->DevicePath()));
        services.ports.KeepNothing();
        services.simulated = true;
        return server;
    } catch (const std::exception &problem) {
        return Fail(QString::fromLocal8Bit(problem.what()));
    }
#else
    Q_UNUSED(services);
    return Fail(QStringLiteral("The simulated instrument needs pseudo-terminals, which this system lacks."));
#endif
}

} // namespace

Result<std::shared_ptr<void>> TakePorts(const CommandLine &line, Services &services)
{
    for (const auto &[number, path] : line.portDevices)
        services.ports.Fix(number, path);
    if (line.demo)
        return StartSimulation(services);
    return nullptr;
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
