#include "document/leftjournals.h"
#include "testing/datafiles.h"
#include "testing/diskshim.h"
#include "testing/files.h"
#include "testing/rows.h"
#include "testing/wait.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTimeZone>

#include <SQLiteCpp/Database.h>
#include <sqlite3.h>
#include <zlib.h>

#ifdef Q_OS_UNIX
#include <csignal>

#include <sys/wait.h>
#include <unistd.h>
#endif

using namespace px40;

namespace {

const QString Id = u"00112233445566778899aabbccddeeff"_qs;
constexpr int LargeText = 40'000; // some of these, and SQLite moves what it has beside the file into it

/// A row that tells its number, from 1.
QString TextOf(int number)
{
    return QString::number(number) + u".5"_qs;
}

void Append(RowStore *rows, int extra = 0)
{
    const QString text = TextOf(static_cast<int>(rows->Count()) + 1);
    rows->Append({u"12:34:56", text, u"VDC \u00B5", QString(extra, u'x'), u"\u03A9"});
}

JournalAbout About(const QString &caption = u"1New"_qs)
{
    JournalAbout about;
    about.header.kind = KindRealtime;
    about.header.interval = {u"00"_qs, u"00"_qs, u"00"_qs, u"05"_qs};
    about.caption = caption;
    about.begun = QDateTime::fromMSecsSinceEpoch(1'900'000'000'300);
    return about;
}

QString Path(const QTemporaryDir &folder, int generation = 1)
{
    return JournalFile::PathOf(folder.path(), {Id, generation});
}

/// Rows as they were; each another one's text, or not at its place, is "wrong".
QStringList TextsOf(const RowStore &rows)
{
    QStringList texts;
    for (qsizetype row = 0; row < rows.Count(); ++row)
        texts << rows.Cell(row, 1);
    return texts;
}

QStringList FirstTexts(qsizetype count)
{
    QStringList texts;
    for (int number = 1; number <= count; ++number)
        texts << TextOf(number);
    return texts;
}

/// A journal with so many rows on the disk, and still open.
std::unique_ptr<JournalFile> Make(const QString &path, int rows, int extra = 0)
{
    std::unique_ptr<JournalFile> file = JournalFile::Create(path);
    file->Describe(About());
    RowStore store;
    for (int i = 0; i < rows; ++i) {
        Append(&store, extra);
        file->Add(store.Raw(i));
    }
    file->Commit();
    return file;
}

/// What the next start finds: "CAPTION:ROWS" for each set, or "wrong"; and a complaint as "!".
QStringList Found(const QString &folder)
{
    QStringList found;
    const LeftSets left = TakeLeftJournals(folder);
    for (const LeftSet &set : left.sets) {
        const QStringList texts = TextsOf(set.contents.data.rows);
        const bool right = texts == FirstTexts(texts.size());
        found << (right ? set.contents.about.caption + u':' + QString::number(texts.size()) : u"wrong"_qs);
    }
    for (qsizetype i = 0; i < left.complaints.size(); ++i)
        found << u"!"_qs;
    return found;
}

/// A run's rows with their journal, on a disk that does as it is told.
struct JournalRig
{
    explicit JournalRig(const char *vfs)
        : keeper(
              folder.filePath(u"Unsaved"_qs), [] { return JournalOrigin(); }, vfs)
    {
        journal = std::make_unique<Journal>(
            keeper, [this] { return About(caption); }, rows);
    }

    /// Rows come; then the disk has done what it can.
    void Add(int count = 1, int extra = 0)
    {
        for (int i = 0; i < count; ++i) {
            Append(&rows, extra);
            journal->Add();
        }
        Settle();
    }
    void Settle()
    {
        Require(keeper.WaitForDisk(PatienceMs), u"The disk does not end."_qs);
        QCoreApplication::sendPostedEvents(&keeper);
    }
    /// As after the pause.
    void TryAgain()
    {
        Q_EMIT journal->findChild<Timer *>()->tick();
        Settle();
    }
    QString Unsaved() const { return keeper.Folder(); }
    QStringList Files() const { return QDir(Unsaved()).entryList({u"*.journal"_qs}, QDir::Files); }
    /// What the next start finds after a kill.
    QStringList FoundInCopy() const
    {
        const QTemporaryDir copy;
        for (const QString &name : QDir(Unsaved()).entryList(QDir::Files))
            QFile::copy(Unsaved() + u'/' + name, copy.filePath(name));
        return Found(copy.path());
    }

