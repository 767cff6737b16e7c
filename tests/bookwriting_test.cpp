// Workbooks as other programs pack them, and such as a disk or a cable has damaged. How one takes its place:
// over which file, in which folder, and what lies beside it.

#include "testing/books.h"
#include "testing/rows.h"
#include "testing/wait.h"

#include <QDateTime>
#include <QProcess>
#include <QtEndian>

#include <thread>

#ifdef Q_OS_UNIX
#include <sys/inotify.h>
#include <unistd.h>
#endif

using namespace px40;

namespace {

const QByteArray Image = "xl/media/image1.png"; // stored, and nobody here reads it
const QByteArray Workbook = "xl/workbook.xml";

/// The bytes of an archive, and the numbers in them.
struct Archive
{
    template <typename Number>
    Number Get(qsizetype at) const
    {
        return qFromLittleEndian<Number>(bytes.constData() + at);
    }
    template <typename Number>
    void Set(qsizetype at, Number number)
    {
        qToLittleEndian(number, bytes.data() + at);
    }
    qsizetype End() const { return bytes.lastIndexOf("PK\5\6"); }
    qsizetype Directory() const { return Get<quint32>(End() + 16); }
    /// Where the directory has that part, and where its header is.
    qsizetype Entry(const QByteArray &name) const { return bytes.indexOf(name, Directory()) - 46; }
    qsizetype Header(const QByteArray &name) const { return Get<quint32>(Entry(name) + 42); }
    /// A part as it is packed.
    QByteArray Packed(const QByteArray &name) const
    {
        const qsizetype at = Header(name);
        return bytes.mid(at + 30 + Get<quint16>(at + 26) + Get<quint16>(at + 28),
                         Get<quint32>(Entry(name) + 20));
    }

    QByteArray bytes;
};

using Change = std::function<void(Archive &)>;

/// The plain workbook after a change.
QByteArray Changed(const Change &change)
{
    const BookRig rig;
    Archive archive{Contents(rig.name)};
    change(archive);
    return archive.bytes;
}

/// What happens meanwhile, what is told of it, and the sheets that are there then.
using During = std::tuple<QString, QString, QStringList>;
/// Whether the name is there when it is chosen; what it holds later; what is told of that.
using NewName = std::tuple<bool, QByteArray, QString>;
using Styles = std::pair<BookParts, QByteArray>; // a workbook, and where its styles stand afterwards

/// The name of a file that a program which is gone has left beside a workbook.
QString Leftover()
{
    QProcess gone;
    if (IsUnix)
        gone.start(u"true"_qs, QStringList());
    else
        gone.start(u"cmd"_qs, {u"/c"_qs, u"exit"_qs});
    Require(gone.waitForStarted(), u"No process can be started."_qs);
    const QString name = u".px40-%1-ab.tmp"_qs.arg(gone.processId());
    gone.waitForFinished();
    return name;
}

/// Writes a sheet of many rows, and meanwhile something happens. Why nothing was written, if so.
QString WriteWhile(const BookRig &rig, const WorkbookFile &file,
                   const std::function<void(WriteWatch *)> &happens)
{
    constexpr int manyRows = 100'000;
    const Sheet sheet = SampleSheet(u"T"_qs, manyRows);
    WriteWatch watch;
    QString told;
    std::thread writer([&] { told = Why(AddSheet(file, sheet, &watch)); });
    while (rig.Neighbours().isEmpty())
        std::this_thread::yield();
    happens(&watch);
    writer.join();
    return told;
}

} // namespace

/// Workbooks whose name, place or parts are not as they were, or as they should be.
class BookWritingTest : public QObject
{
    Q_OBJECT

