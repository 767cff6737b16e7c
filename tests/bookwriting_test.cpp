// How a workbook takes its place: over which file, in which folder, and what lies beside it.

#include "testing/books.h"
#include "testing/rows.h"
#include "testing/wait.h"

#include <QDateTime>
#include <QProcess>
#include <QTemporaryDir>

#include <functional>
#include <thread>

#include <sys/inotify.h>
#include <unistd.h>

using namespace px40;

namespace {

/// What happens to the files of a folder, in its order: "o", "c" and "m" (opened, closed, moved to), name.
class FolderWatch
{
  public:
    explicit FolderWatch(const QString &folder)
    {
        ::inotify_add_watch(queue_, QFile::encodeName(folder).constData(), IN_OPEN | IN_CLOSE | IN_MOVED_TO);
    }
    ~FolderWatch() { ::close(queue_); }
    QStringList Events() const
    {
        QStringList events;
        alignas(inotify_event) char bytes[64 * 1024];
        const ssize_t got = ::read(queue_, bytes, sizeof bytes);
        for (ssize_t at = 0; at < got;) {
            const auto *const event = reinterpret_cast<const inotify_event *>(bytes + at);
            const QChar kind = event->mask & IN_OPEN ? u'o' : event->mask & IN_CLOSE ? u'c' : u'm';
            events += kind + QFile::decodeName(event->name);
            at += static_cast<ssize_t>(sizeof *event + event->len);
        }
        return events;
    }

  private:
    int queue_ = ::inotify_init1(IN_NONBLOCK);
};

using Styles = std::pair<BookParts, QByteArray>; // a workbook, and where its styles stand afterwards

/// The name of a file that a program which is gone has left beside a workbook.
QString Leftover()
{
    QProcess gone;
    gone.start(u"true"_qs, QStringList());
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
    void LetsGoOfTheOldFileFirst()
    {
        BookRig rig;
        QVERIFY(Put(rig.folder.filePath(Leftover()), "left over"));
        const FolderWatch watch(rig.folder.path());
        QCOMPARE(AddTo(rig.name, u"T"_qs), QString());
        const QStringList events = watch.Events();
        const QStringList before = events.mid(0, events.indexOf(u"mbook.xlsx"_qs));
        QVERIFY(before.size() < events.size() && before.contains(u"obook.xlsx"_qs));
        QCOMPARE(before.count(u"obook.xlsx"_qs), before.count(u"cbook.xlsx"_qs));
        QCOMPARE(rig.Neighbours(), QStringList());
    }

    void Meanwhile_data()
    {
        QTest::addColumn<QString>("what");
        QTest::addColumn<QString>("told");
        QTest::addColumn<QStringList>("sheets"); // that are there then
        QTest::newRow("cancelled") << u"cancel"_qs << Why(BookProblem::Cancelled) << QStringList(u"One"_qs);
        QTest::newRow("opened") << u"open"_qs << Why(BookProblem::InUse) << QStringList(u"One"_qs);
        QTest::newRow("overwritten") << u"overwrite"_qs << QString() << QStringList({u"Two"_qs, u"T"_qs});
        QTest::newRow("removed") << u"remove"_qs << Why(BookProblem::Missing) << QStringList();
    }

    void Meanwhile()
    {
        QFETCH(QString, what);
        QFETCH(QString, told);
        QFETCH(QStringList, sheets);
        const BookRig two(Changed(PlainBook(), "xl/workbook.xml", "\"One\"", "\"Two\""));
        const QByteArray twoBytes = Contents(two.name);
        const BookRig rig;
        const QString lock = rig.folder.filePath(u".~lock.book.xlsx#"_qs);
        const QString written = WriteWhile(rig, WorkbookFile::Existing(rig.name), [&](WriteWatch *watch) {
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
        QTest::addColumn<bool>("there"); // when the name is chosen
        QTest::addColumn<QByteArray>("later");
        QTest::addColumn<QString>("told");
        const QString taken = Why(BookProblem::Taken);
        QTest::newRow("absent") << false << QByteArray() << QString();
        QTest::newRow("came") << false << QByteArray("theirs") << taken;
        QTest::newRow("agreed") << true << QByteArray("old") << QString();
        QTest::newRow("agreed, gone") << true << QByteArray() << QString();
        QTest::newRow("agreed, another") << true << QByteArray("theirs") << taken;
    }

    void NewNamesMeanwhile()
    {
        QFETCH(bool, there);
        QFETCH(QByteArray, later);
        QFETCH(QString, told);
        for (const bool whileWriting : {false, true}) {
            const BookRig rig;
            QVERIFY(QFile::remove(rig.name) && (!there || Put(rig.name, "old")));
            const WorkbookFile file = WorkbookFile::New(rig.name);
            const auto happens = [&](WriteWatch *) {
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
            {"name taken", {BookLike("without styles"), "xl/styles1.xml"}},
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

    void PackageIsWhole()
    {
        // The kind of relationships is known, in a new workbook and in one that was without it.
        const BookRig rig(Changed(PlainBook(), "[Content_Types].xml", "\"rels\"", "\"other\""));
        QCOMPARE(AddTo(rig.name, u"T"_qs), QString());
        const QString made = rig.folder.filePath(u"new.xlsx"_qs);
        QCOMPARE(Write(WorkbookFile::New(made)), QString());
        for (const QString &name : {rig.name, made}) {
            pugi::xml_document types;
            Load(types, ReadPackage(name).value("[Content_Types].xml").text);
            QCOMPARE(types
                         .select_nodes("//*[local-name()='Default'][@Extension='rels'][@ContentType="
                                       "'application/vnd.openxmlformats-package.relationships+xml']")
                         .size(),
                     1U);
            // A sheet has a header of the plain kind: it needs version 2.0 and has nothing extra.
            const QByteArray sheet =
                name == rig.name ? "xl/worksheets/sheet2.xml" : "xl/worksheets/sheet1.xml";
            const QByteArray bytes = Contents(name);
            const QByteArray header = bytes.mid(bytes.indexOf(sheet) - 30, 30);
            QCOMPARE(header.left(6), QByteArray("PK\3\4\24\0", 6));
            QCOMPARE(header.right(2), QByteArray(2, '\0'));
        }
    }

    void SweepsLeftovers()
    {
        const BookRig rig;
        const QString dead = Leftover();
        const QString ours = u".px40-%1-ab.tmp"_qs.arg(::getpid());
        for (const QString &name : {dead, ours, u".px40-1-ab.tmp"_qs, u".px40-notes.tmp"_qs})
            QVERIFY(Put(rig.folder.filePath(name), "x"));
        Replacement writing(rig.name);
        QVERIFY(writing.Open());
        QStringList left = rig.Neighbours();
        QVERIFY(left.removeAll(dead) == 1 && left.removeAll(ours) == 1 && left.size() == 3);
        SweepWorkbook(rig.name);
        QCOMPARE(rig.Neighbours(), left);
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
        const FilePrint print = PrintOf(one);
        QVERIFY(PrintOf(two) != print); // another file of the same size and time
        QVERIFY(setTime(one, time.addMSecs(1)));
        QVERIFY(PrintOf(one) != print);
    }
};

QTEST_GUILESS_MAIN(BookWritingTest)
#include "bookwriting_test.moc"
