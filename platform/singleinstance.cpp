#include "platform/singleinstance.h"

#include <QDir>
#include <QStandardPaths>

#ifdef Q_OS_WIN
#include <QCryptographicHash>

#include <windows.h>
#endif

namespace px40 {

#ifdef Q_OS_WIN

SingleInstance::SingleInstance(const QString &name)
{
    // Of this user, in all of this user's sessions.
    const QString folder = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
    const QByteArray user = QCryptographicHash::hash(folder.toLower().toUtf8(), QCryptographicHash::Sha1);
    name_ = QStringLiteral("Global\\") + name + u'-' + QString::fromLatin1(user.toHex());
}

bool SingleInstance::Acquire()
{
    const HANDLE mutex = CreateMutexW(nullptr, FALSE, reinterpret_cast<const wchar_t *>(name_.utf16()));
    const bool taken = mutex ? GetLastError() == ERROR_ALREADY_EXISTS : GetLastError() == ERROR_ACCESS_DENIED;
    if (mutex && taken)
        CloseHandle(mutex);
    else if (mutex)
        mutex_ = {mutex, &CloseHandle};
    return !taken;
}

#else

namespace {

QString LockPath(const QString &name)
{
    QString folder = QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation);
    if (folder.isEmpty())
        folder = QStandardPaths::writableLocation(QStandardPaths::AppLocalDataLocation);
    QDir().mkpath(folder);
    return folder + QLatin1Char('/') + name + QLatin1String(".lock");
}

} // namespace

SingleInstance::SingleInstance(const QString &name) : lock_(LockPath(name))
{
    // A lock never becomes stale by its age, only when the process that holds it has died.
    lock_.setStaleLockTime(0);
}

bool SingleInstance::Acquire()
{
    if (lock_.tryLock(0) || lock_.error() != QLockFile::LockFailedError)
        return true;
    // A lock file without a process id was left half-written, unless another copy is writing it right now.
    constexpr int WritingMs = 100;
    qint64 pid = 0;
    QString host;
    QString program;
    if (lock_.getLockInfo(&pid, &host, &program) || lock_.tryLock(WritingMs))
        return lock_.isLocked();
    return !lock_.getLockInfo(&pid, &host, &program) && lock_.removeStaleLockFile() && lock_.tryLock(0);
}

#endif

} // namespace px40
