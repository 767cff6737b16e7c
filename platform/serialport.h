#pragma once

#include "platform/portmap.h"

#include <QByteArray>
#include <QObject>
#include <QString>

#include <memory>

class QIODevice;

namespace px40 {

enum class PortTrouble { None, NotThere, NoPermission, Busy, Other };

/// Why a port could not be opened.
struct PortOpenResult
{
    PortTrouble trouble = PortTrouble::None;
    QString device;      ///< the device as it was asked for
    QString group;       ///< with NoPermission: the group that may use the device, where there is one
    QString description; ///< the system's own words
};

/// The serial line to the instrument: 9600 baud, no parity, 8 data bits, 2 stop bits, no handshake.
///
/// An unplugged adapter or a hung-up line closes the port at the first error and is told once by `lost`.
/// Modem lines that a device does not have (pseudo-terminals, some adapters) are no error.
class SerialPort : public QObject
{
    Q_OBJECT

  public:
    explicit SerialPort(QObject *parent = nullptr);
    ~SerialPort() override;

    /// `open`: opens the device in place of the system.
    PortOpenResult Open(const QString &device, const DeviceOpener &open = {});
    void Close();
    bool IsOpen() const { return port_ != nullptr; }

    /// Hands bytes to the line. False on a closed port, or when the line turns out to be dead (`lost` has
    /// then been told).
    bool Write(const QByteArray &bytes);

    /// All that has arrived and was not read yet.
    QByteArray ReadAll();

  Q_SIGNALS:
    void arrived();                   ///< there is something to read
    void lost(const QString &reason); ///< the port has just been closed because the device is gone

  private:
    void Lose();

    std::unique_ptr<QIODevice> port_;
};

} // namespace px40
