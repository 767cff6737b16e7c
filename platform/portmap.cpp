#include "platform/portmap.h"

#include "platform/userstore.h"

#include <QDir>
#include <QFileInfo>
#include <QSerialPortInfo>

namespace px40 {

namespace {

const QString Section = QStringLiteral("Settings");

QString StoreKey(int number)
{
    return QStringLiteral("PortDevice%1").arg(number);
}

const QString SystemLinks = QStringLiteral("/dev/serial");

/// Where the device is kept that was last opened under that number.
QString KnownKey(int number)
{
    return QStringLiteral("PortKnown%1").arg(number);
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
        device.path = LastingName(port.systemLocation());
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
    return SureName(path, true, SystemLinks);
}

QString PortMap::SureName(const QString &path)
{
    const QSerialPortInfo info(QFileInfo(QFileInfo(path).canonicalFilePath()).fileName());
    return SureName(path, !info.serialNumber().isEmpty(), SystemLinks);
}

QString PortMap::SureName(const QString &path, bool hasSerialNumber, const QString &links)
{
    const QString device = QFileInfo(path).canonicalFilePath();
    if (device.isEmpty())
        return path;
    const QDir folder(links + (hasSerialNumber ? QStringLiteral("/by-id") : QStringLiteral("/by-path")));
    const QFileInfoList names = folder.entryInfoList(QDir::System | QDir::Files | QDir::NoDotAndDotDot);
    for (const QFileInfo &link : names) {
        if (link.canonicalFilePath() == device)
            return link.filePath();
    }
    return path;
}

} // namespace px40
