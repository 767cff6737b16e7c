#include "app/demo.h"

#include "app/commandline.h"
#include "app/services.h"

#ifdef Q_OS_UNIX
#include "simulator/ptyserver.h"
#endif

#include <exception>

namespace px40 {

#ifdef Q_OS_UNIX

namespace {

class PtyDemo : public Demo
{
  public:
    QString Device() const { return QString::fromStdString(server_.DevicePath()); }

  private:
    sim::PtyServer server_;
};

} // namespace

std::unique_ptr<Demo> Demo::Start(Services &services, QString *error)
{
    try {
        auto demo = std::make_unique<PtyDemo>();
        services.ports.Fix(PortMap::First, demo->Device());
        services.ports.KeepNothing();
        services.simulated = true;
        return demo;
    } catch (const std::exception &problem) {
        *error = QString::fromLocal8Bit(problem.what());
        return nullptr;
    }
}

#else

std::unique_ptr<Demo> Demo::Start(Services &, QString *error)
{
    *error = QStringLiteral("The simulated instrument needs pseudo-terminals, which this system lacks.");
    return nullptr;
}

#endif

std::unique_ptr<Demo> TakePorts(const CommandLine &line, Services &services, QString *error)
{
    for (const auto &[number, path] : line.portDevices)
        services.ports.Fix(number, path);
    return line.demo ? Demo::Start(services, error) : nullptr;
}

} // namespace px40