    QTemporaryDir folder;
    RowStore rows;
    QString caption = u"a"_qs;
    Journals keeper;
    std::unique_ptr<Journal> journal;
};

#ifdef Q_OS_UNIX
/// As long as it lives the process has no right beyond what a file's mode gives to anybody.
struct Nobody
{
    Nobody() { is = ::geteuid() != 0 || ::seteuid(65534) == 0; }
    ~Nobody()
    {
        if (::getuid() == 0 && ::seteuid(0) != 0)
            std::abort();
    }
    bool is = false;
};
#endif

using Spoil = std::function<void(DiskShim &, JournalRig &)>;

} // namespace

class JournalTest : public QObject
{
    Q_OBJECT

  private Q_SLOTS:
    void initTestCase() { qputenv("TZ", "Europe/Berlin"); }

    void ComesBackAsItWas_data()
    {
        AddRows<JournalAbout>({
            {"plain", About()},
            {"everything",
             {{KindRealtime,
               {4800, 3600, WindowShape::Maximised},
               {u"01"_qs, u"02"_qs, u"03"_qs, u"04"_qs},
               false,
               {u"00"_qs, u"00"_qs, u"59"_qs, u"00"_qs},
               {}},
              u"\u6E29\u5EA6 \u00B0C \"1\""_qs,
              u"/home/\u00FC/a.csv"_qs,
              1,
              true,
              true,
              u"/dev/serial/by-id/a"_qs,
              QDateTime(QDate(2026, 10, 25), QTime(2, 30, 0, 5), QTimeZone("America/New_York"))}},
            {"begin not known", {{KindMemory, {}, {}, true, {}, {}}, u"b"_qs, {}, 0, false, false, {}, {}}},
        });
    }

    void ComesBackAsItWas()
    {
        const auto about = ThisRow<JournalAbout>();
        const QTemporaryDir folder;
        auto file = Make(Path(folder), 2);
        file->Describe(about);
        file->Commit();
        file.reset();

        const LeftSets left = TakeLeftJournals(folder.path());
        QCOMPARE(left.complaints, QStringList());
        QCOMPARE(left.sets.size(), 1U);
        const JournalContents &contents = left.sets.front().contents;
        const JournalAbout &back = contents.about;
        DataFile first;
        first.header = about.header;
        DataFile second;
        second.header = back.header;
        QCOMPARE(Written(second), Written(first));
        QCOMPARE(std::tie(back.caption, back.fileName, back.savedRows, back.memoryNumbers, back.simulated,
                          back.device),
                 std::tie(about.caption, about.fileName, about.savedRows, about.memoryNumbers,
                          about.simulated, about.device));
        QCOMPARE(back.begun, about.begun);
        QCOMPARE(back.begun.timeZone().id(), about.begun.timeZone().id());
        QCOMPARE(TextsOf(contents.data.rows), FirstTexts(2));
        QCOMPARE(contents.data.rows.Cell(1, 4), u"\u03A9");
        QCOMPARE(contents.data.readings.series.Count(), 2);
    }

    /// The power goes before each write and each sync of a journal's life.
    void EachCutLeavesAWholeState()
    {
        const QTemporaryDir folder;
        DiskShim shim;
        QStringList before;
        QStringList after;
        quint32 cuts = 0;
        int operation = 0;
        int nearSync = 0;
        const auto look = [&] {
            const QTemporaryDir later;
            shim.AfterPowerCut(later.path(), ++cuts);
            const QStringList found = Found(later.path());
            if (found != before && found != after)
                QFAIL(qPrintable(u"cut %1: found %2 between %3 and %4"_qs.arg(
                    QString::number(cuts), found.join(u' '), before.join(u' '), after.join(u' '))));
        };
        shim.onOperation = [&](DiskShim::Operation now) {
            nearSync = now == DiskShim::Operation::Sync ? 3 : nearSync - 1;
            if (++operation % 29 == 0 || nearSync > 0 || operation < 150)
                look();
        };
        RowStore rows;
        auto file = JournalFile::Create(Path(folder), DiskShim::Vfs);
        const auto commit = [&](int count, int extra, const char *caption) {
            after = QStringList(QString::fromLatin1(caption) + u':' + QString::number(rows.Count() + count));
            file->Describe(About(QString::fromLatin1(caption)));
            for (int i = 0; i < count; ++i) {
                Append(&rows, extra);
                file->Add(rows.Raw(rows.Count() - 1));
            }
            file->Commit();
            before = after;
            look();
        };
        commit(1, 0, "a");
        for (int i = 0; i < 3; ++i)
            commit(2, 0, "a");
        commit(0, 0, "b");
        for (int i = 0; i < 130; ++i) // its -wal is moved into it once, and begun again
            commit(i % 3, LargeText, "b");
        QVERIFY(QFileInfo(Path(folder)).size() > 3'000'000);
        QVERIFY(cuts > 500);
        after.clear();
        shim.onOperation = {};
        file->Remove();
        for (int i = 0; i < 20; ++i)
            look();
    }

