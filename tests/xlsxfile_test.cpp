#include "forward/replacement.h"
#include "resources/strings.h"
#include "tests/bookrig.h"
#include "tests/support.h"

#include <QDir>
#include <QProcess>
#include <QSet>

#include <pugixml.hpp>

#include <csignal>
#include <thread>

#include <sys/resource.h>
#include <unistd.h>

using namespace px40;

namespace {

/// Whether `now` has all of `was`, in its order, and at most children behind the others that it had.
bool Extends(const pugi::xml_node &was, const pugi::xml_node &now)
{
    if (std::string_view(was.name()) != now.name() || std::string_view(was.value()) != now.value())
        return false;
    for (const pugi::xml_attribute &attribute : was.attributes()) {
        const std::string_view value = now.attribute(attribute.name()).value();
        if (attribute.name() != std::string_view("count") && value != attribute.value())
            return false;
    }
    pugi::xml_node child = now.first_child();
    for (const pugi::xml_node &before : was.children()) {
        if (!Extends(before, child))
            return false;
        child = child.next_sibling();
    }
    return true;
}

/// Parts that are pointed at without being there, and what must differ and does not.
QStringList Faults(const BookEntries &entries)
{
    QStringList faults;
    QString names;
    for (const QByteArray &name : entries.keys())
        names += u'/' + QString::fromUtf8(name) + u'\n';
    for (auto entry = entries.begin(); entry != entries.end(); ++entry) {
        pugi::xml_document document;
        if (!document.load_string(entry->text.constData()))
            continue;
        const QString relationships = QString::fromUtf8(entry.key());
        const QDir folder(u'/' +
                          relationships.left(relationships.indexOf(u"_rels/"_qs, 0, Qt::CaseInsensitive)));
        for (const pugi::xpath_node &target : document.select_nodes("//@Target")) {
            const QString part =
                QDir::cleanPath(folder.absoluteFilePath(QString::fromUtf8(target.attribute().value())));
            if (!names.contains(part + u'\n', Qt::CaseInsensitive))
                faults += part;
        }
        QSet<QByteArray> different;
        for (const pugi::xpath_node &one : document.select_nodes("//@PartName|//@Id|//@sheetId")) {
            const QByteArray value = one.attribute().value();
            if (different.contains(value))
                faults += QString::fromUtf8(value);
            different.insert(value);
        }
    }
    return faults;
}

} // namespace

/// A sheet in a workbook file, and what may happen while it is written.
class XlsxFileTest : public QObject
{
    Q_OBJECT

  private Q_SLOTS:
    void AddsASheet_data();
    void AddsASheet();
    void NamesTheSheet_data();
    void NamesTheSheet();
    void GoesThroughLinks();
    void Meanwhile_data();
    void Meanwhile();
    void FullDisk();
    void SweepsLeftovers();
};

void XlsxFileTest::AddsASheet_data()
{
    QTest::addColumn<int>("changes");
    QTest::addColumn<int>("additions");
    for (const char *guise :
         {"plain", "prefixed", "strict", "macros", "chart sheet", "200 sheets", "absolute targets",
          "prefix on each sheet", "bare styles", "names taken", "other case"})
        QTest::newRow(guise) << 4 << 5;
    QTest::newRow("without styles") << 3 << 6;
}

