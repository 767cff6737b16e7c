#include "testing/diskshim.h"

#include "testing/files.h"

#include <QFile>
#include <QFileInfo>

#include <sqlite3.h>

#include <chrono>
#include <new>
#include <thread>

namespace px40 {

namespace {

using State = DiskShim::State;

/// What SQLite holds of a file that is open; the usual one's lies behind it.
struct Opened
{
    sqlite3_file base;
    std::shared_ptr<State> *state;
    QString *path;
    bool withFolder; ///< its first sync is that of its folder as well
    sqlite3_file *Real() { return reinterpret_cast<sqlite3_file *>(this + 1); }
};

Opened *Of(sqlite3_file *file)
{
    return reinterpret_cast<Opened *>(file);
}

DiskShim *&Shim()
{
    static DiskShim *shim = nullptr;
    return shim;
}

/// A function of the usual way to the disk.
template <auto Member, typename... Arguments>
int Usual(sqlite3_file *file, Arguments... arguments)
{
    sqlite3_file *const real = Of(file)->Real();
    return (real->pMethods->*Member)(real, arguments...);
}

int Close(sqlite3_file *file)
{
    const int code = Usual<&sqlite3_io_methods::xClose>(file);
    delete Of(file)->state;
    delete Of(file)->path;
    return code;
}

int Write(sqlite3_file *file, const void *bytes, int size, sqlite3_int64 offset)
{
    Shim()->Note(DiskShim::Operation::Write);
    if (const int fault = Shim()->writeFault)
        return fault;
    const int code = Usual<&sqlite3_io_methods::xWrite>(file, bytes, size, offset);
    if (code == SQLITE_OK)
        Shim()->Wrote(Of(file)->state->get(), {offset, QByteArray(static_cast<const char *>(bytes), size)});
    return code;
}

int Truncate(sqlite3_file *file, sqlite3_int64 size)
{
    Shim()->Note(DiskShim::Operation::Write);
    const int code = Usual<&sqlite3_io_methods::xTruncate>(file, size);
    if (code == SQLITE_OK)
        Shim()->Wrote(Of(file)->state->get(), {size, {}});
    return code;
}

int Sync(sqlite3_file *file, int)
{
    Shim()->Note(DiskShim::Operation::Sync);
    return Shim()->Sync(Of(file)->state->get(), *Of(file)->path, Of(file)->withFolder);
}

using Methods = sqlite3_io_methods;
/// Without what shared memory needs: a journal does without.
const Methods TheMethods = {1,
                            Close,
                            Usual<&Methods::xRead>,
                            Write,
                            Truncate,
                            Sync,
                            Usual<&Methods::xFileSize>,
                            Usual<&Methods::xLock>,
                            Usual<&Methods::xUnlock>,
                            Usual<&Methods::xCheckReservedLock>,
                            Usual<&Methods::xFileControl>,
                            Usual<&Methods::xSectorSize>,
                            Usual<&Methods::xDeviceCharacteristics>,
                            nullptr,
                            nullptr,
                            nullptr,
                            nullptr,
                            nullptr,
                            nullptr};

sqlite3_vfs *Usual()
{
    static sqlite3_vfs *const usual = sqlite3_vfs_find(nullptr);
    return usual;
}

int Open(sqlite3_vfs *, const char *name, sqlite3_file *file, int flags, int *given)
{
    constexpr int NamedWithFolder = SQLITE_OPEN_MAIN_JOURNAL | SQLITE_OPEN_SUPER_JOURNAL | SQLITE_OPEN_WAL;
    Opened *const opened = Of(file);
    opened->base.pMethods = nullptr;
    const QString path = QFile::decodeName(name);
    const bool makes = name && !QFile::exists(path);
    const int code = Usual()->xOpen(Usual(), name, opened->Real(), flags, given);
    if (code != SQLITE_OK)
        return code;
    opened->state = new std::shared_ptr(Shim()->Opened(path, makes));
    opened->path = new QString(path);
    opened->withFolder = (flags & SQLITE_OPEN_CREATE) && (flags & NamedWithFolder);
    opened->base.pMethods = &TheMethods;
    return SQLITE_OK;
}

int Delete(sqlite3_vfs *, const char *name, int synced)
{
    Shim()->Note(DiskShim::Operation::Sync);
    const int code = Usual()->xDelete(Usual(), name, synced);
    if (code == SQLITE_OK)
        Shim()->Deleted(QFile::decodeName(name), synced);
    return code;
}

sqlite3_vfs &TheVfs()
{
    static sqlite3_vfs vfs = [] {
        sqlite3_vfs made = *Usual();
        made.zName = DiskShim::Vfs;
        made.szOsFile += static_cast<int>(sizeof(Opened));
        made.xOpen = Open;
        made.xDelete = Delete;
        return made;
    }();
    return vfs;
}

void Apply(const DiskShim::Write &write, QByteArray *bytes)
{
    if (write.bytes.isNull()) {
        bytes->truncate(write.offset);
        return;
    }
    const qsizetype end = write.offset + write.bytes.size();
    if (bytes->size() < end)
        bytes->resize(end, '\0');
    std::copy(write.bytes.begin(), write.bytes.end(), bytes->begin() + write.offset);
}

/// Each write came to the disk, or the first half of it, or nothing.
void ApplySome(const State &state, std::minstd_rand &random, QByteArray *bytes)
{
    for (const DiskShim::Write &write : state.unsynced) {
        const auto luck = random() % 5;
        if (luck < 2)
            Apply(write, bytes);
        else if (luck == 2 && write.bytes.size() > 1)
            Apply({write.offset, write.bytes.first(write.bytes.size() / 2)}, bytes);
    }
}

QString FolderOf(const QString &path)
{
    return QFileInfo(path).path();
}

} // namespace

DiskShim::DiskShim()
{
    Shim() = this;
    sqlite3_vfs_register(&TheVfs(), 0);
}

DiskShim::~DiskShim()
{
    sqlite3_vfs_unregister(&TheVfs());
    Shim() = nullptr;
}

std::shared_ptr<DiskShim::State> DiskShim::Opened(const QString &path, bool makes)
{
    const std::lock_guard lock(mutex_);
    std::shared_ptr<State> &state = files_[path];
    if (!state || makes) {
        state = std::make_shared<State>();
        state->listed = !makes;
        if (!makes)
            state->synced = Contents(path);
    }
    return state;
}

void DiskShim::Deleted(const QString &path, bool synced)
{
    const std::lock_guard lock(mutex_);
    files_[path]->exists = false;
    if (synced)
        SyncFolder(FolderOf(path));
}

void DiskShim::SyncFolder(const QString &folder)
{
    std::erase_if(files_,
                  [&](const auto &file) { return FolderOf(file.first) == folder && !file.second->exists; });
    for (auto &[path, state] : files_)
        state->listed = state->listed || FolderOf(path) == folder;
}

void DiskShim::Wrote(State *state, Write write)
{
    const std::lock_guard lock(mutex_);
    state->unsynced.push_back(std::move(write));
}

int DiskShim::Sync(State *state, const QString &path, bool withFolder)
{
    std::this_thread::sleep_for(std::chrono::milliseconds(syncMs));
    const std::lock_guard lock(mutex_);
    const bool fails = failingSyncs > 0;
    if (fails) {
        --failingSyncs;
        ApplySome(*state, random_, &state->synced);
    } else {
        for (const Write &write : state->unsynced)
            Apply(write, &state->synced);
    }
    state->unsynced.clear();
    if (withFolder && !fails)
        SyncFolder(FolderOf(path));
    return fails ? SQLITE_IOERR_FSYNC : SQLITE_OK;
}

void DiskShim::Note(Operation operation) const
{
    if (onOperation)
        onOperation(operation);
}

void DiskShim::AfterPowerCut(const QString &folder, quint32 seed)
{
    const std::lock_guard lock(mutex_);
    std::minstd_rand random(seed + 1);
    random.discard(10);
    bool back = false; // what is removed goes in the order of the names
    for (const auto &[path, state] : files_) {
        const bool luck = random() % 2 == 0;
        const bool gone = !state->exists || !QFile::exists(path);
        if (gone)
            back = back || luck;
        if (gone ? !back : !state->listed && !luck)
            continue;
        QByteArray bytes = state->synced;
        ApplySome(*state, random, &bytes);
        Put(folder + u'/' + QFileInfo(path).fileName(), bytes);
    }
}

} // namespace px40