    void TroubleIsToldAndMended_data()
    {
        AddRows<Spoil>({
            {"full", [](DiskShim &shim, JournalRig &) { shim.FailWrites(SQLITE_FULL); }},
            {"write error", [](DiskShim &shim, JournalRig &) { shim.FailWrites(SQLITE_IOERR_WRITE); }},
            {"sync error", [](DiskShim &shim, JournalRig &) { shim.FailSyncs(2); }},
            {"folder removed",
             [](DiskShim &, JournalRig &rig) {
                 QDir(rig.Unsaved()).removeRecursively();
                 Put(rig.Unsaved(), "in the way"); // until the next attempt has failed
             }},
        });
    }

    /// The rows are not protected, then in a new file of the same set; those that were on the disk before
    /// stay there all the time, wherever the power goes.
    void TroubleIsToldAndMended()
    {
        const auto spoil = ThisRow<Spoil>();
        const bool folderStays = QLatin1StringView(QTest::currentDataTag()) != u"folder removed"_qs;
        if (!folderStays && !IsUnix)
            QSKIP("A folder with open files stays here.");
        DiskShim shim;
        JournalRig rig(DiskShim::Vfs);
        rig.Add(3);
        QVERIFY(rig.journal->Protects());
        quint32 cuts = 0;
        QStringList wrong;
        shim.onOperation = [&](DiskShim::Operation) {
            const QTemporaryDir later;
            shim.AfterPowerCut(later.path(), ++cuts);
            const QString found = Found(later.path()).join(u' ');
            const int rows = found.startsWith(u"a:"_qs) ? found.mid(2).toInt() : 0;
            if (folderStays && rows < 3)
                wrong << found;
        };

        spoil(shim, rig);
        rig.Add();
        QVERIFY(!rig.journal->Protects());
        QVERIFY(!rig.journal->Reason().isEmpty());
        rig.Add();
        rig.TryAgain();
        QVERIFY(!rig.journal->Protects());
        shim.FailWrites(0);
        QFile::remove(rig.Unsaved()); // what is in the way
        rig.Add();
        QVERIFY(!rig.journal->Protects()); // whatever the disk says now: something is missing before it
        rig.TryAgain();
        QVERIFY(rig.journal->Protects());
        QCOMPARE(rig.Files().size(), 1);
        rig.Add();
        QVERIFY2(wrong.isEmpty(), qPrintable(wrong.join(u'\n')));
        QCOMPARE(rig.FoundInCopy(), QStringList(u"a:7"_qs));
        const QTemporaryDir later;
        shim.AfterPowerCut(later.path(), 1);
        QCOMPARE(Found(later.path()), QStringList(u"a:7"_qs));
        shim.onOperation = {};
        rig.journal->Remove();
        rig.Settle();
        QCOMPARE(QDir(rig.Unsaved()).entryList(QDir::Files), QStringList());
    }

    void EachSetOnce()
    {
        // The old file, which could not be written any more, and the new one, not all written as yet.
        const QTemporaryDir folder;
        Make(Path(folder, 1), 5);
        Make(Path(folder, 2), 3);
        const LeftSets left = TakeLeftJournals(folder.path());
        QCOMPARE(left.sets.size(), 1U);
        QCOMPARE(TextsOf(left.sets.front().contents.data.rows), FirstTexts(5));
        QCOMPARE(left.sets.front().journal.name.generation, 2);
        QCOMPARE(left.sets.front().journal.paths.size(), 2);
    }

