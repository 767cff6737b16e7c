#include "xlsx/bookfile.h"

#include "platform/filenames.h"
#include "platform/replacefile.h"

#include <QFile>
#include <QFileInfo>
#include <QtEndian>

namespace px40 {

namespace {

/// A name as it stands in the directory of a compound file.
QByteArray Wide(QStringView name)
{
    QByteArray bytes;
    for (const QChar character : name) {
        bytes += static_cast<char>(character.unicode() & 0xFF);
        bytes += static_cast<char>(character.unicode() >> 8);
    }
    return bytes;
}

/// The beginning of a compound file and, where its header leads elsewhere, that of its directory.
QByteArray Directory(QFile &file, const QByteArray &header)
{
    constexpr qint64 much = 64 * 1024;
    constexpr qsizetype shiftAt = 30;
    constexpr qsizetype sectorAt = 48;
    constexpr int largestShift = 16;
    file.seek(0);
    QByteArray bytes = file.read(much);
    if (header.size() < sectorAt + 4)
        return bytes;
    const int shift = qFromLittleEndian<quint16>(header.constData() + shiftAt);
    const qint64 sector = qFromLittleEndian<quint32>(header.constData() + sectorAt);
    if (shift <= largestShift && file.seek((sector + 1) << shift))
        bytes += file.read(much);
    return bytes;
}

BookProblem CompoundProblem(QFile &file, const QByteArray &header)
{
    const QByteArray directory = Directory(file, header);
    if (directory.contains(Wide(u"EncryptedPackage")))
        return BookProblem::Encrypted;
    if (directory.contains(Wide(u"Workbook")) || directory.contains(Wide(u"Book")))
        return BookProblem::OlderKind;
    return BookProblem::NoWorkbook;
}

} // namespace

BookResult<> CheckPackage(const QString &name)
{
    const QFileInfo info(name);
    if (!info.exists())
        return Refuse(BookProblem::Missing);
    if (!info.isFile())
        return Refuse(BookProblem::NoWorkbook);
    QFile file(name);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Unbuffered))
        return Refuse(BookProblem::Unreadable, file.errorString());
    constexpr qint64 headerSize = 512;
    const QByteArray header = file.read(headerSize);
    if (header.startsWith("\xD0\xCF\x11\xE0"))
        return Refuse(CompoundProblem(file, header));
    if (!header.startsWith("PK"))
        return Refuse(BookProblem::NoWorkbook);
    return {};
}

BookResult<> CheckReplaceable(const QString &name)
{
    const QFileInfo info(name);
    const QFileInfo folder(info.absolutePath());
    if (!folder.exists())
        return Refuse(BookProblem::FolderMissing);
    if (info.isDir())
        return Refuse(BookProblem::NoFile);
    if (!MayBeWritten(name))
        return Refuse(BookProblem::ReadOnly);
#ifndef Q_OS_WIN // where it says nothing about the right to make a file
    if (!folder.isWritable())
        return Refuse(BookProblem::FolderReadOnly);
#endif
    return {};
}

BookResult<> CheckMakeable(const QString &name)
{
    const QFileInfo info(name);
    if (!QFileInfo::exists(info.absolutePath()))
        return Refuse(BookProblem::FolderMissing);
    if (info.isDir())
        return Refuse(BookProblem::NoFile);
    if (!MayBeWritten(name))
        return Refuse(BookProblem::NewReadOnly);
    Replacement trial(name);
    if (!trial.Open())
        return Refuse(BookProblem::FolderClosed);
    return {};
}

} // namespace px40
