#include "xlsx/bookfile.h"

#include "platform/filenames.h"
#include "platform/replacefile.h"

#include <QFile>
#include <QFileInfo>
#include <QStringEncoder>
#include <QtEndian>

namespace px40 {

namespace {

/// A name as it stands in the directory of a compound file.
QByteArray Wide(QStringView name)
{
    return QStringEncoder(QStringEncoder::Utf16LE)(name);
}

/// The beginning of a compound file and, if its header points elsewhere, of its directory, whose names tell
/// what the file holds.
QByteArray Directory(QFile &file, const QByteArray &header)
{
    constexpr qint64 blockSize = 64 * 1024;
    constexpr qsizetype shiftAt = 30;
    constexpr qsizetype sectorAt = 48;
    constexpr int largestShift = 16;
    file.seek(0);
    QByteArray bytes = file.read(blockSize);
    if (header.size() < sectorAt + 4)
        return bytes;
    const int shift = qFromLittleEndian<quint16>(header.constData() + shiftAt);
    const qint64 sector = qFromLittleEndian<quint32>(header.constData() + sectorAt);
    if (shift <= largestShift && file.seek((sector + 1) << shift))
        bytes += file.read(blockSize);
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

BookResult<> CheckPlace(const QString &name, BookProblem readOnly)
{
    const QFileInfo info(name);
    if (!QFileInfo::exists(info.absolutePath()))
        return Refuse(BookProblem::FolderMissing);
    if (info.isDir())
        return Refuse(BookProblem::NoFile);
    if (!MayBeWritten(name))
        return Refuse(readOnly);
    return {};
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
    const BookResult<> place = CheckPlace(name, BookProblem::ReadOnly);
#ifndef Q_OS_WIN // where isWritable() says nothing about the right to create a file
    if (place && !QFileInfo(QFileInfo(name).absolutePath()).isWritable())
        return Refuse(BookProblem::FolderReadOnly);
#endif
    return place;
}

BookResult<> CheckMakeable(const QString &name)
{
    const BookResult<> place = CheckPlace(name, BookProblem::NewReadOnly);
    if (place && !Replacement(name).Open())
        return Refuse(BookProblem::FolderClosed);
    return place;
}

} // namespace px40
