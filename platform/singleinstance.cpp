#include "platform/singleinstance.h"

#include <QDir>
#include <QStandardPaths>

namespace px40 {

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
    // No age makes a lock stale, only the death of the process that holds it.
    lock_.setStaleLockTime(0);
}

bool SingleInstance::Acquire()
{
    return lock_.tryLock(0) || lock_.error() != QLockFile::LockFailedError;
}

} // namespace px40