void XlsxFileTest::AddsASheet()
{
    QFETCH(int, changes);
    QFETCH(int, additions);
    const QByteArrayList mayChange = {"[content_types].xml", "xl/_rels/workbook.xml.rels", "xl/styles.xml",
                                      "xl/workbook.xml"};
    BookRig rig(BookLike(QTest::currentDataTag()), u"it's a \"book\" αβγ.xlsm"_qs);
    QFile::setPermissions(rig.name, QFile::ReadOwner | QFile::WriteOwner | QFile::ReadGroup);
    const QFile::Permissions permissions = QFile::permissions(rig.name);
    const QStringList names = SheetNames(rig.name);
    const BookEntries before = ReadPackage(rig.name);
    QCOMPARE(XlsxFile::WhyNot(rig.name), QString());
    QCOMPARE(AddTo(rig.name, u"One"_qs), WriteResult::Done);

    const BookEntries after = ReadPackage(rig.name);
    QCOMPARE(after.size(), before.size() + additions);
    for (auto entry = before.begin(); entry != before.end(); ++entry) {
        if (after.value(entry.key()).kept == entry->kept)
            continue;
        --changes;
        QVERIFY2(mayChange.contains(entry.key().toLower()), entry.key().constData());
        pugi::xml_document was;
        pugi::xml_document now;
        Load(was, entry->text);
        Load(now, after[entry.key()].text);
        QVERIFY2(Extends(was.document_element(), now.document_element()), entry.key().constData());
        for (const pugi::xpath_node &list : now.select_nodes("//*[@count]"))
            QCOMPARE(list.node().attribute("count").as_llong(),
                     std::distance(list.node().begin(), list.node().end()));
    }
    QCOMPARE(changes, 0);
    QCOMPARE(SheetNames(rig.name), names + QStringList{u"One (2)"_qs});
    QCOMPARE(QFile::permissions(rig.name), permissions);
    QCOMPARE(rig.Files().size(), 1);

    // Another sheet finds the looks that it needs.
    QCOMPARE(AddTo(rig.name, {}), WriteResult::Done);
    const BookEntries both = ReadPackage(rig.name);
    QCOMPARE(both["xl/styles.xml"].kept, after["xl/styles.xml"].kept);
    QCOMPARE(Faults(both), QStringList());
}

void XlsxFileTest::NamesTheSheet_data()
{
    QTest::addColumn<QString>("title");
    QTest::addColumn<QString>("name");
    QTest::newRow("plain") << u"Furnace 3"_qs << u"Furnace 3"_qs;
    QTest::newRow("taken") << u"oNE"_qs << u"oNE (2)"_qs;
    QTest::newRow("none") << QString() << u"PX40 1"_qs;
    QTest::newRow("nothing left") << u" '[]:*?/\\'\u0001\t"_qs << u"PX40 1"_qs;
    QTest::newRow("forbidden") << u"'a[b]:c*d?e/f\\g\u0007h'"_qs << u"a b c d e f g h"_qs;
    QTest::newRow("reserved") << u"history"_qs << u"history (2)"_qs;
    QTest::newRow("markup") << u"<&>\"=1+1"_qs << u"<&>\"=1+1"_qs;
    QTest::newRow("long") << QString(300, u'x') << QString(31, u'x');
    QTest::newRow("apostrophe at the cut") << QString(30, u'x') + u"'y"_qs << QString(30, u'x');
    QTest::newRow("pair at the cut") << QString(30, u'x') + u"\U0001F600"_qs << QString(30, u'x');
}

void XlsxFileTest::NamesTheSheet()
{
    QFETCH(QString, title);
    QFETCH(QString, name);
    BookRig rig;
    QCOMPARE(AddTo(rig.name, title), WriteResult::Done);
    QCOMPARE(SheetNames(rig.name), QStringList({u"One"_qs, name}));
}

void XlsxFileTest::GoesThroughLinks()
{
    BookRig rig;
    const QTemporaryDir elsewhere;
    const QString link = elsewhere.filePath(u"link.xlsx"_qs);
    QVERIFY(QFile::link(rig.name, link));
    QVERIFY(Put(rig.folder.filePath(u".~lock.book.xlsx#"_qs), ",ann,,,;"));
    QCOMPARE(XlsxFile::HolderOf(link), u"ann"_qs);
    QFile::remove(rig.folder.filePath(u".~lock.book.xlsx#"_qs));
    QCOMPARE(AddTo(link, u"T"_qs), WriteResult::Done);
    QVERIFY(QFileInfo(link).isSymbolicLink());
    QCOMPARE(SheetNames(rig.name), QStringList({u"One"_qs, u"T"_qs}));

    // A link to what is not there yet; a new workbook.
    QVERIFY(QFile::remove(rig.name));
    XlsxFile file({});
    file.SetNewName(link);
    QCOMPARE(Fill(file, {}), SheetStep::Done);
    WriteWatch watch;
    QCOMPARE(file.Write(&watch), WriteResult::Done);
    QVERIFY(QFileInfo(link).isSymbolicLink());
    QCOMPARE(SheetNames(rig.name), QStringList(u"PX40 1"_qs));
    QCOMPARE(rig.Files().size(), 1);
}

