#include "document/journal.h"

#include "platform/filenames.h"

#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTimeZone>
#include <QUuid>

#include <SQLiteCpp/Database.h>
#include <SQLiteCpp/Statement.h>
#include <SQLiteCpp/Transaction.h>
#include <sqlite3.h>
#include <zlib.h>

#include <algorithm>
#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

namespace px40 {

namespace {

using namespace Qt::StringLiterals;

constexpr int ApplicationId = 0x50583430; // tells what the database is for
const QString Suffix = u".journal"_s;
#ifdef Q_OS_WIN
constexpr const char *UsualVfs = "win32-longpath";
#else
constexpr const char *UsualVfs = "";
#endif

quint32 Sum(quint32 seed, const void *bytes, std::size_t size)
{
    return static_cast<quint32>(crc32_z(seed, static_cast<const unsigned char *>(bytes), size));
}

quint32 Sum(quint32 seed, std::string_view bytes)
{
    return Sum(seed, bytes.data(), bytes.size());
}

quint32 SeedOf(const QString &id)
{
    return Sum(0, id.toLatin1().toStdString());
}

qint32 AboutSum(quint32 seed, qint32 version, std::string_view description)
{
    return static_cast<qint32>(Sum(Sum(seed, &version, sizeof version), description));
}

/// SQLite keeps a signed number of 32 bits in less space.
qint32 RowSum(quint32 seed, qint64 number, std::string_view row)
{
    return static_cast<qint32>(Sum(Sum(seed, &number, sizeof number), row));
}

std::string_view Blob(const SQLite::Column &column)
{
    const auto *const bytes = static_cast<const char *>(column.getBlob());
    return {bytes ? bytes : "", bytes ? static_cast<std::size_t>(column.getBytes()) : 0};
}

/// The header is kept as the lines with which a data file begins.
QByteArray Encoded(const JournalAbout &about)
{
    QByteArray header;
    QBuffer lines(&header);
    lines.open(QIODevice::WriteOnly);
    const Result<> written = WriteHeader(about.header, lines);
    QJsonObject object;
    if (written)
        object[u"header"_s] = QString::fromLatin1(header);
    object[u"caption"_s] = about.caption;
    object[u"file"_s] = about.fileName;
    object[u"savedRows"_s] = about.savedRows;
    object[u"memoryNumbers"_s] = about.memoryNumbers;
    object[u"simulated"_s] = about.simulated;
    object[u"device"_s] = about.device;
    object[u"begun"_s] = about.begun.toOffsetFromUtc(about.begun.offsetFromUtc()).toString(Qt::ISODateWithMs);
    object[u"zone"_s] = QString::fromLatin1(about.begun.timeZone().id());
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

/// False where it is not what `Encoded` gives.
bool Decode(const QByteArray &bytes, JournalAbout *about)
{
    const QJsonObject object = QJsonDocument::fromJson(bytes).object();
    QByteArray header = object[u"header"_s].toString().toLatin1();
    QBuffer lines(&header);
    lines.open(QIODevice::ReadOnly);
    const Result<DataFile> file = ReadDataFile(lines);
    if (!file)
        return false;
    about->header = file->header;
    about->caption = object[u"caption"_s].toString();
    about->fileName = object[u"file"_s].toString();
    about->savedRows = object[u"savedRows"_s].toInt();
    about->memoryNumbers = object[u"memoryNumbers"_s].toBool();
    about->simulated = object[u"simulated"_s].toBool();
    about->device = object[u"device"_s].toString();
    about->begun = QDateTime::fromString(object[u"begun"_s].toString(), Qt::ISODateWithMs);
    const QTimeZone zone(object[u"zone"_s].toString().toLatin1());
    if (zone.isValid() && about->begun.isValid())
        about->begun = about->begun.toTimeZone(zone);
    return true;
}

/// What stands for a description that cannot be read.
JournalAbout Unknown(const QString &id)
{
    JournalAbout about;
    about.header.kind = KindRealtime;
    about.header.interval = {u"00"_s, u"00"_s, u"00"_s, u"05"_s};
    about.caption = id;
    return about;
}

void ReadAbout(SQLite::Database &database, quint32 seed, JournalContents *contents)
{
    try {
        SQLite::Statement select(database, "SELECT version, description, sum FROM about");
        if (!select.executeStep())
            return;
        const std::string_view description = Blob(select.getColumn(1));
        const int version = select.getColumn(0).getInt();
        if (AboutSum(seed, version, description) != select.getColumn(2).getInt())
            return;
        if (version > JournalFile::Version)
            throw JournalTooNew();
        const auto bytes =
            QByteArray::fromRawData(description.data(), static_cast<qsizetype>(description.size()));
        contents->damaged = !Decode(bytes, &contents->about);
    } catch (const SQLite::Exception &) {
        return;
    }
}

/// Goes through the rows until one cannot be reached, and hands on those whose checksum is right. False where
/// something was wrong.
template <typename Take>
bool ReadRows(SQLite::Database &database, const char *query, quint32 seed, const Take &take)
{
    // SQLite itself: a million rows through objects for each column take twice as long.
    sqlite3_stmt *prepared = nullptr;
    bool whole = sqlite3_prepare_v2(database.getHandle(), query, -1, &prepared, nullptr) == SQLITE_OK;
    const std::unique_ptr<sqlite3_stmt, int (*)(sqlite3_stmt *)> select(prepared, sqlite3_finalize);
    int code = SQLITE_DONE;
    while (select && (code = sqlite3_step(select.get())) == SQLITE_ROW) {
        const qint64 number = sqlite3_column_int64(select.get(), 0);
        const auto *const bytes = static_cast<const char *>(sqlite3_column_blob(select.get(), 1));
        const int size = bytes ? sqlite3_column_bytes(select.get(), 1) : 0;
        const std::string_view row(bytes ? bytes : "", static_cast<std::size_t>(size));
        if (RowSum(seed, number, row) != sqlite3_column_int(select.get(), 2))
            whole = false;
        else if (!take(number, row))
            return whole;
    }
    return whole && code == SQLITE_DONE;
}

/// Returns how many rows it was; none is appended where it is something else.
qsizetype Append(std::string_view rows, DataFile *data)
{
    const qsizetype count = data->rows.AppendRaw(rows);
    for (qsizetype row = data->rows.Count() - count; row < data->rows.Count(); ++row) {
        const std::string_view reading = data->rows.Utf8(row, 1);
        const bool isAscii =
            std::all_of(reading.begin(), reading.end(), [](char c) { return (c & 0x80) == 0; });
        data->readings.Count(ReadingOf(
            isAscii ? reading
                    : QString::fromUtf8(reading.data(), std::ssize(reading)).toLatin1().toStdString()));
    }
    return count;
}

std::string NameForSqlite(const QString &path)
{
#ifdef Q_OS_WIN
    return NativeName(QFileInfo(path).absoluteFilePath()).toStdString(); // UTF-8
#else
    return QFile::encodeName(path).toStdString();
#endif
}

bool HasTables(SQLite::Database &database)
{
    SQLite::Statement count(database, "SELECT count(*) FROM sqlite_master WHERE name IN ('about', 'row')");
    return count.executeStep() && count.getColumn(0).getInt() > 0;
}

} // namespace

JournalContents ReadJournal(SQLite::Database &database, const QString &id)
{
    JournalContents contents;
    contents.empty = !HasTables(database);
    if (contents.empty)
        return contents;
    const quint32 seed = SeedOf(id);
    contents.about = Unknown(id);
    contents.damaged = true;
    ReadAbout(database, seed, &contents);

    DataFile &data = contents.data;
    qint64 last = 0;
    const auto append = [&](qint64 number, std::string_view rows) {
        // A damaged table can lead to the same rows twice.
        const qsizetype taken = number > last ? Append(rows, &data) : 0;
        contents.damaged = contents.damaged || taken == 0 || number != last + 1;
        last = std::max(last, number + taken - 1);
        return true;
    };
    if (!ReadRows(database, "SELECT n, texts, sum FROM row ORDER BY n", seed, append)) {
        // Something in the middle cannot be reached; what lies behind it can be from the other end.
        contents.damaged = true;
        std::vector<std::string> behind;
        qint64 first = std::numeric_limits<qint64>::max();
        const auto keep = [&](qint64 number, std::string_view row) {
            if (number > last && number < first) {
                behind.emplace_back(row);
                first = number;
            }
            return number > last;
        };
        ReadRows(database, "SELECT n, texts, sum FROM row ORDER BY n DESC", seed, keep);
        std::for_each(behind.rbegin(), behind.rend(), [&](const std::string &row) { Append(row, &data); });
    }
    if (contents.damaged && data.rows.Count() == 0)
        throw std::runtime_error("database disk image is malformed");
    data.header = contents.about.header;
    data.tableRows = std::max(1, static_cast<int>(data.rows.Count()));
    return contents;
}

QString JournalFile::NewId()
{
    return QUuid::createUuid().toString(QUuid::Id128);
}

QString JournalFile::PathOf(const QString &folder, const Name &name)
{
    return folder + u'/' + name.id + u'-' + QString::number(name.generation) + Suffix;
}

std::optional<JournalFile::Name> JournalFile::NameOf(const QString &path)
{
    const QFileInfo file(path);
    const QString base = file.completeBaseName();
    const Name name = {base.section(u'-', 0, 0), base.section(u'-', 1).toInt()};
    if (name.id.size() != 32 || name.generation < 1 || u'.' + file.suffix() != Suffix)
        return std::nullopt;
    return name;
}

QStringList JournalFile::AllIn(const QString &folder)
{
    QStringList paths;
    const QFileInfoList files = QDir(folder).entryInfoList({u'*' + Suffix}, QDir::Files, QDir::Name);
    for (const QFileInfo &file : files) {
        if (NameOf(file.filePath()))
            paths << file.filePath();
    }
    return paths;
}

JournalFile::JournalFile(const QString &path, int flags, const char *vfs)
    : path_(path), seed_(SeedOf(NameOf(path).value_or(Name()).id)),
      database_(std::make_unique<SQLite::Database>(NameForSqlite(path), flags | SQLITE_OPEN_NOMUTEX, 0,
                                                   vfs ? vfs : UsualVfs))
{
    // What is in the database is not trusted, and nothing is tidied up at the end: it would only cost time.
    sqlite3_db_config(database_->getHandle(), SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
    database_->exec("PRAGMA trusted_schema=OFF; PRAGMA cell_size_check=ON; PRAGMA locking_mode=EXCLUSIVE");
}

JournalFile::~JournalFile() = default;

std::unique_ptr<JournalFile> JournalFile::Create(const QString &path, const char *vfs)
{
    std::unique_ptr<JournalFile> file(
        new JournalFile(path, SQLite::OPEN_READWRITE | SQLite::OPEN_CREATE, vfs));
    try {
        SQLite::Database &database = *file->database_;
        database.exec("PRAGMA journal_mode=WAL; PRAGMA synchronous=FULL");
        file->Begin();
        database.exec("PRAGMA application_id=" + std::to_string(ApplicationId));
        database.exec(
            "CREATE TABLE about(one INTEGER PRIMARY KEY, version INTEGER, description BLOB, sum INTEGER)");
        database.exec("CREATE TABLE row(n INTEGER PRIMARY KEY, texts BLOB, sum INTEGER)");
    } catch (...) {
        file->Remove(); // or each attempt on a full disk would leave one
        throw;
    }
    return file;
}

std::unique_ptr<JournalFile> JournalFile::Open(const QString &path, const char *vfs)
{
    try {
        std::unique_ptr<JournalFile> file(new JournalFile(path, SQLite::OPEN_READWRITE, vfs));
        file->database_->exec("PRAGMA synchronous=FULL");
        HasTables(*file->database_); // takes the lock
        return file;
    } catch (const SQLite::Exception &problem) {
        if (problem.getErrorCode() == SQLITE_BUSY)
            throw JournalInUse();
        throw;
    }
}

JournalContents JournalFile::Read()
{
    JournalContents contents = ReadJournal(*database_, NameOf(path_).value_or(Name()).id);
    rows_ = contents.data.rows.Count();
    return contents;
}

bool JournalFile::CanWrite()
{
    try {
        SQLite::Transaction trial(*database_);
        database_->exec("UPDATE about SET version=version");
        trial.commit();
        return true;
    } catch (const SQLite::Exception &) {
        return false;
    }
}

void JournalFile::Begin()
{
    if (writing_)
        return;
    database_->exec("BEGIN IMMEDIATE");
    writing_ = true;
}

void JournalFile::Describe(const JournalAbout &about)
{
    Begin();
    const QByteArray bytes = Encoded(about);
    SQLite::Statement insert(*database_, "INSERT OR REPLACE INTO about VALUES(1, ?, ?, ?)");
    insert.bind(1, Version);
    insert.bindNoCopy(2, bytes.constData(), static_cast<int>(bytes.size()));
    insert.bind(3, AboutSum(seed_, Version, {bytes.constData(), static_cast<std::size_t>(bytes.size())}));
    insert.exec();
}

void JournalFile::Add(std::string_view row)
{
    Begin();
    pack_ += row;
    ends_.push_back(pack_.size());
    if (ends_.size() == RowsOfPack)
        StorePack();
}

void JournalFile::StorePack()
{
    if (stored_ > 0)
        database_->exec("DELETE FROM row WHERE n > " + std::to_string(rows_));
    Insert(rows_ + 1, pack_);
    rows_ += std::ssize(ends_);
    stored_ = 0;
    pack_.clear();
    ends_.clear();
}

void JournalFile::Insert(qint64 number, std::string_view rows)
{
    if (!add_)
        add_ = std::make_unique<SQLite::Statement>(*database_, "INSERT INTO row VALUES(?, ?, ?)");
    add_->bind(1, static_cast<int64_t>(number));
    add_->bindNoCopy(2, rows.data(), static_cast<int>(rows.size()));
    add_->bind(3, RowSum(seed_, number, rows));
    add_->exec();
    add_->reset();
}

void JournalFile::Commit()
{
    if (!writing_)
        return;
    for (; stored_ < ends_.size(); ++stored_) {
        const std::size_t begin = stored_ == 0 ? 0 : ends_[stored_ - 1];
        Insert(rows_ + 1 + static_cast<qint64>(stored_),
               std::string_view(pack_).substr(begin, ends_[stored_] - begin));
    }
    database_->exec("COMMIT");
    writing_ = false;
    int moved = 0;
    sqlite3_file_control(database_->getHandle(), "main", SQLITE_FCNTL_HAS_MOVED, &moved);
    if (moved != 0) // what is written to a file that was deleted succeeds
        throw std::runtime_error("the file was deleted or moved");
}

/// The database itself goes first, and while it is locked: without it nothing is taken for a journal.
void JournalFile::Remove()
{
    const bool removed = QFile::remove(path_);
    add_.reset();
    if (!removed && QFile::exists(path_) && !writing_)
        database_->tryExec("BEGIN IMMEDIATE; DROP TABLE about; DROP TABLE row; COMMIT");
    database_.reset();
    RemoveUnheld(path_);
}

void JournalFile::RemoveUnheld(const QString &path)
{
    for (const QString &beside : {u""_s, u"-wal"_s, u"-journal"_s}) {
        if (!beside.isEmpty() && QFile::exists(path))
            return; // it belongs to it
        QFile::remove(path + beside);
    }
}

} // namespace px40