    void InUseIsPassedOver()
    {
#ifdef Q_OS_UNIX
        const QTemporaryDir folder;
        Make(Path(folder, 1), 3);
        std::array<int, 2> made = {};
        QVERIFY(::pipe(made.data()) == 0);
        const pid_t other = ::fork();
        if (other == 0) {
            const auto file = Make(Path(folder, 2), 4);
            static_cast<void>(::write(made[1], "x", 1));
            ::pause();
            ::_exit(0);
        }
        char byte = 0;
        QVERIFY(::read(made[0], &byte, 1) == 1);
        const QByteArray before = Contents(Path(folder, 2));
        QCOMPARE(Found(folder.path()), QStringList());
        QCOMPARE(Contents(Path(folder, 2)), before);
        ::kill(other, SIGKILL);
        ::waitpid(other, nullptr, 0);
        QCOMPARE(Found(folder.path()), QStringList(u"1New:4"_qs));
#else
        QSKIP("There is no fork here.");
#endif
    }

    /// A place that cannot be written: it is read, and left as it was.
    void ReadOnlyIsReadFromACopy()
    {
#ifdef Q_OS_UNIX
        const QTemporaryDir folder;
        Make(Path(folder), 4);
        const QFile::Permissions reading = QFile::ReadOwner | QFile::ReadGroup | QFile::ReadOther;
        const QFile::Permissions entering = QFile::ExeOwner | QFile::ExeGroup | QFile::ExeOther;
        QFile::setPermissions(Path(folder), reading);
        QFile::setPermissions(Path(folder) + u"-wal"_qs, reading);
        QFile::setPermissions(folder.path(), reading | entering);
        const QByteArray before = Contents(Path(folder)) + Contents(Path(folder) + u"-wal"_qs);
        {
            const Nobody nobody;
            QVERIFY(nobody.is);
            const LeftSets left = TakeLeftJournals(folder.path());
            QCOMPARE(left.complaints, QStringList());
            QCOMPARE(left.sets.size(), 1U);
            QCOMPARE(TextsOf(left.sets.front().contents.data.rows), FirstTexts(4));
            QVERIFY(!left.sets.front().journal.file);
            QFile::setPermissions(Path(folder), {});
        }
        QCOMPARE(Contents(Path(folder)) + Contents(Path(folder) + u"-wal"_qs), before);
        QFile::setPermissions(folder.path(), reading | entering | QFile::WriteOwner);
        QCOMPARE(QDir(folder.path()).entryList(QDir::Files).size(), 2);
#else
        QSKIP("A folder has no mode here.");
#endif
    }

    void WhatCannotBeReadIsNamed_data()
    {
        using Case = std::pair<std::function<void(const QString &)>, QString>; // what is done, what is said
        const auto sql = [](const char *statement) {
            return [statement](const QString &path) {
                SQLite::Database(path.toStdString(), SQLite::OPEN_READWRITE).exec(statement);
            };
        };
        const auto put = [](const QByteArray &bytes) {
            return [bytes](const QString &path) {
                QFile::remove(path + u"-wal"_qs);
                Put(path, bytes);
            };
        };
        AddRows<Case>({
            {"newer version",
             {[](const QString &path) {
                  SQLite::Database base(path.toStdString(), SQLite::OPEN_READWRITE);
                  const QByteArray id = Id.toLatin1();
                  const qint32 version = JournalFile::Version + 1;
                  auto sum = ::crc32(0, reinterpret_cast<const Bytef *>(id.data()), 32);
                  sum = ::crc32(sum, reinterpret_cast<const Bytef *>(&version), sizeof version);
                  sum = ::crc32(sum, reinterpret_cast<const Bytef *>("{}"), 2);
                  base.exec("UPDATE about SET version=2, description=x'7b7d', sum=" +
                            std::to_string(static_cast<qint32>(sum)));
              },
              u"a newer version"_qs}},
            {"not a database", {put(QByteArray(5000, 'x')), u"cannot be read"_qs}},
            {"no table", {sql("DROP TABLE row"), u"cannot be read"_qs}},
            {"no description", {sql("DELETE FROM about"), u"damaged"_qs}},
            {"a row missing", {sql("DELETE FROM row WHERE n=2"), u"damaged"_qs}},
            {"empty", {put({}), {}}},
            {"of another set",
             {[](const QString &path) { QFile::rename(path, QString(path).replace(u"00"_qs, u"77"_qs)); },
              u"cannot be read"_qs}},
        });
    }

