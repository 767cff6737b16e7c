#include "platform/portmap.h"

#include "platform/userstore.h"

#include <QDir>
#include <QFileInfo>
#include <QIODevice>
#include <QSerialPortInfo>

namespace px40 {

namespace {

const QString Section = QStringLiteral("Settings");

QString StoreKey(int number)
{
    return QStringLiteral("PortDevice%1").arg(number);
}

const QString SystemLinks = QStringLiteral("/dev/serial");
const QString ById = QStringLiteral("/by-id");
const QString ByPath = QStringLiteral("/by-path");

/// Where the device is kept that was last opened under that number.
QString KnownKey(int number)
{
    return QStringLiteral("PortKnown%1").arg(number);
}

QFileInfoList LinksIn(const QString &folder)
{
    return QDir(folder).entryInfoList(QDir::System | QDir::Files | QDir::NoDotAndDotDot);
}

/// The link to that device in that folder; empty when there is none.
QString LinkTo(const QString &device, const QString &folder)
{
    const QFileInfoList links = LinksIn(folder);
    for (const QFileInfo &link : links) {
        if (!device.isEmpty() && link.canonicalFilePath() == device)
            return link.filePath();
    }
    return {};
}

QString SerialNumber(const QString &device)
{
    return QSerialPortInfo(QFileInfo(device).fileName()).serialNumber();
}

} // namespace

bool PortMap::CanAssign()
{
#ifdef Q_OS_WIN
    return false;
#else
    return true;
#endif
}

QString PortMap::Device(int number) const
{
    if (const auto fixed = fixed_.find(number); fixed != fixed_.end())
        return *fixed;
    if (!CanAssign())
        return QStringLiteral("COM%1").arg(number);
    const auto temporary = temporary_.find(number);
    return temporary != temporary_.end() ? *temporary : store_->Get(Section, StoreKey(number));
}

void PortMap::Assign(int number, const QString &path)
{
    if (keeps_)
        store_->Save(Section, StoreKey(number), LastingName(path));
    else
        temporary_.insert(number, LastingName(path));
}

void PortMap::Fix(int number, const QString &path, const DeviceOpener &open)
{
    fixed_.insert(number, path);
    if (open)
        openers_.insert(path, open);
}

void PortMap::KeepAsKnown(int number)
{
    const QString device = Device(number);
    known_.insert(device);
    if (keeps_ && CanAssign() && !IsFixed(number) && store_->Get(Section, KnownKey(number)) != device)
        store_->Save(Section, KnownKey(number), device);
}

bool PortMap::IsKnown(int number) const
{
    const QString device = Device(number);
    return known_.contains(device) || store_->Get(Section, KnownKey(number)) == device;
}

QList<PortDevice> PortMap::LiveDevices()
{
    QList<PortDevice> devices;
    const QList<QSerialPortInfo> ports = QSerialPortInfo::availablePorts();
    devices.reserve(ports.size());
    for (const QSerialPortInfo &port : ports) {
        PortDevice device;
        device.path = CanAssign() ? LastingName(port.systemLocation()) : port.portName();
        device.description = port.description();
        if (!port.manufacturer().isEmpty() && !device.description.contains(port.manufacturer()))
            device.description.prepend(port.manufacturer() + QLatin1Char(' '));
        device.serialNumber = port.serialNumber();
        devices.append(device);
    }
    return devices;
}

QString PortMap::LastingName(const QString &path)
{
    const QString name = LinkTo(QFileInfo(path).canonicalFilePath(), SystemLinks + ById);
    return name.isEmpty() ? path : name;
}

PortIdentity PortMap::Identify(const QString &path) const
{
    const auto serialNumber = system_.serialNumber ? system_.serialNumber : &SerialNumber;
    const QString byId = system_.links + ById;
    const QString device = QFileInfo(path).canonicalFilePath();
    PortIdentity identity = {path, LinkTo(device, byId), LinkTo(device, system_.links + ByPath), false};
    const QString number = identity.name.isEmpty() ? QString() : serialNumber(device);
    identity.own = !number.isEmpty();
    // Cheap adapters all have the same number. Of those that are plugged in, one has the name.
    const QFileInfoList others = LinksIn(system_.links + ByPath);
    for (const QFileInfo &other : others) {
        const QString target = other.canonicalFilePath();
        if (identity.own && LinkTo(target, byId).isEmpty() && serialNumber(target) == number)
            identity.own = false;
    }
    return identity;
}

QString PortMap::Find(const PortIdentity &identity) const
{
    const bool nameIsThere = QFileInfo::exists(identity.name);
    if (identity.place.isEmpty() && identity.name.isEmpty())
        return identity.path;
    if (identity.own || identity.place.isEmpty())
        return nameIsThere ? identity.name : QString();
    const QString device = QFileInfo(identity.place).canonicalFilePath();
    const QString name = LinkTo(device, system_.links + ById);
    // Without a name it is the same only if one of its kind has taken that meanwhile.
    const bool same = name == identity.name || identity.name.isEmpty() || (name.isEmpty() && nameIsThere);
    return !device.isEmpty() && same ? identity.place : QString();
}

} // namespace px40
