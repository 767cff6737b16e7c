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

/// What happens meanwhile, what is told of it, and the sheets that are there then.
using During = std::tuple<QString, QString, QStringList>;
/// Whether the name is there when it is chosen; what it holds later; what is told of that.
using NewName = std::tuple<bool, QByteArray, QString>;
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
