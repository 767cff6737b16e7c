#include "forward/ziplayout.h"

#include "forward/bookfault.h"
#include "resources/strings.h"

#include <QByteArray>
#include <QtEndian>

#include <algorithm>
#include <vector>

namespace px40 {

namespace {

constexpr quint32 LocatorMark = 0x07064b50; // leads to the larger end that archives beyond 4 GB have as well
constexpr quint32 LargeEndMark = 0x06064b50;
constexpr quint32 EntryMark = 0x02014b50;
constexpr quint32 HeaderMark = 0x04034b50;
constexpr qint64 EndSize = 22;
constexpr qint64 LocatorSize = 20;
constexpr qint64 LargeEndSize = 56;
constexpr qint64 EntrySize = 46;
constexpr qint64 HeaderSize = 30;
constexpr qint64 TailSize = 128 * 1024;   // a comment of 64 kB, and as much behind the archive
constexpr quint32 Elsewhere = 0xFFFFFFFF; // a number that stands in the extra field, in 8 bytes
constexpr quint16 LargeNumbersField = 1;
constexpr quint16 SizesFollowFlag = 8;

/// An entry, first as the directory has it.
struct Entry
{
    QByteArray name;
    quint16 method = 0;
    quint32 crc = 0;
    quint64 packed = 0; ///< bytes in the archive
    quint64 begin = 0;  ///< of its header
};

/// Where the directory lies and how many entries it is said to have.
struct Directory
{
    quint64 begin = 0;
    quint64 size = 0;
    quint64 count = 0;
    quint64 countMask = 0xFFFF; ///< of the count, no more is kept
};

[[noreturn]] void Throw(const QString &what)
{
    throw BookFault{Text(Str::BookDamaged).arg(what)};
}

[[noreturn]] void Throw(Str what, const Entry &entry)
{
    constexpr qsizetype longest = 80;
    QString name = QString::fromUtf8(entry.name.left(longest));
    for (QChar &one : name)
        one = one.isPrint() ? one : QChar(u'?');
    Throw(Text(what).arg(name));
}

void ThrowUnless(bool good, Str what)
{
    if (!good)
        Throw(Text(what));
}

/// Bytes at a place, and the numbers in them, each where the format has it.
class Bytes
{
  public:
    Bytes(const ReadZipBytes &read, quint64 from, qint64 size) : bytes_(size, Qt::Uninitialized)
    {
        read(static_cast<qint64>(from), bytes_.data(), size);
    }
    template <typename Number>
    Number At(qsizetype at) const
    {
        return qFromLittleEndian<Number>(bytes_.constData() + at);
    }
    quint16 Word(qsizetype at) const { return At<quint16>(at); }
    quint32 Long(qsizetype at) const { return At<quint32>(at); }
    const QByteArray &All() const { return bytes_; }

