#include "platform/files.h"

#include <QFile>
#include <QSaveFile>

#include <memory>

#ifdef Q_OS_WIN
#include <QDir>

#include <qt_windows.h>
#else
#include <cerrno>

#include <unistd.h>
#endif

namespace px40 {

namespace {

/// False when the disk could not take what was written; file systems that cannot tell count as good.
bool SyncToDisk(QFileDevice &file)
{
#ifdef Q_OS_WIN
    return file.flush();
#else
    return file.flush() && (::fsync(file.handle()) == 0 || errno == EINVAL || errno == ENOTSUP);
#endif
}

#ifdef Q_OS_WIN
void SetAttributes(const QString &name, unsigned long attributes)
{
    const QString native = QDir::toNativeSeparators(name);
    SetFileAttributesW(reinterpret_cast<const wchar_t *>(native.utf16()), attributes);
}
#endif

} // namespace

void SetHidden([[maybe_unused]] const QString &name)
{
#ifdef Q_OS_WIN
    SetAttributes(name, FILE_ATTRIBUTE_HIDDEN);
#endif
}

void ClearAttributes([[maybe_unused]] const QString &name)
{
#ifdef Q_OS_WIN
    SetAttributes(name, FILE_ATTRIBUTE_NORMAL);
#endif
}

bool CopyBytes(QIODevice &from, QIODevice &to, QString *readError, QString *writeError)
{
    constexpr qint64 BlockSize = 256 * 1024;
    const auto block = std::make_unique_for_overwrite<char[]>(BlockSize);
    for (;;) {
        const qint64 got = from.read(block.get(), BlockSize);
        if (got == 0)
            return true;
        if (got < 0) {
            *readError = from.errorString();
            return false;
        }
        if (to.write(block.get(), got) != got) {
            *writeError = to.errorString();
            return false;
        }
    }
}

bool Close(QFileDevice &file, QString *error)
{
    const bool flushed = file.flush();
    if (!flushed)
        *error = file.errorString();
    file.close();
    if (flushed && file.error() != QFileDevice::NoError) {
        *error = file.errorString();
        return false;
    }
    return flushed;
}

bool ReplaceFile(const QString &from, const QString &name, QString *error)
{
    QFile source(from);
    if (!source.open(QIODevice::ReadOnly | QIODevice::Unbuffered)) {
        *error = source.errorString();
        return false;
    }
    QSaveFile target(name);
    if (!target.open(QIODevice::WriteOnly | QIODevice::Unbuffered)) {
        *error = target.errorString();
        return false;
    }
    if (!CopyBytes(source, target, error, error))
        return false;
    if (!SyncToDisk(target)) {
        *error = target.error() == QFileDevice::NoError ? qt_error_string() : target.errorString();
        return false;
    }
    if (target.commit())
        return true;
    *error = target.errorString();
    return false;
}

} // namespace px40