void XlsxFileTest::Meanwhile_data()
{
    QTest::addColumn<WriteResult>("result");
    QTest::addColumn<QStringList>("sheets");
    QTest::newRow("cancelled") << WriteResult::Cancelled << QStringList(u"One"_qs);
    QTest::newRow("opened") << WriteResult::InUse << QStringList(u"One"_qs);
    QTest::newRow("changed") << WriteResult::Done << QStringList({u"Two"_qs, u"T"_qs});
    QTest::newRow("removed") << WriteResult::Failed << QStringList();
}

void XlsxFileTest::Meanwhile()
{
    QFETCH(WriteResult, result);
    QFETCH(QStringList, sheets);
    const QByteArray what = QTest::currentDataTag();
    BookRig rig;
    XlsxFile file(u"T"_qs);
    constexpr int manyRows = 200'000;
    QCOMPARE(Fill(file, rig.name, manyRows), SheetStep::Done);
    BookParts other = PlainBook();
    Change(other, "xl/workbook.xml", "\"One\"", "\"Two\"");
    const QByteArray otherBytes = Contents(BookRig(other).name);

    WriteWatch watch;
    WriteResult written = WriteResult::Done;
    std::thread writer([&] { written = file.Write(&watch); });
    while (rig.Neighbours().isEmpty())
        std::this_thread::yield();
    if (what == "cancelled")
        watch.cancelled = true;
    else if (what == "opened")
        Put(rig.folder.filePath(u".~lock.book.xlsx#"_qs), {});
    else if (what == "changed")
        Put(rig.name, otherBytes);
    else
        QFile::remove(rig.name);
    writer.join();
    QCOMPARE(written, result);
    QCOMPARE(rig.Neighbours(), QStringList());
    QCOMPARE(QFile::exists(rig.name), !sheets.isEmpty());
    if (!sheets.isEmpty())
        QCOMPARE(SheetNames(rig.name), sheets);
}

void XlsxFileTest::FullDisk()
{
    BookRig rig;
    const QByteArray before = Contents(rig.name);
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    rlimit limit{};
    ::getrlimit(RLIMIT_FSIZE, &limit);
    constexpr rlim_t little = 50'000;
    const rlimit lower{little, limit.rlim_max};
    ::setrlimit(RLIMIT_FSIZE, &lower);
    QString error;
    const WriteResult result = AddTo(rig.name, u"T"_qs, &error);
    ::setrlimit(RLIMIT_FSIZE, &limit);
    std::signal(SIGXFSZ, handler);
    QCOMPARE(result, WriteResult::Failed);
    QCOMPARE(error, Text(Str::BookNotWritten).arg(qt_error_string(EFBIG)));
    QCOMPARE(Contents(rig.name), before);
    QCOMPARE(rig.Files().size(), 1);
}

void XlsxFileTest::SweepsLeftovers()
{
    BookRig rig;
    QProcess gone;
    gone.start(u"true"_qs, QStringList());
    QVERIFY(gone.waitForStarted());
    const QString dead = u".px40-%1-ab.tmp"_qs.arg(gone.processId());
    QVERIFY(gone.waitForFinished());
    const QString init = u".px40-1-ab.tmp"_qs;
    const QString ours = u".px40-%1-ab.tmp"_qs.arg(::getpid());
    const QString other = u".px40-notes.tmp"_qs;
    for (const QString &name : {dead, init, ours, other})
        QVERIFY(Put(rig.folder.filePath(name), "x"));
    Replacement writing(rig.name);
    QVERIFY(writing.Open());
    const QStringList before = rig.Neighbours();
    XlsxFile::Sweep(rig.name);
    QStringList left = before;
    left.removeAll(dead);
    left.removeAll(ours);
    QCOMPARE(left.size(), 3);
    QCOMPARE(rig.Neighbours(), left);
}

QTEST_GUILESS_MAIN(XlsxFileTest)
#include "xlsxfile_test.moc"
