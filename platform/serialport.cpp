#include "platform/serialport.h"

#include <QFileInfo>
#include <QSerialPort>

#ifdef Q_OS_UNIX
#include <poll.h>
#endif

namespace px40 {

namespace {

/// Checks the device beforehand: the errors of QSerialPort do not tell these cases apart.
PortTrouble CheckDevice(const QString &device, QString *group)
{
#ifdef Q_OS_UNIX
    const QFileInfo info(device);
    if (!info.exists())
        return PortTrouble::NotThere;
    if (!info.isReadable() || !info.isWritable()) {
        // Joining the group helps only if the group may use the device.
        const QFileInfo node(info.canonicalFilePath());
        if (node.permission(QFile::ReadGroup | QFile::WriteGroup))
            *group = node.group();
        return PortTrouble::NoPermission;
    }
#else
    Q_UNUSED(device)
    Q_UNUSED(group)
#endif
    return PortTrouble::None;
}

PortTrouble FromError(QSerialPort::SerialPortError error)
{
    switch (error) {
    case QSerialPort::DeviceNotFoundError:
        return PortTrouble::NotThere;
    case QSerialPort::PermissionError: // the device itself can be used, so somebody holds its lock
        return PortTrouble::Busy;
    default:
        return PortTrouble::Other;
    }
}

/// A flush that a full line does not take reports an error, as if the device were gone.
template <typename Handle>
bool TakesBytes(Handle handle)
{
#ifdef Q_OS_UNIX
    pollfd line{handle, POLLOUT, 0};
    return ::poll(&line, 1, 0) == 1 && (line.revents & POLLOUT) != 0;
#else
    Q_UNUSED(handle)
    return false;
#endif
}

bool EndsTheLine(QSerialPort::SerialPortError error)
{
#ifdef Q_OS_WIN
    // Each driver has another error for an adapter that is gone, and after none of them is anything read.
    if (error == QSerialPort::PermissionError || error == QSerialPort::DeviceNotFoundError ||
        error == QSerialPort::UnknownError)
        return true;
#endif
    return error == QSerialPort::ResourceError || error == QSerialPort::ReadError ||
           error == QSerialPort::WriteError;
}

std::unique_ptr<QIODevice> OpenSystemDevice(PortOpenResult *result)
{
    result->trouble = CheckDevice(result->device, &result->group);
    if (result->trouble != PortTrouble::None)
        return nullptr;
    auto port = std::make_unique<QSerialPort>();
#ifdef Q_OS_UNIX
    // The lock against a second program goes by the name, so a device must always have the same one.
    const QString canonical = QFileInfo(result->device).canonicalFilePath();
    port->setPortName(canonical.isEmpty() ? result->device : canonical);
#else
    port->setPortName(result->device); // a file of that name in the working folder is none
#endif
    port->setBaudRate(QSerialPort::Baud9600);
    port->setParity(QSerialPort::NoParity);
    port->setDataBits(QSerialPort::Data8);
    port->setStopBits(QSerialPort::TwoStop);
    port->setFlowControl(QSerialPort::NoFlowControl);
    if (!port->open(QIODevice::ReadWrite)) {
        result->trouble = FromError(port->error());
        result->description = port->errorString();
        return nullptr;
    }
    port->setDataTerminalReady(true);
    port->clearError();
    return port;
}

} // namespace

SerialPort::SerialPort(QObject *parent) : QObject(parent) {}

SerialPort::~SerialPort()
{
    Close();
}

PortOpenResult SerialPort::Open(const QString &device, const DeviceOpener &open)
{
    Close();
    PortOpenResult result;
    result.device = device;
    port_ = open ? open() : OpenSystemDevice(&result);
    if (!port_) {
        if (open)
            result.trouble = PortTrouble::NotThere;
        return result;
    }
    connect(port_.get(), &QIODevice::readyRead, this, &SerialPort::arrived);
    connect(port_.get(), &QIODevice::readChannelFinished, this, &SerialPort::Lose);
    if (auto *const serial = qobject_cast<QSerialPort *>(port_.get())) {
        connect(serial, &QSerialPort::errorOccurred, this, [this](QSerialPort::SerialPortError error) {
            if (EndsTheLine(error))
                Lose();
        });
    }
    return result;
}

void SerialPort::Lose()
{
    if (!port_)
        return;
    const QString reason = port_->errorString();
    Close(); // left open, the port would signal the same error over and over
    Q_EMIT lost(reason);
}

bool SerialPort::Write(const QByteArray &bytes)
{
    if (!port_ || port_->write(bytes) != bytes.size())
        return false;
    // Sends now instead of in the next turn of the event loop. A device that is gone is noticed here:
    // `Close`.
    auto *const serial = qobject_cast<QSerialPort *>(port_.get());
    if (serial && TakesBytes(serial->handle()))
        serial->flush();
    return port_ != nullptr;
}

QByteArray SerialPort::ReadAll()
{
    return port_ ? port_->readAll() : QByteArray();
}

void SerialPort::Close()
{
    if (!port_)
        return;
    // This may run inside one of the port's own signals, so the object goes later.
    QIODevice *const port = port_.release();
    port->disconnect(this);
    port->close();
    port->deleteLater();
}

} // namespace px40
