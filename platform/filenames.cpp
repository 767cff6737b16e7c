#include "platform/filenames.h"

#include "platform/clock.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QString>

#ifdef Q_OS_WIN
#include <string>

#include <windows.h>
#else
#include <filesystem>
#include <system_error>
#endif

namespace px40 {

namespace {

#if defined(Q_OS_WIN) || defined(Q_OS_MACOS)
constexpr Qt::CaseSensitivity NameCase = Qt::CaseInsensitive;
#else
constexpr Qt::CaseSensitivity NameCase = Qt::CaseSensitive;
#endif

#ifdef Q_OS_WIN

std::wstring SystemName(const QString &name)
{
    return NativeName(QFileInfo(name).absoluteFilePath()).toStdWString();
}

/// What only this file has; empty where there is none.
QString Identity(const QString &name)
{
    // Without any right, so that it is there for files that another program holds as well.
    const HANDLE file =
        CreateFileW(SystemName(name).c_str(), 0, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                    nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        return {};
    BY_HANDLE_FILE_INFORMATION about = {};
    const bool known = GetFileInformationByHandle(file, &about) != 0;
    CloseHandle(file);
    if (known && (about.nFileIndexHigh != 0 || about.nFileIndexLow != 0))
        return QStringLiteral("%1 %2 %3")
            .arg(about.dwVolumeSerialNumber)
            .arg(about.nFileIndexHigh)
            .arg(about.nFileIndexLow);
    return QFileInfo(name).canonicalFilePath().toLower(); // some servers do not number their files
}

#endif

} // namespace

QString NativeName(const QString &absolute)
{
    constexpr qsizetype Longest = 247; // of a folder, so that "8.3" names fit in it
    QString name = absolute;
    name.replace(u'\\', u'/');
    const bool plain = !name.startsWith(u"//?/") && !name.startsWith(u"//./");
    const bool onServer = plain && name.startsWith(u"//");
    if (plain)
        name = QDir::cleanPath(onServer ? name.mid(1) : name);
    if (onServer)
        name.prepend(u'/');
    name.replace(u'/', u'\\');
    if (!plain || name.size() <= Longest)
        return name;
    return onServer ? QStringLiteral("\\\\?\\UNC") + name.mid(1) : QStringLiteral("\\\\?\\") + name;
}

bool SameFile(const QString &one, const QString &other)
{
    if (one.isEmpty() || other.isEmpty())
        return false;
#ifdef Q_OS_WIN
    const QString first = Identity(one);
    const QString second = Identity(other);
    if (!first.isEmpty() || !second.isEmpty())
        return first == second;
    // Files that do not exist yet are compared by name and folder.
    const QFileInfo here(one);
    const QFileInfo there(other);
    const QString folder = Identity(here.absolutePath());
    return here.fileName().compare(there.fileName(), NameCase) == 0 &&
           (folder.isEmpty() ? here.absolutePath().compare(there.absolutePath(), NameCase) == 0
                             : folder == Identity(there.absolutePath()));
#else
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
#endif
}

bool MayBeWritten(const QString &name)
{
#ifdef Q_OS_WIN
    const DWORD attributes = GetFileAttributesW(SystemName(name).c_str());
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