  private Q_SLOTS:
    void TakesWhatOthersUnpack_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        const auto row = [](const char *name, const Change &change) {
            QTest::newRow(name) << Changed(change);
        };
        row("bytes behind the end", [](Archive &book) { book.bytes += QByteArray(60'000, 'x'); });
        row("comment", [](Archive &book) {
            book.Set<quint16>(book.End() + 20, 5);
            book.bytes += "hello";
        });
        row("gap before the directory", [](Archive &book) {
            const qsizetype at = book.Directory();
            book.Set(book.End() + 16, static_cast<quint32>(at + 9));
            book.bytes.insert(at, "PK\5\6 gap.");
        });
        row("another date", [](Archive &book) { book.Set<quint32>(book.Header(Workbook) + 10, 1234); });
        for (const int at :
             {0, 8, 14, 18, 30}) // mark, method, checksum, size, name: the directory has them, too
            QTest::addRow("header at %d", at)
                << Changed([at](Archive &book) { ++book.bytes.data()[book.Header(Image) + at]; });
        row("another version", [](Archive &book) { book.Set<quint16>(book.Header(Image) + 4, 63); });
        row("another size", [](Archive &book) { book.Set<quint32>(book.Header(Image) + 22, 63); });
        for (const int at : {8, 10}) // encrypted, and packed in a way that nobody here knows
            QTest::addRow("picture's %d", at) << Changed([at](Archive &book) {
                book.Set<quint16>(book.Entry(Image) + at, at == 8 ? 1 : 97);
                book.Set<quint16>(book.Header(Image) + at - 2, at == 8 ? 1 : 97);
            });
        QTest::newRow("sizes behind") << Contents(QStringLiteral(PX40_WORKSHEETS "/libreoffice.xlsx"));
        QTest::newRow("archive within") << Contents(
            BookRig(PlainBook() << std::pair{QByteArray("xl/inner.xlsx"), Contents(BookRig().name)}).name);
        QTest::newRow("twice what nobody reads") << Changed([](Archive &book) {
            const QByteArray name = "xl/calcChain.xml"; // gets the name of its neighbour
            for (const qsizetype at : {book.Entry(Image) + 46, book.Header(Image) + 30})
                book.bytes.replace(at, Image.size(), QByteArray(Image).replace(0, name.size(), name));
        });
    }

    void TakesWhatOthersUnpack()
    {
        QFETCH(QByteArray, bytes);
        const BookRig rig;
        const Archive book{bytes};
        QVERIFY(Put(rig.name, bytes.left(book.End() + 22 + book.Get<quint16>(book.End() + 20))));
        const auto before = ReadPackage(rig.name, false);
        const qsizetype sheets = before["xl/workbook.xml"].text.count("<sheet ") + 1;
        QVERIFY(before.size() > 8 && Put(rig.name, bytes));
        QCOMPARE(Why(CheckWorkbook(rig.name)), QString());
        QCOMPARE(AddTo(rig.name, u"T"_qs), QString());
        QCOMPARE(SheetNames(rig.name).size(), sheets);
        QCOMPARE(SheetNames(rig.name).last(), u"T"_qs);

        const auto after = ReadPackage(rig.name);
        const Archive now{Contents(rig.name)};
        // The sheet has a header of the plain kind: it needs version 2.0 and has nothing extra.
        const QByteArray number = QByteArray::number(sheets);
        const qsizetype sheet = now.Header("xl/worksheets/sheet" + number + ".xml");
        QCOMPARE(now.Get<quint16>(sheet + 4), 20);
        QCOMPARE(now.Get<quint16>(sheet + 28), 0);
        int kept = 0;
        for (auto entry = before.begin(); entry != before.end(); ++entry) {
            const bool same = after.value(entry.key()).kept == entry->kept;
            QVERIFY(!same || bytes.contains(now.Packed(entry.key())));
            kept += same ? 1 : 0;
        }
        QCOMPARE(kept, before.size() - 4);
    }

    void RefusesWhatIsDamaged_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QString>("damage");
        const auto row = [](const char *name, const QString &damage, const Change &change) {
            QTest::newRow(name) << Changed(change) << damage;
        };
        const QString nowhere = u"its directory cannot be found"_qs;
        const QString directory = u"its directory is damaged"_qs;
        const QString image = u"the contents of xl/media/image1.png are damaged"_qs;
        row("cut off", nowhere, [](Archive &book) { book.bytes.chop(30); });
        row("cut in the end", nowhere, [](Archive &book) { book.bytes.chop(1); });
        row("too far behind", nowhere, [](Archive &book) { book.bytes += QByteArray(200'000, 'x'); });
        row("a piece is missing", directory,
            [](Archive &book) { book.bytes.remove(book.Header(Image) + 99, 500); });
        row("directory elsewhere", nowhere, [](Archive &book) {
            book.Set<quint32>(book.End() + 16, static_cast<quint32>(book.Directory() - 7));
        });
        row("directory past the end", directory,
            [](Archive &book) { book.Set<quint32>(book.End() + 16, 0x7FFFFFFF); });
        for (const int by : {10, -10})
            QTest::addRow("directory longer by %d", by) << Changed([by](Archive &book) {
                book.Set(book.End() + 12,
                         static_cast<quint32>(static_cast<int>(book.Get<quint32>(book.End() + 12)) + by));
            }) << directory;
        row("fewer entries", nowhere, [](Archive &book) { book.Set<quint16>(book.End() + 10, 2); });
        row("entry", nowhere, [](Archive &book) { book.bytes[book.Entry(Image)] = 'x'; });
        row("entry past the end", image,
            [](Archive &book) { book.Set<quint32>(book.Entry(Image) + 42, 0x7FFFFFFF); });
        row("one place for two", image, [](Archive &book) { book.Set<quint32>(book.Entry(Image) + 42, 0); });
        for (const int by : {1, 0x7FFFF})
            QTest::addRow("entry longer by %d", by) << Changed([by](Archive &book) {
                for (const qsizetype at : {book.Entry(Image) + 20, book.Header(Image) + 18})
                    book.Set(at, static_cast<quint32>(static_cast<int>(book.Get<quint32>(at)) + by));
            }) << (by == 1 ? image : directory);
        row("one place for many", directory, [](Archive &book) {
            const qsizetype at = book.Entry(Image);
            const QByteArray entry = book.bytes.mid(at, 46 + Image.size() + book.Get<quint16>(at + 30));
            constexpr quint16 more = 100;
            const qsizetype end = book.End();
            for (const int field : {8, 10})
                book.Set<quint16>(end + field, book.Get<quint16>(end + field) + more);
            book.Set(end + 12, static_cast<quint32>(book.Get<quint32>(end + 12) + more * entry.size()));
            for (quint16 i = 0; i < more; ++i)
                book.bytes.insert(end,
                                  QByteArray(entry).replace("image1", "i" + QByteArray::number(10000 + i)));
        });
        for (const int at : {26, 28}) // lengths
            QTest::addRow("header at %d", at)
                << Changed([at](Archive &book) { ++book.bytes.data()[book.Header(Image) + at]; }) << image;
        const auto broken = u"the contents of %1 are damaged"_qs;
        for (const QByteArray &name : {Image, Workbook}) {
            const QString damage = broken.arg(QString::fromLatin1(name));
            row((name + ": contents").constData(), damage,
                [&name](Archive &book) { book.bytes.data()[book.Header(name) + 99] ^= 0x55; });
            row((name + ": checksum").constData(), damage, [&name](Archive &book) {
                for (const qsizetype at : {book.Entry(name) + 16, book.Header(name) + 14})
                    ++book.bytes.data()[at];
            });
        }
        row("packed size", image, [](Archive &book) { book.Set<quint32>(book.Entry(Image) + 20, 77); });
        QTest::newRow("twice")
            << Contents(BookRig(PlainBook() << std::pair{QByteArray("XL/Styles.xml"), QByteArray()}).name)
            << u"xl/styles.xml is there twice"_qs;
    }

    void RefusesWhatIsDamaged()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(QString, damage);
        const BookRig rig;
        QVERIFY(Put(rig.name, bytes));
        const QString told = AddTo(rig.name, u"T"_qs);
        QVERIFY2(told.startsWith(u"This workbook is damaged ("_qs + damage + u"). "_qs), qPrintable(told));
        QCOMPARE(Contents(rig.name), bytes);
        QCOMPARE(rig.Neighbours(), QStringList());
    }

    void LetsGoOfTheOldFileFirst()
    {
#ifdef Q_OS_UNIX
        BookRig rig;
        QVERIFY(Put(rig.folder.filePath(Leftover()), "left over"));
        const int queue = ::inotify_init1(IN_NONBLOCK);
        ::inotify_add_watch(queue, QFile::encodeName(rig.name).constData(), IN_OPEN | IN_CLOSE | IN_ATTRIB);
        QCOMPARE(AddTo(rig.name, u"T"_qs), QString());
        inotify_event events[1000] = {}; // of one file, so without names
        QVERIFY(::read(queue, events, sizeof events) > 0);
        ::close(queue);
        const inotify_event *event = events;
        int opened = 0;
        int closed = 0;
        for (; event->mask & (IN_OPEN | IN_CLOSE); ++event) {
            opened += event->mask & IN_OPEN ? 1 : 0;
            closed += event->mask & IN_CLOSE ? 1 : 0;
        }
        QVERIFY(event->mask & IN_ATTRIB); // its name has gone
        QVERIFY(opened > 0);
        QCOMPARE(closed, opened);
        QCOMPARE(rig.Neighbours(), QStringList());
#else
        QSKIP("Nothing tells who has a file open here.");
#endif
    }

    void Meanwhile_data()
    {
        AddRows<During>({{"cancelled", {u"cancel"_qs, Why(BookProblem::Cancelled), {u"One"_qs}}},
                         {"opened", {u"open"_qs, Why(BookProblem::InUse), {u"One"_qs}}},
                         {"overwritten", {u"overwrite"_qs, {}, {u"Two"_qs, u"T"_qs}}},
                         {"removed", {u"remove"_qs, Why(BookProblem::Missing), {}}}});
    }

    void Meanwhile()
    {
        const auto [what, told, sheets] = ThisRow<During>();
        const BookRig two(Changed(PlainBook(), "xl/workbook.xml", "\"One\"", "\"Two\""));
        const QByteArray twoBytes = Contents(two.name);
        const BookRig rig;
        if (what == u"remove" && !IsUnix)
            QSKIP("A file that is being read cannot be removed here.");
        const QString lock = rig.folder.filePath(u".~lock.book.xlsx#"_qs);
        const QString written =
            WriteWhile(rig, WorkbookFile::Existing(rig.name), [&, what = what](WriteWatch *watch) {
                watch->cancelled = what == u"cancel";
                if (what == u"open")
                    Put(lock, {});
                if (what == u"remove")
                    QFile::remove(rig.name);
                QFile book(rig.name); // in one piece: there is no moment at which it is no workbook
                if (what == u"overwrite" && book.open(QIODevice::ReadWrite | QIODevice::Unbuffered)) {
                    book.write(twoBytes);
                    book.resize(twoBytes.size());
                }
            });
        QFile::remove(lock);
        QCOMPARE(written, told);
        QCOMPARE(rig.Neighbours(), QStringList());
        QCOMPARE(QFile::exists(rig.name) ? SheetNames(rig.name) : QStringList(), sheets);
    }

    void NewNamesMeanwhile_data()
    {
        const QString taken = Why(BookProblem::Taken);
        AddRows<NewName>({{"absent", {false, {}, {}}},
                          {"came", {false, "theirs", taken}},
                          {"agreed", {true, "old", {}}},
                          {"agreed, gone", {true, {}, {}}},
                          {"agreed, another", {true, "theirs", taken}}});
    }

    void NewNamesMeanwhile()
    {
        const auto [there, later, told] = ThisRow<NewName>();
        for (const bool whileWriting : {false, true}) {
            const BookRig rig;
            QVERIFY(QFile::remove(rig.name) && (!there || Put(rig.name, "old")));
            const WorkbookFile file = WorkbookFile::New(rig.name);
            const auto happens = [&, later = later](WriteWatch *) {
                if (later.isEmpty())
                    QFile::remove(rig.name);
                else if (later != "old")
                    Put(rig.name, later);
            };
            if (!whileWriting)
                happens(nullptr);
            QCOMPARE(whileWriting ? WriteWhile(rig, file, happens) : Write(file, SampleSheet(u"T"_qs)), told);
            QCOMPARE(rig.Neighbours(), QStringList());
            if (told.isEmpty())
                QCOMPARE(SheetNames(rig.name), QStringList(u"T"_qs));
            else
                QCOMPARE(Contents(rig.name), later);
        }
    }

    void ExportsAtOnceLoseNothing()
    {
        const QTemporaryDir folder;
        const QString book = folder.filePath(u"both.xlsx"_qs);
        QByteArray sample = SampleFile();
        const QByteArray lastRow = sample.mid(sample.lastIndexOf('\n', -2) + 1);
        sample += lastRow.repeated(20'000);
        QVERIFY(Put(folder.filePath(u"data.CSV"_qs), sample));
        QProcess runs[2];
        for (QProcess &run : runs) {
            run.setWorkingDirectory(folder.path());
            run.start(QCoreApplication::applicationDirPath() + u"/px40ap"_qs,
                      {u"--export"_qs, u"data.CSV"_qs, u"--to"_qs, book});
        }
        for (QProcess &run : runs) {
            QVERIFY(WaitUntil([&] { return run.state() == QProcess::NotRunning; }, 60000));
            QVERIFY2(run.exitCode() == 0, run.readAllStandardError().constData());
        }
        QCOMPARE(SheetNames(book), QStringList({u"PX40 1"_qs, u"PX40 2"_qs}));
    }

    void StylesWhereTheyAreLookedFor_data()
    {
        const QByteArray links = "xl/_rels/workbook.xml.rels";
        const BookParts dangling = Without("xl/styles.xml");
        AddRows<Styles>({
            {"none", {Changed(dangling, links, "/styles\"", "/other\""), "xl/styles.xml"}},
            {"dangling", {dangling, "xl/styles.xml"}},
            {"dangling, another name",
             {Changed(dangling, links, "\"styles.xml", "\"looks/s.xml"), "xl/looks/s.xml"}},
            {"name taken", {Changed(PlainBook(), links, "/styles\"", "/other\""), "xl/styles1.xml"}},
        });
    }

    void StylesWhereTheyAreLookedFor()
    {
        const auto [parts, name] = ThisRow<Styles>();
        const BookRig rig(parts);
        QCOMPARE(AddTo(rig.name, u"T"_qs), QString());
        const auto entries = ReadPackage(rig.name);
        QVERIFY(entries.value(name).text.contains("<cellXfs"));
        QCOMPARE(entries.value("[Content_Types].xml").text.count("PartName=\"/" + name + '"'), 1);
        const QByteArray target = "Target=\"" + name.mid(3) + '"';
        const QByteArray relationships = entries.value("xl/_rels/workbook.xml.rels").text;
        QVERIFY(relationships.contains(target));
        QCOMPARE(relationships.count("/styles\""), 1);
    }

    void SweepsLeftovers()
    {
        const BookRig rig;
        const QString dead = Leftover();
        const QString ours = u".px40-%1-ab.tmp"_qs.arg(QCoreApplication::applicationPid());
        QProcess other;
        other.start(IsUnix ? u"cat"_qs : u"cmd"_qs, QStringList());
        QVERIFY(other.waitForStarted());
        const QString used = u".px40-%1-ab.tmp"_qs.arg(other.processId());
        for (const QString &name : {dead, ours, used, u".px40-notes.tmp"_qs})
            QVERIFY(Put(rig.folder.filePath(name), "x"));
        Replacement writing(rig.name);
        QVERIFY(writing.Open());
        QStringList left = rig.Neighbours();
        QCOMPARE(left.size(), 5);
        left.removeAll(dead);
        if (IsUnix) // where a lock says that it is in use
            left.removeAll(ours);
        SweepWorkbook(rig.name);
        QCOMPARE(rig.Neighbours(), left);
        other.kill();
        other.waitForFinished();
    }

    void PrintTellsFilesApart()
    {
        const QTemporaryDir folder;
        const QString one = folder.filePath(u"one"_qs);
        const QString two = folder.filePath(u"two"_qs);
        const QDateTime time = QDateTime::fromSecsSinceEpoch(1'000'000'000);
        const auto setTime = [](const QString &name, const QDateTime &to) {
            QFile file(name);
            return file.open(QIODevice::ReadWrite) && file.setFileTime(to, QFile::FileModificationTime);
        };
        QVERIFY(Put(one, "1") && Put(two, "2") && setTime(one, time) && setTime(two, time));
        const FileFingerprint fingerprint = FingerprintOf(one);
        QVERIFY(FingerprintOf(two) != fingerprint); // another file of the same size and time
        QVERIFY(setTime(one, time.addMSecs(1)));
        QVERIFY(FingerprintOf(one) != fingerprint);
    }
};

QTEST_GUILESS_MAIN(BookWritingTest)
#include "bookwriting_test.moc"
