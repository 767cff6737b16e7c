#include "document/leftjournals.h"

#include "resources/strings.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QMap>
#include <QSet>
#include <QTemporaryDir>
#include <QtEndian>

#include <algorithm>
#include <exception>
#include <optional>
#include <stdexcept>
#include <tuple>
#include <utility>

namespace px40 {

namespace {

struct OneRead
{
    std::unique_ptr<JournalFile> file; ///< null: it cannot be written
    JournalContents contents;
};

quint32 BigEndian(const QByteArray &bytes, qsizetype at)
{
    return qFromBigEndian<quint32>(bytes.constData() + at);
}

/// Whether what SQLite keeps beside a journal has transactions behind the first frame that is not right.
/// SQLite ends there, as it must after a loss of power, which may cut the last transaction; of the one before
/// that the disk had everything. (The format is told in SQLite's own "WAL-mode File Format".)
bool IsWalDamaged(const QString &path)
{
    constexpr qsizetype HeaderSize = 32;
    constexpr qsizetype FrameHeaderSize = 24;
    constexpr qsizetype PageSize = 4096;
    constexpr quint32 MagicBigEndian = 0x377F0683;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return false;
    const QByteArray bytes = file.readAll();
    if (bytes.size() < HeaderSize + FrameHeaderSize + PageSize)
        return false;
    const bool big = BigEndian(bytes, 0) == MagicBigEndian;
    quint32 one = 0;
    quint32 two = 0;
    const auto add = [&](qsizetype at, qsizetype size) {
        for (const qsizetype end = at + size; at < end; at += 8) {
            const char *const words = bytes.constData() + at;
            one += (big ? qFromBigEndian<quint32>(words) : qFromLittleEndian<quint32>(words)) + two;
            two += (big ? qFromBigEndian<quint32>(words + 4) : qFromLittleEndian<quint32>(words + 4)) + one;
        }
    };
    add(0, 24);
    bool right = one == BigEndian(bytes, 24) && two == BigEndian(bytes, 28);
    // The frames that belong together have two numbers in common with the header.
    const QByteArray salts = right ? bytes.mid(16, 8) : bytes.mid(HeaderSize + 8, 8);
    int lost = 0;
    for (qsizetype at = HeaderSize; at + FrameHeaderSize + PageSize <= bytes.size();
         at += FrameHeaderSize + PageSize) {
        const bool ours = bytes.mid(at + 8, 8) == salts;
        if (right && !ours)
            break; // of an earlier time
        if (right) {
            add(at, 8);
            add(at + FrameHeaderSize, PageSize);
            right = one == BigEndian(bytes, at + 16) && two == BigEndian(bytes, at + 20);
        }
        const bool commits = BigEndian(bytes, at + 4) != 0;
        lost += !right && ours && commits ? 1 : 0;
    }
    return lost > 1;
}

OneRead ReadInPlace(const QString &path)
{
    OneRead read{JournalFile::Open(path), {}};
    read.contents = read.file->Read();
    return read;
}

/// Reads a copy, with what SQLite has put beside it.
std::optional<JournalContents> ReadCopy(const QString &path)
{
    const QTemporaryDir folder;
    const QString wal = QStringLiteral("-wal");
    const QString copy = folder.filePath(QFileInfo(path).fileName());
    const bool copied = folder.isValid() && QFile::copy(path, copy) &&
                        (!QFile::exists(path + wal) || QFile::copy(path + wal, copy + wal));
    if (!copied)
        return std::nullopt;
    for (const QString &name : {copy, copy + wal}) // copied with the file
        QFile::setPermissions(name, QFile::ReadOwner | QFile::WriteOwner);
    return ReadInPlace(copy).contents;
}

OneRead Read(const QString &path)
{
    std::exception_ptr trouble;
    OneRead read;
    try {
        read.file = JournalFile::Open(path);
        const bool cut = IsWalDamaged(path + QStringLiteral("-wal")); // which SQLite takes for its end
        read.contents = read.file->Read();
        if (cut && read.contents.empty)
            throw std::runtime_error("its -wal is damaged");
        read.contents.damaged = read.contents.damaged || cut;
        if (cut || read.contents.empty || read.file->CanWrite())
            return read;
    } catch (const JournalInUse &) {
        throw;
    } catch (const JournalTooNew &) {
        throw;
    } catch (const std::exception &) {
        trouble = std::current_exception();
    }
    read.file.reset();
    std::optional<JournalContents> contents = ReadCopy(path);
    if (contents && !(trouble && contents->empty))
        return {nullptr, std::move(*contents)};
    if (trouble)
        std::rethrow_exception(trouble);
    read = ReadInPlace(path); // there is no room for a copy
    read.file.reset();
    return read;
}

/// A program may be making it right now.
bool IsOld(const QString &path)
{
    constexpr qint64 HourSeconds = 3600;
    return QFileInfo(path).lastModified().secsTo(QDateTime::currentDateTime()) > HourSeconds;
}

bool IsAllSaved(const LeftSet &set)
{
    const JournalContents &contents = set.contents;
    return set.journal.file && !contents.damaged && contents.data.rows.Count() <= contents.about.savedRows;
}

/// Ends what the program that has ended could not: the set is saved.
void Forget(LeftSet *set)
{
    for (const QString &path : std::as_const(set->journal.paths)) {
        if (path != set->journal.file->Path())
            JournalFile::RemoveUnheld(path);
    }
    set->journal.file->Remove();
}

/// The better of two journals of a set is the one with more rows; both go when the set is saved.
void Add(LeftSet set, std::vector<LeftSet> *sets)
{
    const auto same = std::find_if(sets->begin(), sets->end(), [&](const LeftSet &one) {
        return one.journal.name.id == set.journal.name.id;
    });
    if (same == sets->end()) {
        sets->push_back(std::move(set));
        return;
    }
    const QStringList paths = same->journal.paths + set.journal.paths;
    const int generation = std::max(same->journal.name.generation, set.journal.name.generation);
    if (set.contents.data.rows.Count() >= same->contents.data.rows.Count())
        *same = std::move(set);
    same->journal.paths = paths;
    same->journal.name.generation = generation;
}

/// What a journal had beside it when a program ended in the middle of removing it.
void RemoveOrphans(const QString &folder)
{
    const QFileInfoList files = QDir(folder).entryInfoList({QStringLiteral("*-wal")}, QDir::Files);
    for (const QFileInfo &file : files) {
        const QString journal = file.filePath().chopped(4);
        if (JournalFile::NameOf(journal) && !QFile::exists(journal))
            QFile::remove(file.filePath());
    }
}

} // namespace

LeftSets TakeLeftJournals(const QString &folder)
{
    RemoveOrphans(folder);
    LeftSets left;
    QSet<QString> inUse;
    const QStringList paths = JournalFile::AllIn(folder);
    for (const QString &path : paths) {
        const JournalFile::Name name = *JournalFile::NameOf(path);
        const QString native = QDir::toNativeSeparators(path);
        try {
            OneRead read = Read(path);
            if (read.contents.empty) {
                if (read.file && IsOld(path))
                    read.file->Remove();
                continue;
            }
            if (read.contents.damaged) {
                left.complaints << Text(Str::JournalDamaged).arg(native);
                read.file.reset();
            }
            Add({{name, std::move(read.file), {path}}, std::move(read.contents)}, &left.sets);
        } catch (const JournalInUse &) {
            inUse << name.id;
        } catch (const JournalTooNew &) {
            left.complaints << Text(Str::JournalTooNew).arg(native);
        } catch (const std::exception &problem) {
            left.complaints
                << Text(Str::JournalUnreadable).arg(native, QString::fromLocal8Bit(problem.what()));
        }
    }
    // A program that runs has given up one file of a set and holds the other.
    std::erase_if(left.sets, [&](const LeftSet &set) { return inUse.contains(set.journal.name.id); });
    std::erase_if(left.sets, [](LeftSet &set) {
        const bool saved = IsAllSaved(set);
        if (saved)
            Forget(&set);
        return saved;
    });
    std::sort(left.sets.begin(), left.sets.end(), [](const LeftSet &one, const LeftSet &other) {
        const JournalAbout &first = one.contents.about;
        const JournalAbout &second = other.contents.about;
        return std::tie(first.begun, first.caption) < std::tie(second.begun, second.caption);
    });
    return left;
}

} // namespace px40