    void WhatCannotBeReadIsNamed()
    {
        const auto [spoil, said] = ThisRow<std::pair<std::function<void(const QString &)>, QString>>();
        const QTemporaryDir folder;
        Make(Path(folder), 4);
        SQLite::Database(Path(folder).toStdString(), SQLite::OPEN_READWRITE)
            .exec("PRAGMA wal_checkpoint(TRUNCATE)");
        spoil(Path(folder));
        const LeftSets left = TakeLeftJournals(folder.path());
        QCOMPARE(left.complaints.size(), said.isEmpty() ? 0 : 1);
        QVERIFY2(left.complaints.join(u' ').contains(said), qPrintable(left.complaints.join(u' ')));
        QVERIFY(!QDir(folder.path()).isEmpty());
    }

    void EmptyGoesWhenItIsOld()
    {
        const QTemporaryDir folder;
        const auto found = [&](int secondsAgo) {
            QFile file(Path(folder));
            Require(file.open(QIODevice::WriteOnly), u"The file cannot be made."_qs);
            file.setFileTime(QDateTime::currentDateTime().addSecs(-secondsAgo), QFile::FileModificationTime);
            file.close();
            Put(Path(folder, 2) + u"-wal"_qs, "left by a removal");
            Require(Found(folder.path()).isEmpty(), u"Something was found."_qs);
            return QDir(folder.path()).entryList(QDir::Files).size();
        };
        QCOMPARE(found(60), 1); // a program may be making it
        QCOMPARE(found(4000), 0);
    }

    void DamageShowsNoWrongRow_data()
    {
        AddRows<bool>({{"all in the file", true}, {"most beside it", false}});
    }

    void DamageShowsNoWrongRow()
    {
        const bool inFile = ThisRow<bool>();
        constexpr int Rows = 400;
        const QTemporaryDir folder;
        Make(Path(folder), Rows, 60);
        if (inFile)
            SQLite::Database(Path(folder).toStdString(), SQLite::OPEN_READWRITE)
                .exec("PRAGMA journal_mode=DELETE");
        const QString victim = inFile ? Path(folder) : Path(folder) + u"-wal"_qs;
        const QByteArray file = Contents(Path(folder));
        const QByteArray beside = Contents(Path(folder) + u"-wal"_qs);
        const QByteArray &whole = inFile ? file : beside;
        QVERIFY(whole.size() > 30'000);
        const RowStore rows = [] {
            RowStore made;
            for (int i = 0; i < Rows; ++i)
                Append(&made, 60);
            return made;
        }();
        std::minstd_rand random(7);
        int silent = 0;
        int most = 0;
        for (int i = 0; i < 1100; ++i) {
            QByteArray spoilt = whole;
            const qsizetype place = static_cast<qsizetype>(random()) % whole.size();
            if (i < 100)
                spoilt.truncate(place);
            else
                spoilt[place] = static_cast<char>(spoilt[place] ^ (1 << random() % 8));
            Put(Path(folder), file);
            Put(Path(folder) + u"-wal"_qs, beside);
            Put(victim, spoilt);
            const LeftSets left = TakeLeftJournals(folder.path());
            qsizetype shown = 0;
            for (const LeftSet &set : left.sets) {
                const RowStore &found = set.contents.data.rows;
                shown += found.Count();
                int last = 0;
                for (qsizetype row = 0; row < found.Count(); ++row) {
                    const int number = static_cast<int>(found.Cell(row, 1).toDouble());
                    QVERIFY2(number > last && number <= Rows && found.Raw(row) == rows.Raw(number - 1),
                             qPrintable(u"damage %1 at %2"_qs.arg(i).arg(place)));
                    last = number;
                }
            }
            if (i >= 100 && left.complaints.isEmpty() && shown < Rows)
                ++silent;
            if (i >= 100 && shown > Rows * 9 / 10 - 50)
                ++most;
        }
        if (inFile) {
            QCOMPARE(silent, 0); // what is missing is told
            QVERIFY2(most > 850, qPrintable(QString::number(most)));
        }
    }
};

QTEST_GUILESS_MAIN(JournalTest)
#include "journal_test.moc"
