// How a workbook takes its place: over which file, in which folder, and what lies beside it.

#include "forward/filekind.h"
#include "forward/workbookplace.h"
#include "link/linkstate.h"
#include "platform/replacefile.h"
#include "platform/userstore.h"
#include "resources/strings.h"
#include "tests/bookrig.h"
#include "tests/heldclock.h"
#include "tests/support.h"

#include <QDateTime>
#include <QProcess>

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

BookParts Without(const QByteArray &name)
{
    BookParts parts = PlainBook();
    parts.removeIf([&name](const auto &part) { return part.first == name; });
    return parts;
}

WriteResult WriteNow(XlsxFile &file)
{
    WriteWatch watch;
    return file.Write(&watch);
}

} // namespace

/// Workbooks whose name, place or parts are not as they were, or as they should be.
class BookWritingTest : public QObject
{
    Q_OBJECT

  private Q_SLOTS:
    void LetsGoOfTheOldFileFirst();
    void NewNamesMeanwhile_data();
    void NewNamesMeanwhile();
    void AsksAboutNewNames();
    void ExportsAtOnceLoseNothing();
    void StylesWhereTheyAreLookedFor_data();
    void StylesWhereTheyAreLookedFor();
    void PackageIsWhole();
    void PrintTellsFilesApart();
    void LocksBesideLinks();
};

void BookWritingTest::LetsGoOfTheOldFileFirst()
{
    BookRig rig;
    QProcess gone;
    gone.start(u"true"_qs, QStringList());
    QVERIFY(gone.waitForStarted());
    QVERIFY(Put(rig.folder.filePath(u".px40-%1-ab.tmp"_qs.arg(gone.processId())), "left over"));
    QVERIFY(gone.waitForFinished());
    const FolderWatch watch(rig.folder.path());
    QCOMPARE(AddTo(rig.name, u"T"_qs), WriteResult::Done);
    const QStringList events = watch.Events();
    const QStringList before = events.mid(0, events.indexOf(u"mbook.xlsx"_qs));
    QVERIFY(before.size() < events.size() && before.contains(u"obook.xlsx"_qs));
    QCOMPARE(before.count(u"obook.xlsx"_qs), before.count(u"cbook.xlsx"_qs));
    QCOMPARE(rig.Neighbours(), QStringList());
}

void BookWritingTest::NewNamesMeanwhile_data()
{
    QTest::addColumn<bool>("there"); // when the name is chosen
    QTest::addColumn<QByteArray>("later");
    QTest::addColumn<WriteResult>("result");
    QTest::newRow("absent") << false << QByteArray() << WriteResult::Done;
    QTest::newRow("came") << false << QByteArray("theirs") << WriteResult::Taken;
    QTest::newRow("agreed") << true << QByteArray("old") << WriteResult::Done;
    QTest::newRow("agreed, gone") << true << QByteArray() << WriteResult::Done;
    QTest::newRow("agreed, another") << true << QByteArray("theirs") << WriteResult::Taken;
}

void BookWritingTest::NewNamesMeanwhile()
{
    QFETCH(bool, there);
    QFETCH(QByteArray, later);
    QFETCH(WriteResult, result);
    for (const bool whileWriting : {false, true}) {
        BookRig rig;
        QVERIFY(QFile::remove(rig.name) && (!there || Put(rig.name, "old")));
        XlsxFile file(u"T"_qs);
        file.SetNewName(rig.name);
        constexpr int manyRows = 100'000;
        QCOMPARE(Fill(file, {}, whileWriting ? manyRows : 1), SheetStep::Done);
        WriteResult written = WriteResult::Failed;
        std::thread writer;
        if (whileWriting) {
            writer = std::thread([&] { written = WriteNow(file); });
            while (rig.Neighbours().isEmpty())
                std::this_thread::yield();
        }
        if (later.isEmpty())
            QFile::remove(rig.name);
        else if (later != "old")
            Put(rig.name, later);
        if (whileWriting)
            writer.join();
        else
            written = WriteNow(file);
        QCOMPARE(written, result);
        QCOMPARE(rig.Neighbours(), QStringList());
        if (result == WriteResult::Done)
            QCOMPARE(SheetNames(rig.name), QStringList(u"T"_qs));
        else
            QCOMPARE(Contents(rig.name), later);
    }
    // And in the last moment.
    const QTemporaryDir folder;
    const QString name = folder.filePath(u"new"_qs);
    Replacement late(name);
    QVERIFY(late.Open() && late.Finish() && Put(name, "theirs") && !late.TakePlace(false));
    QCOMPARE(Contents(name), QByteArray("theirs"));
}

