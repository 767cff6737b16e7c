#include "platform/replacefile.h"

#include "platform/filenames.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QFileInfo>
#include <QRandomGenerator>
#include <QThread>

#include <cerrno>
#include <utility>

#ifdef Q_OS_WIN
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <io.h>
#include <windows.h>
#else
#include <csignal>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

namespace px40 {

namespace {

const QString TemporaryPrefix = QStringLiteral(".px40-");
const QString TemporarySuffix = QStringLiteral(".tmp");

/// The process that made that temporary file; 0 when its name does not say so.
int PidOf(const QString &name)
{
    return QFileInfo(name).fileName().mid(TemporaryPrefix.size()).section(u'-', 0, 0).toInt();
}

#ifdef Q_OS_WIN

/// The system's number of the error, or 0.
int Sync(QFile &file)
{
    const auto handle = reinterpret_cast<HANDLE>(_get_osfhandle(file.handle()));
    return FlushFileBuffers(handle) ? 0 : static_cast<int>(GetLastError());
}

/// `Rename` has waited for the disk.
void SyncFolder(const QString &) {}

void LockAsInUse(QFile &) {}

/// Windows does not remove an open file. One of this process may be closed and about to be renamed.
bool IsUnused(const QString &name)
{
    return PidOf(name) != QCoreApplication::applicationPid();
}

bool IsGone(qint64 pid)
{
    const HANDLE process = OpenProcess(SYNCHRONIZE, FALSE, static_cast<DWORD>(pid));
    if (!process)
        return GetLastError() == ERROR_INVALID_PARAMETER;
    const bool ended = WaitForSingleObject(process, 0) == WAIT_OBJECT_0;
    CloseHandle(process);
    return ended;
}

int Rename(const QString &from, const QString &to, bool mayReplace)
{
    const DWORD flags = MOVEFILE_WRITE_THROUGH | (mayReplace ? MOVEFILE_REPLACE_EXISTING : 0);
    const QString nativeFrom = NativeName(from);
    const QString nativeTo = NativeName(to);
    return MoveFileExW(reinterpret_cast<const wchar_t *>(nativeFrom.utf16()),
                       reinterpret_cast<const wchar_t *>(nativeTo.utf16()), flags)
               ? 0
               : static_cast<int>(GetLastError());
}

bool IsHeld(int error)
{
    return error == ERROR_SHARING_VIOLATION || error == ERROR_LOCK_VIOLATION ||
           error == ERROR_ACCESS_DENIED || error == ERROR_USER_MAPPED_FILE;
}

void TakeModeOf(const QString &, QFile &) {}

#else

/// The system's number of the error, or 0, also on a file system without fsync.
int Sync(QFile &file)
{
    return ::fsync(file.handle()) == 0 || errno == EINVAL || errno == ENOTSUP ? 0 : errno;
}

/// Lets the renaming survive a loss of power. Where this fails, one of the two files is there, complete.
void SyncFolder(const QString &name)
{
    const int folder = ::open(QFile::encodeName(name).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (folder < 0)
        return;
    ::fsync(folder);
    ::close(folder);
}

/// Tells other processes that the file is in use, also those in a container, where process ids differ.
void LockAsInUse(QFile &file)
{
    ::flock(file.handle(), LOCK_EX | LOCK_NB);
}

bool IsUnused(const QString &name)
{
    QFile file(name);
    return file.open(QIODevice::ReadOnly) && ::flock(file.handle(), LOCK_EX | LOCK_NB) == 0;
}

bool IsGone(qint64 pid)
{
    return ::kill(static_cast<pid_t>(pid), 0) != 0 && errno == ESRCH;
}

int Rename(const QString &from, const QString &to, bool mayReplace)
{
    const QByteArray fromName = QFile::encodeName(from);
    const QByteArray toName = QFile::encodeName(to);
    if (!mayReplace) {
        if (::link(fromName.constData(), toName.constData()) == 0) {
            ::unlink(fromName.constData());
            return 0;
        }
        if (errno == EEXIST)
            return EEXIST;
    }
    return ::rename(fromName.constData(), toName.constData()) == 0 ? 0 : errno;
}

/// A file server answers with these when a program on another machine has the file open.
bool IsHeld(int error)
{
    return error == EBUSY || error == ETXTBSY;
}

/// Copies owner, group and mode, as far as this user may set them, so that a file keeps its owner when an
/// administrator saves it.
void TakeModeOf(const QString &name, QFile &file)
{
    struct stat was = {};
    if (::stat(QFile::encodeName(name).constData(), &was) != 0)
        return;
    constexpr mode_t bits = 07777;
    if (::fchown(file.handle(), was.st_uid, was.st_gid) != 0 &&
        ::fchown(file.handle(), static_cast<uid_t>(-1), was.st_gid) != 0)
        errno = 0;
    ::fchmod(file.handle(), was.st_mode & bits);
}

#endif

bool IsLeftover(const QString &name)
{
    const int pid = PidOf(name);
    // Our own process id may have been that of a program that crashed; then the lock decides.
    return pid > 0 && (pid == QCoreApplication::applicationPid() || IsGone(pid)) && IsUnused(name);
}

} // namespace

Result<> SyncToDisk(QFile &file)
{
    const int error = Sync(file);
    if (error != 0)
        return Fail(qt_error_string(error));
    return {};
}

void SyncName(const QString &file)
{
    SyncFolder(QFileInfo(file).path());
}

QString RealName(const QString &name)
{
    QFileInfo info(name);
    const QString canonical = info.canonicalFilePath();
    if (!canonical.isEmpty())
        return canonical;
    // A link to a file that does not exist yet.
    constexpr int longestChain = 40;
    for (int i = 0; i < longestChain && info.isSymbolicLink(); ++i)
        info.setFile(info.symLinkTarget());
    return QDir::cleanPath(info.absoluteFilePath());
}

FileFingerprint FingerprintOf(const QString &name)
{
    FileFingerprint fingerprint;
#ifdef Q_OS_WIN
    const QString native = NativeName(QFileInfo(name).absoluteFilePath());
    const HANDLE file = CreateFileW(reinterpret_cast<const wchar_t *>(native.utf16()), 0,
                                    FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                    OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
    BY_HANDLE_FILE_INFORMATION now = {};
    if (file != INVALID_HANDLE_VALUE && GetFileInformationByHandle(file, &now)) {
        const auto whole = [](DWORD high, DWORD low) { return quint64{high} << 32 | low; };
        fingerprint.size = static_cast<qint64>(whole(now.nFileSizeHigh, now.nFileSizeLow));
        fingerprint.time =
            static_cast<qint64>(whole(now.ftLastWriteTime.dwHighDateTime, now.ftLastWriteTime.dwLowDateTime));
        fingerprint.number = whole(now.nFileIndexHigh, now.nFileIndexLow);
    }
    if (file != INVALID_HANDLE_VALUE)
        CloseHandle(file);
#else
    struct stat now = {};
    if (::stat(QFile::encodeName(name).constData(), &now) == 0) {
        constexpr qint64 second = 1'000'000'000;
#ifdef Q_OS_MACOS
        const timespec &time = now.st_mtimespec;
#else
        const timespec &time = now.st_mtim;
#endif
        fingerprint.size = now.st_size;
        fingerprint.time = time.tv_sec * second + time.tv_nsec;
        fingerprint.number = now.st_ino;
    }
#endif
    return fingerprint;
}

Renaming Renaming::OfTheSystem()
{
    return {&Rename, [](int milliseconds) { QThread::msleep(static_cast<unsigned long>(milliseconds)); }};
}

Replacement::Replacement(const QString &name, Renaming renaming) : name_(name), renaming_(std::move(renaming))
{
}

Replacement::~Replacement()
{
    if (file_.fileName().isEmpty())
        return;
    file_.close();
    file_.remove();
}

Result<> Replacement::Open()
{
    // The old file may be private: until `Finish` copies its mode, only this user may read the new one.
    const bool replaces = QFileInfo::exists(name_);
    const QFile::Permissions ours = QFile::ReadOwner | QFile::WriteOwner;
    const QFile::Permissions usual = ours | QFile::ReadGroup | QFile::WriteGroup | QFile::ReadOther |
                                     QFile::WriteOther; // less the bits of the umask
    constexpr QIODevice::OpenMode mode = QIODevice::WriteOnly | QIODevice::NewOnly | QIODevice::Unbuffered;

    const QString pid = QString::number(QCoreApplication::applicationPid());
    const QString random = QString::number(QRandomGenerator::global()->generate(), 16);
    file_.setFileName(QFileInfo(name_).path() + u'/' + TemporaryPrefix + pid + u'-' + random +
                      TemporarySuffix);
    if (!file_.open(mode, replaces ? ours : usual)) {
        const QString reason = file_.errorString();
        file_.setFileName({});
        return Fail(reason);
    }
    LockAsInUse(file_);
    return {};
}

Result<> Replacement::Finish()
{
    TakeModeOf(name_, file_);
    return SyncToDisk(file_);
}

Result<> Replacement::TakePlace(bool mayReplace)
{
#ifdef Q_OS_WIN
    file_.close(); // an open file cannot be renamed there
#endif
    constexpr int Tries = 10;
    constexpr int PauseMs = 50;
    int error = renaming_.rename(file_.fileName(), name_, mayReplace);
    for (int i = 1; i < Tries && IsHeld(error); ++i) {
        renaming_.pause(PauseMs);
        error = renaming_.rename(file_.fileName(), name_, mayReplace);
    }
    if (error != 0)
        return Fail(qt_error_string(error));
    file_.close();
    file_.setFileName({});
    SyncName(name_);
    return {};
}

void Replacement::Sweep(const QString &name)
{
    const QDir folder(QFileInfo(name).path());
    const QStringList names = folder.entryList({TemporaryPrefix + u'*' + TemporarySuffix},
                                               QDir::Files | QDir::Hidden | QDir::NoSymLinks);
    for (const QString &one : names) {
        const QString path = folder.filePath(one);
        if (IsLeftover(path))
            QFile::remove(path);
    }
}

Result<> ReplaceContents(const QString &name, const WriteTo &write)
{
    const QString real = RealName(name);
    const QFileInfo info(real);
    if (info.isDir())
        return Fail(QStringLiteral("Filename refers to a directory"));
    if (info.exists() && !info.isWritable())
        return Fail(QStringLiteral("Existing file %1 is not writable").arg(name));
    Replacement::Sweep(real);
    Replacement file(real);
    Result<> done = file.Open();
    if (done)
        done = write(file.File());
    if (done)
        done = file.Finish();
    if (done)
        done = file.TakePlace(true);
    return done;
}

} // namespace px40
