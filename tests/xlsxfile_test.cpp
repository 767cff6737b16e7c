#include "platform/replacefile.h"
#include "resources/strings.h"
#include "tests/bookrig.h"
#include "tests/support.h"

#include <QDir>
#include <QProcess>

#include <pugixml.hpp>

#include <functional>
#include <thread>
#include <tuple>

#include <unistd.h>

using namespace px40;

namespace {

/// Whether `now` has all of `was`, in its order, and at most children behind the others that it had.
bool Extends(const pugi::xml_node &was, const pugi::xml_node &now)
{
    if (std::string_view(was.name()) != now.name() || std::string_view(was.value()) != now.value())
        return false;
    for (const pugi::xml_attribute &attribute : was.attributes()) {
        const std::string_view name = attribute.name();
        if (name != "count" && std::string_view(now.attribute(attribute.name()).value()) != attribute.value())
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

/// Parts that are pointed at without being there, what must differ and does not, a second sheet in the fore.
QStringList Faults(const QMap<QByteArray, EntryState> &entries)
{
    QStringList faults;
    const QString names = u'/' + QString::fromUtf8(entries.keys().join("\n/")) + u'\n';
    for (auto entry = entries.begin(); entry != entries.end(); ++entry) {
        pugi::xml_document document;
        if (!document.load_string(entry->text.constData()))
            continue;
        const QString name = QString::fromUtf8(entry.key());
        const QDir folder(u'/' + name.left(name.indexOf(u"_rels/"_qs, 0, Qt::CaseInsensitive)));
        for (const pugi::xpath_node &target : document.select_nodes("//@Target")) {
            const QString part = QString::fromUtf8(target.attribute().value());
            if (!names.contains(QDir::cleanPath(folder.absoluteFilePath(part)) + u'\n', Qt::CaseInsensitive))
                faults += part;
        }
        if (document.select_node("//@tabSelected | //*[@Id = preceding-sibling::*/@Id] | "
                                 "//*[@PartName = preceding-sibling::*/@PartName] | "
                                 "//*[@sheetId = preceding-sibling::*/@sheetId] | "
                                 "//*[@Extension = preceding-sibling::*/@Extension] | "
                                 "//*[@quotePrefix = preceding-sibling::*/@quotePrefix]"))
            faults += name;
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
    void NamesTheSheet();
    void GoesThroughLinks();
    void Meanwhile();
    void FullDisk();
    void SweepsLeftovers();
};

void XlsxFileTest::AddsASheet_data()
{
    QTest::addColumn<int>("additions");
    for (const char *guise : {"plain", "prefixed", "strict", "macros", "chart sheet", "absolute targets",
                              "prefix on each sheet", "bare styles", "names taken", "other case"})
        QTest::newRow(guise) << 5;
    QTest::newRow("without styles") << 6;
}

void XlsxFileTest::AddsASheet()
{
    QFETCH(int, additions);
    int changes = 9 - additions;
    const QByteArrayList mayChange = {"[content_types].xml", "xl/_rels/workbook.xml.rels", "xl/styles.xml",
                                      "xl/workbook.xml"};
    BookRig rig(BookLike(QTest::currentDataTag()), u"it's a \"book\" αβγ.xlsm"_qs);
    QFile::setPermissions(rig.name, QFile::ReadOwner | QFile::WriteOwner | QFile::ReadGroup);
    const QFile::Permissions permissions = QFile::permissions(rig.name);
    const QStringList names = SheetNames(rig.name);
    const auto before = ReadPackage(rig.name);
    QCOMPARE(XlsxFile::WhyNot(rig.name), QString());
    QCOMPARE(AddTo(rig.name, u"One"_qs), WriteResult::Done);

    const auto after = ReadPackage(rig.name);
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
    QCOMPARE(rig.Neighbours(), QStringList());

    // Another sheet finds the looks that it needs.
    QCOMPARE(AddTo(rig.name, {}), WriteResult::Done);
    const auto both = ReadPackage(rig.name);
    QCOMPARE(both["xl/styles.xml"].kept, after["xl/styles.xml"].kept);
    QCOMPARE(Faults(both), QStringList());
}

void XlsxFileTest::NamesTheSheet()
{
    const std::pair<QString, QString> rows[] = {
        {u"Furnace 3"_qs, u"Furnace 3"_qs},
        {u"oNE"_qs, u"oNE (2)"_qs}, // taken
        {{}, u"PX40 1"_qs},
        {u" '[]:*?/\\'\u0001\t"_qs, u"PX40 1"_qs}, // nothing left
        {u"'a[b]:c*d?e/f\\g\u0007h'"_qs, u"a b c d e f g h"_qs},
        {u"history"_qs, u"history (2)"_qs}, // reserved
        {u"<&>\"=1+1"_qs, u"<&>\"=1+1"_qs},
        {QString(300, u'x'), QString(31, u'x')},
        {QString(30, u'x') + u"'y"_qs, QString(30, u'x')}, // what the cut leaves at the end
        {QString(30, u'x') + u"\U0001F600"_qs, QString(30, u'x')},
    };
    for (const auto &[title, name] : rows) {
        const BookRig rig;
        QCOMPARE(AddTo(rig.name, title), WriteResult::Done);
        QCOMPARE(SheetNames(rig.name), QStringList({u"One"_qs, name}));
    }
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
    QVERIFY(ReadPackage(rig.name)["[Content_Types].xml"].text.contains("Extension=\"rels\""));
    QCOMPARE(rig.Neighbours(), QStringList());
}

void XlsxFileTest::Meanwhile()
{
    const BookRig two(Changed(PlainBook(), "xl/workbook.xml", "\"One\"", "\"Two\""));
    const QByteArray twoBytes = Contents(two.name);
    BookRig rig;
    WriteWatch watch;
    const QString lock = rig.folder.filePath(u".~lock.book.xlsx#"_qs);
    const auto overwrite = [&] { // in one piece: there is no moment at which it is no workbook
        QFile book(rig.name);
        book.open(QIODevice::ReadWrite | QIODevice::Unbuffered);
        book.write(twoBytes);
        book.resize(twoBytes.size());
    };
    // What happens while the file is written, how that ends, and which sheets are there then.
    const std::tuple<std::function<void()>, WriteResult, QStringList> rows[] = {
        {[&] { watch.cancelled = true; }, WriteResult::Cancelled, {u"One"_qs}},
        {[&] { Put(lock, {}); }, WriteResult::InUse, {u"One"_qs}},
        {overwrite, WriteResult::Done, {u"Two"_qs, u"T"_qs}},
        {[&] { QFile::remove(rig.name); }, WriteResult::Failed, {}},
    };
    for (const auto &[happens, result, sheets] : rows) {
        XlsxFile file(u"T"_qs);
        constexpr int manyRows = 200'000;
        QCOMPARE(Fill(file, rig.name, manyRows), SheetStep::Done);
        WriteResult written = WriteResult::Done;
        std::thread writer([&] { written = file.Write(&watch); });
        while (rig.Neighbours().isEmpty())
            std::this_thread::yield();
        happens();
        writer.join();
        watch.cancelled = false;
        QFile::remove(lock);
        QCOMPARE(written, result);
        QCOMPARE(rig.Neighbours(), QStringList());
        QCOMPARE(QFile::exists(rig.name) ? SheetNames(rig.name) : QStringList(), sheets);
    }
}

void XlsxFileTest::FullDisk()
{
    for (const bool isNew : {false, true}) {
        BookRig rig;
        const QByteArray before = isNew ? QByteArray() : Contents(rig.name);
        if (isNew)
            QVERIFY(QFile::remove(rig.name));
        const px40::FullDisk disk(1000);
        XlsxFile file(u"T"_qs);
        file.SetNewName(rig.name);
        QCOMPARE(Fill(file, isNew ? QString() : rig.name), SheetStep::Done);
        WriteWatch watch;
        QCOMPARE(file.Write(&watch), WriteResult::Failed);
        const QString told =
            isNew ? u"Nothing was saved: "_qs : u"Nothing was saved, the old file is whole: "_qs;
        QCOMPARE(QString::fromStdString(file.ErrorText()), told + qt_error_string(EFBIG));
        QCOMPARE(Contents(rig.name), before);
        QCOMPARE(QFile::exists(rig.name), !isNew);
        QCOMPARE(rig.Neighbours(), QStringList());
    }
}

void XlsxFileTest::SweepsLeftovers()
{
    BookRig rig;
    QProcess gone;
    gone.start(u"true"_qs, QStringList());
    QVERIFY(gone.waitForStarted());
    const QString dead = u".px40-%1-ab.tmp"_qs.arg(gone.processId());
    QVERIFY(gone.waitForFinished());
    const QString ours = u".px40-%1-ab.tmp"_qs.arg(::getpid());
    for (const QString &name : {dead, ours, u".px40-1-ab.tmp"_qs, u".px40-notes.tmp"_qs})
        QVERIFY(Put(rig.folder.filePath(name), "x"));
    Replacement writing(rig.name);
    QVERIFY(writing.Open());
    QStringList left = rig.Neighbours();
    QVERIFY(left.removeAll(dead) == 1 && left.removeAll(ours) == 1 && left.size() == 3);
    XlsxFile::Sweep(rig.name);
    QCOMPARE(rig.Neighbours(), left);
}

QTEST_GUILESS_MAIN(XlsxFileTest)
#include "xlsxfile_test.moc"
