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

bool WriteBytes(QIODevice &to, const char *bytes, qint64 size, QString *error)
{
    while (size > 0) {
        const qint64 taken = to.write(bytes, size);
        if (taken <= 0) {
            *error = to.errorString();
            return false;
        }
        bytes += taken;
        size -= taken;
    }
    return true;
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
        if (!WriteBytes(to, block.get(), got, writeError))
            return false;
    }
}

bool ReplaceFile(const QString &name, const WriteTo &write, QString *error)
{
    QSaveFile target(name);
    // Without a buffer: what is written late would fail unseen.
    if (!target.open(QIODevice::WriteOnly | QIODevice::Unbuffered)) {
        *error = target.errorString();
        return false;
    }
    if (!write(target, error))
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