void BookWritingTest::AsksAboutNewNames()
{
    const QTemporaryDir folder;
    UserStore store = UserStore::InFile(folder.filePath(u"user.ini"_qs));
    LinkState state;
    ScriptedPrompts prompts;
    const HeldClock clock;
    const ForwardServices services = {state, prompts, clock, store, {}, {}};
    const QString closed = u"/proc/new.xlsx"_qs; // nobody makes a file there
    const QString taken = folder.filePath(u"taken.xlsx"_qs);
    const QString other = folder.filePath(u"other.xlsx"_qs);
    prompts.files = {closed, taken};
    const Running<Workbook> choosing(ChooseWorkbook(&services, {}));
    QVERIFY(choosing.Finish());
    const std::shared_ptr<XlsxFile> file = choosing.Value().file;
    QCOMPARE(prompts.warnings, QStringList(Text(Str::BookFolderClosed) + u"\r\n"_qs + closed));
    QCOMPARE(Fill(*file, {}), SheetStep::Done);

    QVERIFY(Put(taken, "theirs"));
    const Running<bool> givenUp(WriteWorkbook(&services, file, {}, nullptr));
    QVERIFY(givenUp.Finish() && !givenUp.Value());
    QCOMPARE(state.ForwardErrorText, Text(Str::Canceled));
    QCOMPARE(prompts.questions.size(), 1);
    QVERIFY(prompts.questions.constFirst().contains(Text(Str::BookTaken) + u"\r\n"_qs + taken));
    prompts.choices = {0, 0};
    prompts.files = {QString(), other}; // back to the question, then a name
    const Running<bool> elsewhere(WriteWorkbook(&services, file, {}, nullptr));
    QVERIFY(elsewhere.Finish() && elsewhere.Value());
    QCOMPARE(Contents(taken), QByteArray("theirs"));
    QCOMPARE(SheetNames(other), QStringList(u"PX40 1"_qs));

    // The user may say that it is to be replaced.
    file->SetNewName(folder.filePath(u"third.xlsx"_qs));
    QVERIFY(Put(file->Name(), "theirs"));
    prompts.choices = {0};
    prompts.files = {file->Name()};
    const Running<bool> replacing(WriteWorkbook(&services, file, {}, nullptr));
    QVERIFY(replacing.Finish() && replacing.Value());
    QCOMPARE(SheetNames(file->Name()), QStringList(u"PX40 1"_qs));
}

void BookWritingTest::ExportsAtOnceLoseNothing()
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

void BookWritingTest::StylesWhereTheyAreLookedFor_data()
{
    QTest::addColumn<BookParts>("parts");
    QTest::addColumn<QByteArray>("name");
    const QByteArray links = "xl/_rels/workbook.xml.rels";
    const BookParts dangling = Without("xl/styles.xml");
    QTest::newRow("none") << Changed(dangling, links, "/styles\"", "/other\"") << QByteArray("xl/styles.xml");
    QTest::newRow("dangling") << dangling << QByteArray("xl/styles.xml");
    QTest::newRow("dangling, another name")
        << Changed(dangling, links, "\"styles.xml", "\"looks/s.xml") << QByteArray("xl/looks/s.xml");
    QTest::newRow("name taken") << BookLike("without styles") << QByteArray("xl/styles1.xml");
}

void BookWritingTest::StylesWhereTheyAreLookedFor()
{
    QFETCH(BookParts, parts);
    QFETCH(QByteArray, name);
    const BookRig rig(parts);
    QCOMPARE(AddTo(rig.name, u"T"_qs), WriteResult::Done);
    const auto entries = ReadPackage(rig.name);
    QVERIFY(entries.value(name).text.contains("<cellXfs"));
    QCOMPARE(entries.value("[Content_Types].xml").text.count("PartName=\"/" + name + '"'), 1);
    const QByteArray target = "Target=\"" + name.mid(3) + '"';
    const QByteArray relationships = entries.value("xl/_rels/workbook.xml.rels").text;
    QVERIFY(relationships.contains(target));
    QCOMPARE(relationships.count("/styles\""), 1);
}

void BookWritingTest::PackageIsWhole()
{
    const QString links = u"xl/_rels/workbook.xml.rels"_qs;
    const BookRig unrelated(Without(links.toUtf8()));
    QCOMPARE(XlsxFile::WhyNot(unrelated.name), Text(Str::BookDamaged).arg(links));

    // The kind of relationships is known, in a new workbook and in one that was without it.
    const BookRig rig(Changed(PlainBook(), "[Content_Types].xml", "\"rels\"", "\"other\""));
    QCOMPARE(AddTo(rig.name, u"T"_qs), WriteResult::Done);
    XlsxFile file(u"T"_qs);
    file.SetNewName(rig.folder.filePath(u"new.xlsx"_qs));
    QCOMPARE(Fill(file, {}), SheetStep::Done);
    QCOMPARE(WriteNow(file), WriteResult::Done);
    for (const QString &name : {rig.name, file.Name()}) {
        pugi::xml_document types;
        Load(types, ReadPackage(name).value("[Content_Types].xml").text);
        QCOMPARE(types
                     .select_nodes("//*[local-name()='Default'][@Extension='rels'][@ContentType="
                                   "'application/vnd.openxmlformats-package.relationships+xml']")
                     .size(),
                 1U);
        // A sheet has a header of the plain kind: it needs version 2.0 and has nothing extra.
        const QByteArray sheet = name == rig.name ? "xl/worksheets/sheet2.xml" : "xl/worksheets/sheet1.xml";
        const QByteArray bytes = Contents(name);
        const QByteArray header = bytes.mid(bytes.indexOf(sheet) - 30, 30);
        QCOMPARE(header.left(6), QByteArray("PK\3\4\24\0", 6));
        QCOMPARE(header.right(2), QByteArray(2, '\0'));
    }
}

void BookWritingTest::PrintTellsFilesApart()
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

void BookWritingTest::LocksBesideLinks()
{
    const BookRig rig;
    const QTemporaryDir elsewhere;
    const QString link = elsewhere.filePath(u"link.xlsx"_qs);
    QVERIFY(QFile::link(rig.name, link));
    for (const QString &lock :
         {rig.folder.filePath(u".~lock.book.xlsx#"_qs), elsewhere.filePath(u"~$link.xlsx"_qs)}) {
        QVERIFY(Put(lock, {}));
        QCOMPARE(AddTo(link, u"T"_qs), WriteResult::InUse);
        QVERIFY(QFile::remove(lock));
    }
    QCOMPARE(AddTo(link, u"T"_qs), WriteResult::Done);
}

QTEST_GUILESS_MAIN(BookWritingTest)
#include "bookwriting_test.moc"
