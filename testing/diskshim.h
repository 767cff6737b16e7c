#pragma once

#include <QByteArray>
#include <QString>

#include <atomic>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <random>
#include <vector>

namespace px40 {

/// A way to the disk for SQLite, over its usual one, that can do what disks do: be full, fail, be slow, and
/// lose what was not synced when the power goes. It knows what the disk holds for certain.
///
/// There is one at a time. It must outlive the databases that go through it.
class DiskShim
{
  public:
    DiskShim();
    ~DiskShim();
    DiskShim(const DiskShim &) = delete;
    DiskShim &operator=(const DiskShim &) = delete;

    static constexpr const char *Vfs = "px40disk";

    /// Writes fail from now on with that code of SQLite's; 0: they succeed.
    void FailWrites(int code) { writeFault = code; }
    /// So many of the next syncs fail. As on Linux, some of what they were to bring to the disk is lost then,
    /// and a later sync that succeeds does not bring it there.
    void FailSyncs(int count) { failingSyncs = count; }
    void SetSyncMs(int ms) { syncMs = ms; }

    enum class Operation { Write, Sync };
    /// Called before each, on the thread that does it.
    std::function<void(Operation)> onOperation;

    /// Puts into a folder what a computer would find if the power went now.
    void AfterPowerCut(const QString &folder, quint32 seed);

    // For the functions that SQLite calls.
    struct Write
    {
        qint64 offset;
        QByteArray bytes; ///< null: the file is cut off at `offset`
    };
    struct State
    {
        QByteArray synced;
        std::vector<Write> unsynced;
        bool listed = false; ///< the folder that names it was synced
        bool exists = true;
    };
    std::shared_ptr<State> Opened(const QString &path, bool makes);
    void Deleted(const QString &path, bool synced);
    void Wrote(State *state, Write write);
    /// SQLite's code.
    int Sync(State *state, const QString &path, bool withFolder);
    void Note(Operation operation) const;

    std::atomic<int> writeFault = 0;
    std::atomic<int> failingSyncs = 0;
    std::atomic<int> syncMs = 0;

  private:
    void SyncFolder(const QString &folder);

    std::mutex mutex_; ///< guards what follows
    std::map<QString, std::shared_ptr<State>> files_;
    std::minstd_rand random_;
};

} // namespace px40
