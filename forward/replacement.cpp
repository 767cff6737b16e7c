#include "forward/replacement.h"

#include "platform/files.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QFileInfo>
#include <QRandomGenerator>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <system_error>

#ifdef Q_OS_WIN
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <io.h>
#include <windows.h>
#else
#include <csignal>

#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

namespace px40 {

namespace {

constexpr qsizetype BlockSize = 256 * 1024;

const QString NeighbourBegin = QStringLiteral(".px40-");
const QString NeighbourEnd = QStringLiteral(".tmp");

QString NeighbourName(const QString &folder, const QString &random)
{
    return folder + u'/' + NeighbourBegin + QString::number(QCoreApplication::applicationPid()) + u'-' +
           random + NeighbourEnd;
}

#ifdef Q_OS_WIN

bool SyncToDisk(QFile &file)
{
    return _commit(file.handle()) == 0;
}

void Mark(QFile &) {}

/// An open file cannot be removed, and one that is finished is renamed at once.
bool IsUnused(const QString &)
{
    return true;
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

/// 0, or what was in the way; never replaces anything.
int RenameToFree(const std::filesystem::path &from, const std::filesystem::path &to)
{
    return ::_wrename(from.c_str(), to.c_str()) == 0 ? 0 : errno;
}

void TakeModeOf(const QString &, QFile &) {}

#else

/// File systems that cannot tell count as good.
bool SyncToDisk(QFile &file)
{
    return ::fsync(file.handle()) == 0 || errno == EINVAL || errno == ENOTSUP;
}

/// Shows other processes, in containers of their own too, that somebody is still at work.
void Mark(QFile &file)
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

/// 0, or what was in the way; never replaces anything, unless the file system knows no links.
int RenameToFree(const std::filesystem::path &from, const std::filesystem::path &to)
{
    if (::link(from.c_str(), to.c_str()) == 0) {
        ::unlink(from.c_str());
        return 0;
    }
    if (errno == EEXIST)
        return EEXIST;
    return ::rename(from.c_str(), to.c_str()) == 0 ? 0 : errno;
}

/// As far as this user may: another's file stays his if the administrator changes it.
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
    const QString fileName = QFileInfo(name).fileName();
    const int pid = fileName.mid(NeighbourBegin.size()).section(u'-', 0, 0).toInt();
    // A number that is in use again, by this very process too, says nothing; then the mark decides.
    return pid > 0 && (pid == QCoreApplication::applicationPid() || IsGone(pid)) && IsUnused(name);
}

} // namespace

QString NeighbourTemplate(const QString &folder)
{
    return NeighbourName(folder, QStringLiteral("XXXXXX"));
}

QString RealName(const QString &name)
{
    QFileInfo info(name);
    const QString canonical = info.canonicalFilePath();
    if (!canonical.isEmpty())
        return canonical;
    // A link to what is not there yet.
    constexpr int longestChain = 40;
    for (int i = 0; i < longestChain && info.isSymbolicLink(); ++i)
        info.setFile(info.symLinkTarget());
    return QDir::cleanPath(info.absoluteFilePath());
}

FilePrint PrintOf(const QString &name)
{
    FilePrint print;
#ifdef Q_OS_WIN
    const QFileInfo info(name);
    if (info.exists()) {
        print.size = info.size();
        print.time = info.lastModified().toMSecsSinceEpoch();
    }
#else
    struct stat now = {};
    if (::stat(QFile::encodeName(name).constData(), &now) == 0) {
        constexpr qint64 second = 1'000'000'000;
#ifdef Q_OS_MACOS
        const timespec &time = now.st_mtimespec;
#else
        const timespec &time = now.st_mtim;
#endif
        print.size = now.st_size;
        print.time = time.tv_sec * second + time.tv_nsec;
        print.number = now.st_ino;
    }
#endif
    return print;
}

Replacement::Replacement(const QString &name) : name_(name) {}

Replacement::~Replacement()
{
    if (file_.fileName().isEmpty())
        return;
    file_.close();
    file_.remove();
}

bool Replacement::Open()
{
    // What it replaces may be nobody else's to read.
    const bool replaces = QFileInfo::exists(name_);
    const QFile::Permissions ours = QFile::ReadOwner | QFile::WriteOwner;
    const QFile::Permissions usual = ours | QFile::ReadGroup | QFile::WriteGroup | QFile::ReadOther |
                                     QFile::WriteOther; // less the bits that the user's mask takes away
    constexpr QIODevice::OpenMode mode = QIODevice::WriteOnly | QIODevice::NewOnly | QIODevice::Unbuffered;

    const QString random = QString::number(QRandomGenerator::global()->generate(), 16);
    file_.setFileName(NeighbourName(QFileInfo(name_).path(), random));
    if (!file_.open(mode, replaces ? ours : usual)) {
        const QString reason = file_.errorString();
        file_.setFileName({});
        return Fail(reason);
    }
    Mark(file_);
    waiting_.reserve(BlockSize);
    return true;
}

qint64 Replacement::Size() const
{
    return std::max(size_, Position());
}

bool Replacement::Fail(const QString &reason)
{
    error_ = reason;
    return false;
}

bool Replacement::Flush()
{
    if (!WriteBytes(file_, waiting_.constData(), waiting_.size(), &error_))
        return false;
    at_ += waiting_.size();
    size_ = std::max(size_, at_);
    waiting_.resize(0);
    return true;
}

bool Replacement::Write(const char *bytes, qint64 size)
{
    while (size > 0) {
        const qsizetype taken = std::min<qsizetype>(size, BlockSize - waiting_.size());
        waiting_.append(bytes, taken);
        bytes += taken;
        size -= taken;
        if (waiting_.size() == BlockSize && !Flush())
            return false;
    }
    return true;
}

bool Replacement::Seek(qint64 to)
{
    if (!Flush())
        return false;
    if (!file_.seek(to))
        return Fail(file_.errorString());
    at_ = to;
    return true;
}

bool Replacement::Finish()
{
    if (!Flush())
        return false;
    TakeModeOf(name_, file_);
    return SyncToDisk(file_) || Fail(qt_error_string());
}

bool Replacement::TakePlace(bool mayReplace)
{
#ifdef Q_OS_WIN
    file_.close(); // an open file cannot be renamed there
#endif
    const std::filesystem::path from = file_.filesystemFileName();
    const std::filesystem::path to = QFileInfo(name_).filesystemFilePath();
    std::error_code problem;
    if (mayReplace)
        std::filesystem::rename(from, to, problem);
    else
        problem.assign(RenameToFree(from, to), std::generic_category());
    if (problem)
        return Fail(mayReplace ? qt_error_string(problem.value())
                               : QString::fromStdString(problem.message()));
    file_.close();
    file_.setFileName({});
    return true;
}

void Replacement::Sweep(const QString &name)
{
    const QDir folder(QFileInfo(name).path());
    const QStringList names = folder.entryList({NeighbourBegin + u'*' + NeighbourEnd},
                                               QDir::Files | QDir::Hidden | QDir::NoSymLinks);
    for (const QString &one : names) {
        const QString path = folder.filePath(one);
        if (IsLeftover(path))
            QFile::remove(path);
    }
}

} // namespace px40
