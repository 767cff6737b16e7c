// Journals: whatever the database holds, it is read or refused, and what is read is whole rows. An input is a
// database; or, after an exclamation mark, lines, of which the first is what the journal tells of its set and
// the others are its rows, each with the checksum that it should have.

#include "document/journal.h"
#include "fuzz/check.h"
#include "testing/datafiles.h"

#include <QList>

#include <SQLiteCpp/Database.h>
#include <SQLiteCpp/Statement.h>
#include <sqlite3.h>
#include <zlib.h>

#include <cstring>

namespace px40 {

namespace {

const QString Id = QStringLiteral("00112233445566778899aabbccddeeff");

template <typename Number>
qint32 SumOf(Number number, const QByteArray &bytes)
{
    const QByteArray id = Id.toLatin1();
    auto sum = ::crc32_z(0, reinterpret_cast<const Bytef *>(id.data()), static_cast<z_size_t>(id.size()));
    sum = ::crc32_z(sum, reinterpret_cast<const Bytef *>(&number), sizeof number);
    sum = ::crc32_z(sum, reinterpret_cast<const Bytef *>(bytes.data()), static_cast<z_size_t>(bytes.size()));
    return static_cast<qint32>(sum);
}

void Insert(SQLite::Database &database, const char *statement, qint64 number, const QByteArray &bytes,
            qint32 sum)
{
    SQLite::Statement insert(database, statement);
    insert.bind(1, static_cast<int64_t>(number));
    insert.bind(2, bytes.constData(), static_cast<int>(bytes.size()));
    insert.bind(3, sum);
    insert.exec();
}

void Fill(SQLite::Database &database, const QByteArray &input)
{
    const QList<QByteArray> lines = input.split('\n');
    database.exec(
        "CREATE TABLE about(one INTEGER PRIMARY KEY, version INTEGER, description BLOB, sum INTEGER)");
    database.exec("CREATE TABLE row(n INTEGER PRIMARY KEY, texts BLOB, sum INTEGER)");
    Insert(database, "INSERT INTO about VALUES(1, ?, ?, ?)", JournalFile::Version, lines.front(),
           SumOf(qint32{JournalFile::Version}, lines.front()));
    for (qsizetype n = 1; n < lines.size(); ++n)
        Insert(database, "INSERT INTO row VALUES(?, ?, ?)", n, lines[n], SumOf(qint64{n}, lines[n]));
}

void Load(SQLite::Database &database, QByteArray input)
{
    for (const qsizetype format : {18, 19}) { // one in memory has nothing beside it
        if (input.size() > format)
            input[format] = 1;
    }
    const auto size = static_cast<sqlite3_uint64>(input.size());
    auto *const bytes = static_cast<unsigned char *>(sqlite3_malloc64(size + 1));
    std::memcpy(bytes, input.constData(), size);
    sqlite3_deserialize(database.getHandle(), "main", bytes, input.size(), input.size(),
                        SQLITE_DESERIALIZE_FREEONCLOSE);
}

/// A database that somebody has made for it could keep a reader busy for ever.
int Enough(void *left)
{
    return --*static_cast<int *>(left) < 0;
}

} // namespace

void CheckInput(const QByteArray &input)
{
    try {
        SQLite::Database database(":memory:", SQLite::OPEN_READWRITE | SQLite::OPEN_CREATE);
        database.exec("PRAGMA trusted_schema=OFF; PRAGMA cell_size_check=ON");
        int left = 1000;
        sqlite3_progress_handler(database.getHandle(), 1000, Enough, &left);
        if (input.startsWith('!'))
            Fill(database, input.mid(1));
        else
            Load(database, input);
        const JournalContents contents = ReadJournal(database, Id);
        const DataFile &data = contents.data;
        PX40_CHECK(data.rows.Count() == data.readings.series.Count() && data.tableRows >= data.rows.Count());
        const Result<DataFile> again = Read(Written(data));
        PX40_CHECK(again.has_value() || contents.empty);
    } catch (const JournalTooNew &) {
        return;
    } catch (const std::exception &problem) {
        PX40_CHECK(*problem.what() != '\0');
    }
}

} // namespace px40
