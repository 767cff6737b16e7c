#include "platform/filenames.h"

#include "platform/clock.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QString>

#include <filesystem>
#include <system_error>

#ifdef Q_OS_WIN
#include <windows.h>
#endif

namespace px40 {

namespace {

#if defined(Q_OS_WIN) || defined(Q_OS_MACOS)
constexpr Qt::CaseSensitivity NameCase = Qt::CaseInsensitive;
#else
constexpr Qt::CaseSensitivity NameCase = Qt::CaseSensitive;
#endif

} // namespace

bool SameFile(const QString &one, const QString &other)
{
    if (one.isEmpty() || other.isEmpty())
        return false;
    const std::filesystem::path first = QFileInfo(one).filesystemAbsoluteFilePath();
    const std::filesystem::path second = QFileInfo(other).filesystemAbsoluteFilePath();
    std::error_code absent;
    // The file system decides: it resolves links and knows whether case matters.
    if (std::filesystem::exists(first, absent) || std::filesystem::exists(second, absent))
        return std::filesystem::equivalent(first, second, absent);
    // Files that do not exist yet are compared by their resolved paths.
    const auto path = [](const std::filesystem::path &name) {
        std::error_code unreadable; // then the name is compared as it is
        const std::filesystem::path real = std::filesystem::weakly_canonical(name, unreadable);
        return QDir::cleanPath(QFileInfo(unreadable ? name : real).filePath());
    };
    return path(first).compare(path(second), NameCase) == 0;
}

bool MayBeWritten(const QString &name)
{
#ifdef Q_OS_WIN
    const QString path = QDir::toNativeSeparators(QFileInfo(name).absoluteFilePath());
    const DWORD attributes = GetFileAttributesW(reinterpret_cast<const wchar_t *>(path.utf16()));
    if (attributes == INVALID_FILE_ATTRIBUTES)
        return true;
    constexpr DWORD protecting =
        FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM | FILE_ATTRIBUTE_DIRECTORY;
    return (attributes & protecting) == 0;
#else
    const QFileInfo info(name);
    if (!info.exists())
        return true;
    // isWritable() is always true for an administrator, but a file that nobody may write is protected.
    constexpr QFile::Permissions anybody = QFile::WriteOwner | QFile::WriteGroup | QFile::WriteOther;
    return info.isFile() && (info.permissions() & anybody) && info.isWritable();
#endif
}

QString ProposedName(const QString &title, const Clock &clock, const QString &suffix)
{
    constexpr int LongestTitle = 80;     // characters
    constexpr qsizetype MostBytes = 200; // of the 255 of a file name: time, suffix and lock files add some
    static const QString Forbidden = QStringLiteral("/\\:*?\"<>|");
    // Windows takes such names for devices, whatever follows the dot.
    static const QRegularExpression device(
        QStringLiteral("^(CON|PRN|AUX|NUL|(COM|LPT)[0-9\u00b9\u00b2\u00b3])\\s*\\."),
        QRegularExpression::CaseInsensitiveOption);
    QString name;
    for (const QChar one : title)
        name += one.isPrint() && !Forbidden.contains(one) ? one : QLatin1Char(' ');
    name = name.simplified().left(LongestTitle);
    while (name.startsWith(u'.') || name.startsWith(u' ')) // a dot would hide the file
        name.remove(0, 1);
    while (name.toUtf8().size() > MostBytes)
        name.chop(1);
    name = name.trimmed();
    if (name.contains(device))
        name.prepend(u'_');
    if (name.isEmpty())
        name = QStringLiteral("PX40");
    const QDateTime now = QDateTime::fromMSecsSinceEpoch(clock.UtcMs());
    return name + now.toString(QStringLiteral(" yyyy-MM-dd HHmmss.")) + suffix;
}

} // namespace px40
