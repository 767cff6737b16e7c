#pragma once

#include "document/datafile.h"

#include <QDateTime>
#include <QString>

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace SQLite {
class Database;
class Statement;
} // namespace SQLite

namespace px40 {

/// What a journal tells of its data set beside the rows.
struct JournalAbout
{
    DataFileHeader header;
    QString caption;
    QString fileName;           ///< the data file it was opened from or saved to; empty: none
    qint32 savedRows = 0;       ///< "saved up to row n": so many rows are in that file
    bool memoryNumbers = false; ///< the second column is headed as a memory number
    bool simulated = false;     ///< the instrument was a simulation
    QString device;             ///< on which it was taken, as its port has it
    QDateTime begun;            ///< when the first row came, with its time zone
};

/// A journal as it was read.
struct JournalContents
{
    JournalAbout about;
    DataFile data;        ///< with the header of `about`, and the readings counted
    bool damaged = false; ///< something could not be read; the rows are those whose checksum is right
    bool empty = false;   ///< nothing had been written to it when the program ended
};

/// The journal of one data set on the disk: an SQLite database of what it is, and of its rows in their order.
/// What `Commit` has returned from is on the disk, whatever ends the program or the computer.
///
/// Rows stand one by one, and when there are as many as make a pack, all in one place of the table, because a
/// million single ones take long to read. Each carries a CRC-32 that begins with that of the set's id and the
/// number of its first row, and so does what the journal tells of the set: a database finds most damage
/// itself, but not a flipped bit in a value.
///
/// The file is held by an exclusive lock as long as this lives: another process finds it in use. This process
/// must not open it a second time meanwhile, not even to look at it; closing that would drop the lock.
///
/// What goes wrong is thrown as std::exception with SQLite's reason. A file whose writing has failed may
/// hold less than the system says: it is to be given up, and its rows written to a new one.
class JournalFile
{
  public:
    static constexpr int Version = 1;

    /// Whose journal a file is, and which one of that set, from 1: each is a new file.
    struct Name
    {
        QString id; ///< 32 hexadecimal digits, another one for each data set
        int generation = 1;
    };

    static QString NewId();
    static QString PathOf(const QString &folder, const Name &name);
    /// By its name; nothing for a file that is no journal.
    static std::optional<Name> NameOf(const QString &path);
    /// The names of all journals in a folder.
    static QStringList AllIn(const QString &folder);

    /// Makes a new file, which is empty until the first `Commit`. `vfs`: SQLite's way to the disk, null for
    /// the usual one.
    static std::unique_ptr<JournalFile> Create(const QString &path, const char *vfs = nullptr);

    /// Opens one that was left. Throws `JournalInUse` where another program holds it.
    static std::unique_ptr<JournalFile> Open(const QString &path, const char *vfs = nullptr);

    ~JournalFile();
    JournalFile(const JournalFile &) = delete;
    JournalFile &operator=(const JournalFile &) = delete;

    const QString &Path() const { return path_; }

    /// Reads all of it. Throws where it holds nothing that can be read, with `JournalTooNew` where a newer
    /// version has written it. Afterwards rows are added behind those read.
    JournalContents Read();

    /// Whether the disk takes what is written to it, now.
    bool CanWrite();

    void Describe(const JournalAbout &about);
    /// `row`: as `RowStore::Raw` gives it.
    void Add(std::string_view row);
    /// Returns when the disk has what was described and added.
    void Commit();

    /// Removes the file. Where the folder does not allow that the file is emptied.
    void Remove();
    /// Removes one that nobody holds, and what SQLite has put beside it.
    static void RemoveUnheld(const QString &path);

  private:
    JournalFile(const QString &path, int flags, const char *vfs);

    static constexpr std::size_t RowsOfPack = 64;

    void Begin();
    void StorePack();
    void Insert(qint64 number, std::string_view rows);

    QString path_;
    quint32 seed_ = 0;              ///< the checksum of the id
    qint64 rows_ = 0;               ///< before the pack that is being filled
    std::string pack_;              ///< its rows
    std::vector<std::size_t> ends_; ///< of each of them
    std::size_t stored_ = 0;        ///< how many of them stand one by one
    bool writing_ = false;          ///< between the first change and `Commit`
    std::unique_ptr<SQLite::Database> database_;
    std::unique_ptr<SQLite::Statement> add_;
};

struct JournalInUse : std::exception
{
};
struct JournalTooNew : std::exception
{
};

/// What a database holds as the journal of the data set of that id: see `JournalFile::Read`.
JournalContents ReadJournal(SQLite::Database &database, const QString &id);

} // namespace px40
