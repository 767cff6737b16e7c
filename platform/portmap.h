#pragma once

#include <QList>
#include <QMap>
#include <QSet>
#include <QString>

#include <functional>
#include <memory>

class QIODevice;

namespace px40 {

class UserStore;

/// Opens a device that the program has in itself; null when it is not there.
using DeviceOpener = std::function<std::unique_ptr<QIODevice>()>;

/// A serial device that is plugged in now.
struct PortDevice
{
    QString path;         ///< the most lasting name it has
    QString description;  ///< what the system calls it; may be empty
    QString serialNumber; ///< may be empty
};

/// By what a device is known again, also under another number, and told from one of the same kind.
struct PortIdentity
{
    QString path;     ///< under which it was opened: all there is of a device without other names
    QString name;     ///< the lasting one, which those of the same kind share; empty when another one has it
    QString place;    ///< the name of the socket it was plugged into; may be empty
    bool own = false; ///< the lasting name holds a serial number that no other one had
};

/// Which device is assigned to a port number, 1 to 16.
///
/// On Windows number N is COMN: the system keeps it for one adapter, that with its serial number or, where it
/// has none, the one in its socket, so there it is the lasting name as well. Elsewhere a number is a slot to
/// which the user assigns a device; the assignment is kept in the per-user store and stays when other devices
/// come and go. A device fixed for this run (from the command line, or the simulated instrument) takes
/// precedence and is not saved.
class PortMap
{
  public:
    static constexpr int First = 1;
    static constexpr int Last = 16;

    /// `store` must outlive the map.
    explicit PortMap(UserStore &store) : store_(&store) {}

    /// False where the numbers are the system's own.
    static bool CanAssign();

    /// Path or name of the device; empty when none is assigned.
    QString Device(int number) const;

    void Assign(int number, const QString &path);

    /// From now on nothing is saved for later runs.
    void KeepNothing() { keeps_ = false; }
    bool Keeps() const { return keeps_; }

    /// Remembers that the device of that number could be opened: if it is missing the next time, it was
    /// there before.
    void KeepAsKnown(int number);
    /// Whether it could be opened once, in this run or an earlier one.
    bool IsKnown(int number) const;

    /// `open`: how that device is opened if it is none of the system's.
    void Fix(int number, const QString &path, const DeviceOpener &open = {});
    bool IsFixed(int number) const { return fixed_.contains(number); }
    /// Empty for a device of the system.
    DeviceOpener OpenerOf(const QString &path) const { return openers_.value(path); }

    static QList<PortDevice> LiveDevices();

    /// The lasting name of a device (below /dev/serial/by-id), or `path` itself when it has none.
    static QString LastingName(const QString &path);

    /// By what the device at `path` can be told from all others.
    PortIdentity Identify(const QString &path) const;
    /// A path of that device, under whichever number it is there now; empty when it is not.
    QString Find(const PortIdentity &identity) const;

    /// Where the system says what its devices are.
    struct System
    {
        QString links = QStringLiteral("/dev/serial"); ///< the folder with their names, by-id and by-path
        QString (*serialNumber)(const QString &device) = nullptr; ///< null: as the system has it
    };
    void SetSystem(const System &system) { system_ = system; }

  private:
    UserStore *store_;
    System system_;
    QMap<int, QString> fixed_;
    QMap<QString, DeviceOpener> openers_;
    QMap<int, QString> temporary_; ///< assigned while nothing is kept
    QSet<QString> known_;          ///< in this run
    bool keeps_ = true;
};

} // namespace px40
