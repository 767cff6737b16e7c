#include "testing/linkrig.h"

namespace px40 {

namespace {

/// The options with a lasting name for the device, below `folder`.
sim::ServerOptions Named(sim::ServerOptions options, const QString &device)
{
    options.link = device.toStdString();
    return options;
}

} // namespace

PortRig::PortRig(const QString &device, const QString &userFile, int replyTimeoutMs)
    : store(UserStore::InFile(userFile)), ports(store), comm(state, ports, replyTimeoutMs)
{
    ports.Fix(PortMap::First, device);
}

void PortRig::Open()
{
    // Another process may still hold the number of a terminal that its instrument has given back.
    Await([this] { return comm.OpenPort().has_value(); }, QStringLiteral("The port does not open."));
}

InstrumentRig::InstrumentRig(sim::ServerOptions options) : server(Named(std::move(options), Device())) {}

sim::ServerOptions InstrumentRig::Unpaced()
{
    sim::ServerOptions options;
    options.line.paced = false;
    return options;
}

void InstrumentRig::FixOn(PortMap &ports)
{
#ifdef Q_OS_UNIX
    ports.Fix(PortMap::First, Device());
#else
    server.FixOn(ports, PortMap::First);
#endif
}

void InstrumentRig::Fault(const char *text)
{
    sim::Faults faults = server.CurrentFaults();
    std::string error;
    const bool known = sim::ApplyFault(text, faults, &error);
    Require(known, QString::fromStdString(error));
    server.SetFaults(faults);
}

QStringList InstrumentRig::Commands() const
{
    QStringList commands;
    for (const std::string &command : server.Commands())
        commands << QString::fromLatin1(command.c_str());
    return commands;
}

QString InstrumentRig::Expected(const QString &command)
{
    const std::string reply = server.WithInstrument(
        [&](sim::Instrument &instrument) { return instrument.Answer(command.toStdString()); });
    return QString::fromLatin1(reply.c_str());
}

LinkRig::LinkRig(sim::ServerOptions options, int replyTimeoutMs)
    : InstrumentRig(std::move(options)),
      PortRig(Device(), folder.filePath(QStringLiteral("user.ini")), replyTimeoutMs)
{
    FixOn(ports);
}

} // namespace px40