  private:
    QByteArray bytes_;
};

/// Where the record that ends the archive begins: the last one that there is.
qint64 FindEnd(qint64 size, const ReadZipBytes &read)
{
    const qint64 length = std::min(size, TailSize);
    const qint64 from = size - length;
    const Bytes tail(read, static_cast<quint64>(from), length);
    const qsizetype at = length < EndSize ? -1 : tail.All().lastIndexOf("PK\5\6", length - EndSize);
    ThrowUnless(at >= 0 && at + EndSize + tail.Word(at + EndSize - 2) <= length, Str::BookEndMissing);
    return from + at;
}

Directory DirectoryOf(qint64 end, const ReadZipBytes &read)
{
    const Bytes last(read, static_cast<quint64>(end), EndSize);
    Directory directory;
    directory.begin = last.Long(16);
    directory.size = last.Long(12);
    directory.count = last.Word(10);
    auto limit = static_cast<quint64>(end);
    if (end >= LocatorSize) {
        const Bytes locator(read, static_cast<quint64>(end - LocatorSize), LocatorSize);
        if (locator.Long(0) == LocatorMark) {
            limit = locator.At<quint64>(8);
            ThrowUnless(limit <= static_cast<quint64>(end) &&
                            end - static_cast<qint64>(limit) >= LargeEndSize,
                        Str::BookDirectoryDamaged);
            const Bytes large(read, limit, LargeEndSize);
            ThrowUnless(large.Long(0) == LargeEndMark, Str::BookDirectoryDamaged);
            directory = {large.At<quint64>(48), large.At<quint64>(40), large.At<quint64>(32), ~quint64{}};
        }
    }
    ThrowUnless(directory.begin <= limit && directory.size <= limit - directory.begin,
                Str::BookDirectoryPastEnd);
    return directory;
}

/// Where the field with the large numbers stands among the extra ones, which have to be whole; -1: nowhere.
qsizetype LargeNumbersIn(const Bytes &extra, const Entry &entry)
{
    constexpr qsizetype head = 4;
    const qsizetype size = extra.All().size();
    qsizetype found = -1;
    qsizetype at = 0;
    while (at + head <= size) {
        found = extra.Word(at) == LargeNumbersField ? at : found;
        at += head + extra.Word(at + 2);
    }
    // A few zeros behind them make an entry fit.
    if (at > size || extra.All().mid(at) != QByteArray(size - at, '\0'))
        Throw(Str::BookPartHeader, entry);
    return found;
}

/// Takes the numbers that have no room in the entry itself.
void TakeLargeNumbers(const Bytes &extra, bool unpackedToo, Entry *entry)
{
    const qsizetype field = LargeNumbersIn(extra, *entry);
    if (field < 0)
        return;
    const qsizetype end = field + 4 + extra.Word(field + 2);
    qsizetype at = field + 4 + (unpackedToo ? 8 : 0);
    for (quint64 *const one : {&entry->packed, &entry->begin}) {
        if (*one != Elsewhere || at + 8 > end)
            continue;
        *one = extra.At<quint64>(at);
        at += 8;
    }
}

std::vector<Entry> EntriesOf(const Directory &directory, const ReadZipBytes &read)
{
    std::vector<Entry> entries;
    quint64 left = directory.size;
    while (left > 0) {
        const quint64 at = directory.begin + directory.size - left;
        ThrowUnless(left >= EntrySize, Str::BookDirectoryDamaged);
        const Bytes bytes(read, at, EntrySize);
        const quint64 whole = EntrySize + quint64{bytes.Word(28)} + bytes.Word(30) + bytes.Word(32);
        ThrowUnless(bytes.Long(0) == EntryMark && whole <= left, Str::BookDirectoryDamaged);
        Entry entry;
        entry.method = bytes.Word(10);
        entry.crc = bytes.Long(16);
        entry.packed = bytes.Long(20);
        entry.begin = bytes.Long(42);
        entry.name = Bytes(read, at + EntrySize, bytes.Word(28)).All();
        TakeLargeNumbers(Bytes(read, at + EntrySize + bytes.Word(28), bytes.Word(30)),
                         bytes.Long(24) == Elsewhere, &entry);
        entries.push_back(std::move(entry));
        left -= whole;
    }
    ThrowUnless((entries.size() & directory.countMask) == directory.count, Str::BookDirectoryDamaged);
    return entries;
}

/// Sees to it that the entry is where the directory says, as it says, and ends before `next` begins.
void CheckEntry(const Entry &entry, quint64 next, quint64 limit, const ReadZipBytes &read)
{
    if (entry.begin > limit || limit - entry.begin < HeaderSize)
        Throw(Str::BookPartPastEnd, entry);
    const Bytes header(read, entry.begin, HeaderSize);
    const quint64 before = HeaderSize + quint64{header.Word(26)} + header.Word(28);
    const bool sizesFollow = (header.Word(6) & SizesFollowFlag) != 0;
    const quint32 packed = header.Long(18);
    if (header.Long(0) != HeaderMark || header.Word(8) != entry.method ||
        header.Word(26) != entry.name.size() ||
        (!sizesFollow && (header.Long(14) != entry.crc || (packed != Elsewhere && packed != entry.packed))))
        Throw(Str::BookPartHeader, entry);
    if (before > limit - entry.begin || entry.packed > limit - entry.begin - before)
        Throw(Str::BookPartPastEnd, entry);
    if (Bytes(read, entry.begin + HeaderSize, entry.name.size()).All() != entry.name)
        Throw(Str::BookPartHeader, entry);
    LargeNumbersIn(Bytes(read, entry.begin + HeaderSize + header.Word(26), header.Word(28)), entry);
    if (entry.begin + before + entry.packed > next)
        Throw(Str::BookPartsOverlap, entry);
}

} // namespace

ZipLayout LookAtZip(qint64 size, const ReadZipBytes &read)
{
    const qint64 end = FindEnd(size, read);
    const Directory directory = DirectoryOf(end, read);
    std::vector<Entry> entries = EntriesOf(directory, read);
    std::sort(entries.begin(), entries.end(),
              [](const Entry &one, const Entry &other) { return one.begin < other.begin; });
    for (std::size_t i = 0; i < entries.size(); ++i) {
        const quint64 next = i + 1 < entries.size() ? entries[i + 1].begin : directory.begin;
        CheckEntry(entries[i], next, directory.begin, read);
    }
    const Bytes last(read, static_cast<quint64>(end), EndSize);
    return {end + EndSize + last.Word(EndSize - 2), static_cast<qint64>(entries.size())};
}

} // namespace px40
