#include "app/settings.h"

#include "platform/files.h"
#include "platform/portmap.h"
#include "platform/replacefile.h"
#include "platform/userstore.h"
#include "resources/strings.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>
#include <QStringDecoder>
#include <QTemporaryFile>

namespace px40 {

namespace {

constexpr qint64 LongestLine = 32768; // a path is shorter; what is longer is noise

bool CanWriteIn(const QString &folder)
{
    // Access rights are misleading on network drives and in virtualised folders; only a try tells.
    QTemporaryFile probe(folder + QStringLiteral("/px40"));
    return probe.open();
}

QString UserDataFolder()
{
    return QStandardPaths::writableLocation(QStandardPaths::AppLocalDataLocation);
}

/// The system's own encoding, in which files were written once, where it is no UTF-8.
QString Decoded(const QByteArray &line)
{
    QStringDecoder utf8(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    const QString text = utf8(line);
    return utf8.hasError() ? QString::fromLocal8Bit(line) : text;
}

bool IsPort(int number)
{
    return number >= PortMap::First && number <= PortMap::Last;
}

} // namespace

Paths PathsIn(const QString &folder)
{
    QString base = QDir::toNativeSeparators(folder);
    if (!base.endsWith(QDir::separator()))
        base += QDir::separator();
#ifdef Q_OS_WIN
    const QString user = base + QStringLiteral("PX40USER.INI");
#else
    const QString user;
#endif
    return {base + QStringLiteral("PX40AP.INI"), base + QStringLiteral("WORK.~~~"),
            base + QStringLiteral("Unsaved"), user};
}

QString ChooseDataFolder(const QString &programFolder)
{
    // An installed program keeps nothing where it lies, even if the administrator starts it.
    if (programFolder != QStringLiteral(PX40_PROGRAMS) && CanWriteIn(programFolder))
        return programFolder;
    const QString folder = UserDataFolder();
    QDir().mkpath(folder);
    return folder;
}

Paths PathsFor(const QString &wanted)
{
    if (!wanted.isEmpty())
        return PathsIn(QDir(wanted).absolutePath());
    Paths paths = PathsIn(ChooseDataFolder(QCoreApplication::applicationDirPath()));
    paths.UnsavedPath = PathsIn(UserDataFolder()).UnsavedPath;
    return paths;
}

UserStore StoreFor(const Paths &paths)
{
    return paths.UserPath.isEmpty() ? UserStore(Text(Str::ApplicationTitle))
                                    : UserStore::InFile(paths.UserPath);
}

void Settings::ReadFile()
{
    QFile file(paths_.IniPath);
    if (!file.open(QIODevice::ReadOnly))
        return;
    for (QString *const text : {&PortNumberText, &ForwardFileText, &ForwardTitleText}) {
        if (file.atEnd())
            return;
        QByteArray line = file.readLine(LongestLine);
        while (line.endsWith('\n') || line.endsWith('\r'))
            line.chop(1);
        *text = Decoded(line);
    }
}

void Settings::WriteSettingsFile()
{
    const QStringList fields{PortNumberText, ForwardFileText, ForwardTitleText, QString()};
    const QByteArray lines = fields.join(QStringLiteral("\r\n")).toUtf8();
    // A full disk leaves the old settings.
    const Result<> written = ReplaceContents(
        paths_.IniPath, [&lines](QIODevice &to) { return WriteBytes(to, lines.constData(), lines.size()); });
    if (written && !IsPort(PortNumberText.trimmed().toInt()))
        PortNumberText = QStringLiteral("1");
}

int Settings::PortNumber() const
{
    const int number = PortNumberText.trimmed().toInt();
    return IsPort(number) ? number : PortMap::First;
}

} // namespace px40
