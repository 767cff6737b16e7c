#include "xlsx/bookholder.h"

#include "platform/replacefile.h"

#include <QFile>
#include <QFileInfo>
#include <QStringDecoder>
#include <QStringList>

#include <algorithm>

namespace px40 {

namespace {

constexpr qint64 LongestLock = 4096;

/// The beginning of a file that may not be there; empty also when it cannot be read.
QByteArray Beginning(const QString &name)
{
    QFile file(name);
    return file.open(QIODevice::ReadOnly) ? file.read(LongestLock) : QByteArray();
}

/// Fields separated by commas and ended by a semicolon; after a backslash both are plain text.
QStringList Fields(const QString &text)
{
    QStringList fields = {QString()};
    bool escaped = false;
    for (const QChar character : text) {
        if (!escaped && character == u'\\') {
            escaped = true;
        } else if (!escaped && character == u';') {
            break;
        } else if (!escaped && character == u',') {
            fields += QString();
        } else {
            fields.back() += character;
            escaped = false;
        }
    }
    return fields;
}

/// Full name, login, host, time.
BookHolder LibreOfficeHolder(const QByteArray &lock)
{
    QStringList fields = Fields(QString::fromUtf8(lock));
    for (QString &field : fields)
        field = field.simplified();
    BookHolder holder = {fields[0].isEmpty() ? fields.value(1) : fields[0], fields.value(2)};
    if (holder.name.isEmpty() && holder.host.isEmpty())
        holder.name = QStringLiteral("LibreOffice");
    return holder;
}

/// One byte for the length, then the name in the system's encoding, padded to 54 bytes; then the same in
/// UTF-16, with two bytes for the length.
BookHolder ExcelHolder(const QByteArray &lock)
{
    constexpr qsizetype room = 54;
    constexpr qsizetype wideAt = 1 + room;
    const auto byte = [&lock](qsizetype at) {
        return at < lock.size() ? static_cast<unsigned char>(lock[at]) : 0;
    };
    const qsizetype length = std::min<qsizetype>(byte(0), room);
    QString name;
    if (byte(wideAt) == length && lock.size() >= wideAt + 2 + 2 * length)
        name = QStringDecoder(QStringDecoder::Utf16LE)(lock.mid(wideAt + 2, 2 * length));
    else
        name = QString::fromLatin1(lock.mid(1, length));
    name = name.simplified();
    return {name.isEmpty() ? QStringLiteral("Excel") : name, {}};
}

std::optional<BookHolder> HolderBeside(const QString &workbook)
{
    const QFileInfo info(workbook);
    const QString folder = info.absolutePath() + u'/';
    const QString libreOffice = folder + QStringLiteral(".~lock.") + info.fileName() + u'#';
    if (QFileInfo::exists(libreOffice))
        return LibreOfficeHolder(Beginning(libreOffice));
    const QString excel = folder + QStringLiteral("~$") + info.fileName();
    if (QFileInfo::exists(excel))
        return ExcelHolder(Beginning(excel));
    return {};
}

} // namespace

std::optional<BookHolder> HolderOf(const QString &workbook)
{
    // Programs differ in whether they put the lock beside a link or beside the file that it leads to.
    const std::optional<BookHolder> holder = HolderBeside(RealName(workbook));
    return holder ? holder : HolderBeside(workbook);
}

} // namespace px40
