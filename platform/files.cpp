#include "platform/files.h"

#include <QIODevice>

#include <memory>

#ifdef Q_OS_WIN
#include "platform/filenames.h"

#include <QFileInfo>

#include <qt_windows.h>
#endif

namespace px40 {

void SetHidden([[maybe_unused]] const QString &name, [[maybe_unused]] bool hidden)
{
#ifdef Q_OS_WIN
    const QString native = NativeName(QFileInfo(name).absoluteFilePath());
    SetFileAttributesW(reinterpret_cast<const wchar_t *>(native.utf16()),
                       hidden ? FILE_ATTRIBUTE_HIDDEN : FILE_ATTRIBUTE_NORMAL);
#endif
}

Result<> WriteBytes(QIODevice &to, const char *bytes, qint64 size)
{
    while (size > 0) {
        const qint64 taken = to.write(bytes, size);
        if (taken <= 0)
            return Fail(to.errorString());
        bytes += taken;
        size -= taken;
    }
    return {};
}

Result<> CopyBytes(QIODevice &from, QIODevice &to)
{
    constexpr qint64 BlockSize = 256 * 1024;
    const auto block = std::make_unique_for_overwrite<char[]>(BlockSize);
    for (;;) {
        const qint64 got = from.read(block.get(), BlockSize);
        if (got == 0)
            return {};
        if (got < 0)
            return Fail(from.errorString(), FailureCode::Unreadable);
        const Result<> written = WriteBytes(to, block.get(), got);
        if (!written)
            return written;
    }
}

} // namespace px40
