#pragma once

#include <QList>
#include <QMap>
#include <QSet>
#include <QString>

namespace px40 {

class UserStore;

/// A serial device that is plugged in now.
struct PortDevice
{
    QString path;         ///< the most lasting name it has
    QString description;  ///< what the system calls it; may be empty
    QString serialNumber; ///< may be empty
};

/// Which device is assigned to a port number, 1 to 16.
///
/// On Windows number N is COMN. Elsewhere a number is a slot to which the user assigns a device; the
/// assignment is kept in the per-user store and stays when other devices come and go. A device fixed for
/// this run (from the command line, or the simulated instrument) takes precedence and is not saved.
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

    void Fix(int number, const QString &path) { fixed_.insert(number, path); }
    bool IsFixed(int number) const { return fixed_.contains(number); }

    static QList<PortDevice> LiveDevices();

    /// The lasting name of a device (below /dev/serial/by-id), or `path` itself when it has none.
    static QString LastingName(const QString &path);

    /// A name under which no other device comes, not even one of the same kind: the lasting one of a device
    /// with a serial number, else that of the place where it is plugged in; `path` itself when it has none.
    static QString SureName(const QString &path);
    /// The same. `links`: the folder in which the system has the names, by-id and by-path.
    static QString SureName(const QString &path, bool hasSerialNumber, const QString &links);

  private:
    UserStore *store_;
    QMap<int, QString> fixed_;
    QMap<int, QString> temporary_; ///< assigned while nothing is kept
    QSet<QString> known_;          ///< in this run
    bool keeps_ = true;
};

} // namespace px40
