#include "forward/bookfailuretext.h"
#include "testing/books.h"
#include "testing/rows.h"

#include <QDir>
#include <QFileInfo>
#include <QRegularExpression>

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
                                 "//*[@quotePrefix = preceding-sibling::*/@quotePrefix] | "
                                 "//*[local-name()='Types'][not(*[@Extension='rels'])]"))
            faults += name;
    }
    return faults;
}

/// As it stands in files: two bytes a character, the lower one first.
QByteArray Wide(QStringView text)
{
    QByteArray bytes;
    for (const QChar character : text)
        bytes += QByteArray(1, static_cast<char>(character.cell())) + static_cast<char>(character.row());
    return bytes;
}

/// The bytes of an owner file as Excel lays it beside a workbook.
QByteArray ExcelOwner(const QString &name)
{
    constexpr int room = 54;
    const QByteArray length(1, static_cast<char>(name.size()));
    return length + name.toLatin1().leftJustified(room) + length + '\0' + Wide(name);
}

QByteArray Compound(QStringView stream)
{
    QByteArray bytes = QByteArray("\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1").leftJustified(512, '\0');
    bytes[48] = 3; // the directory stands in sector 3, the fourth behind the header
    return bytes.leftJustified(512 * 4, '\0') + Wide(stream);
}

using Guise = std::pair<BookParts, int>;               // a workbook, and how many parts are added to it
using Names = std::pair<QString, QString>;             // a title, and the name of its sheet
using Lock = std::tuple<QString, QByteArray, QString>; // its name and bytes, and who holds the workbook

QByteArray BytesOf(const BookParts &parts)
{
    const BookRig rig(parts);
    return Contents(rig.name);
}

} // namespace

/// A sheet in the file of a workbook, and files that take none, for what they are or for who has them open.
class WorkbookTest : public QObject
{
    Q_OBJECT

  private Q_SLOTS:
    void AddsASheet_data()
    {
        const QByteArray office = "http://schemas.openxmlformats.org/officeDocument/2006/relationships";
        const QByteArray main = "http://schemas.openxmlformats.org/spreadsheetml/2006/main";
        const QByteArray types = "[Content_Types].xml";
        const QByteArray book = "xl/workbook.xml";
        const QByteArray links = "xl/_rels/workbook.xml.rels";
        const BookParts plain = PlainBook();

        BookParts prefixed = plain;
        static const QRegularExpression tag(u"<(/?)(?=[A-Za-z])"_qs);
        for (auto &[name, text] : prefixed)
            text = QString::fromUtf8(text).replace(tag, u"<\\1x:"_qs).toUtf8();
        BookParts strict = Changed(plain, {}, main, "http://purl.oclc.org/ooxml/spreadsheetml/main");
        strict = Changed(strict, {}, office, "http://purl.oclc.org/ooxml/officeDocument/relationships");
        BookParts chartSheet =
            Changed(plain, book, "</sheets>", R"(<sheet name="PX40 1" sheetId="9" r:id="rId9"/></sheets>)");
        chartSheet = Changed(chartSheet, links, "</R",
                             R"(<Relationship Id="rId9" Target="chartsheets/sheet1.xml"/></R)");
        chartSheet.emplace_back("xl/chartsheets/sheet1.xml", "<chartsheet/>");
        BookParts taken =
            Changed(plain, types, "</Types>", R"(<Override PartName="/xl/worksheets/sheet3.xml"/></Types>)");
        for (const char *name :
             {"xl/worksheets/Sheet2.xml", "xl/charts/chart1.xml", "xl/drawings/_rels/drawing1.xml.rels"})
            taken.emplace_back(name, "<Relationships/>");
        BookParts bare = plain;
        bare[4].second = "<styleSheet xmlns=\"" + main + "\"/>";
        BookParts otherCase = plain;
        for (auto &[name, text] : otherCase)
            name = name == book ? name : name.toUpper();

        AddRows<Guise>({
            {"plain", {plain, 5}},
            {"prefixed", {Changed(prefixed, {}, "xmlns=", "xmlns:x="), 5}},
            {"strict", {strict, 5}},
            {"macros",
             {Changed(plain, types, "vnd.openxmlformats-officedocument.spreadsheetml.sheet.main",
                      "vnd.ms-excel.sheet.macroEnabled.main"),
              5}},
            {"chart sheet", {chartSheet, 5}},
            {"absolute targets",
             {Changed(Changed(plain, {}, "Target=\"", "Target=\"/xl/"), {}, "/xl/xl/", "/xl/"), 5}},
            {"prefix on each sheet",
             {Changed(Changed(plain, book, " xmlns:r=\"" + office + '"', {}), book,
                      "r:id=", "xmlns:d=\"" + office + "\" d:id="),
              5}},
            {"bare styles", {bare, 5}},
            {"names taken", {taken, 5}},
            {"other case", {otherCase, 5}},
            {"no kind of relationships", {Changed(plain, types, "\"rels\"", "\"other\""), 5}},
            {"without styles", {Changed(plain, links, "/styles\"", "/other\""), 6}},
        });
    }

    void AddsASheet()
    {
        const auto [parts, additions] = ThisRow<Guise>();
        int changes = 9 - additions;
        const QByteArrayList mayChange = {"[content_types].xml", "xl/_rels/workbook.xml.rels",
                                          "xl/styles.xml", "xl/workbook.xml"};
        BookRig rig(parts, u"it's a 'book' αβγ.xlsm"_qs);
        QFile::setPermissions(rig.name, QFile::ReadOwner | QFile::WriteOwner | QFile::ReadGroup);
        const QFile::Permissions permissions = QFile::permissions(rig.name);
        const QStringList names = SheetNames(rig.name);
        const auto before = ReadPackage(rig.name);
        QCOMPARE(Why(CheckWorkbook(rig.name)), QString());
        QCOMPARE(AddTo(rig.name, u"One"_qs), QString());

        const auto after = ReadPackage(rig.name);
        QCOMPARE(after.size(), before.size() + additions);
        for (auto entry = before.begin(); entry != before.end(); ++entry) {
            if (after.value(entry.key()).kept == entry->kept)
                continue;
            --changes;
            QVERIFY2(mayChange.contains(entry.key().toLower()), entry.key().constData());
            pugi::xml_document was;
            pugi::xml_document now;
            was.load_string(entry->text.constData());
            now.load_string(after[entry.key()].text.constData());
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
        QCOMPARE(AddTo(rig.name, {}), QString());
        const auto both = ReadPackage(rig.name);
        QCOMPARE(both["xl/styles.xml"].kept, after["xl/styles.xml"].kept);
        QCOMPARE(Faults(both), QStringList());
    }

    void NamesTheSheet_data()
    {
        AddRows<Names>({
            {"plain", {u"Furnace 3"_qs, u"Furnace 3"_qs}},
            {"taken", {u"oNE"_qs, u"oNE (2)"_qs}},
            {"none", {QString(), u"PX40 1"_qs}},
            {"nothing left", {u" '[]:*?/\\'\u0001\t"_qs, u"PX40 1"_qs}},
            {"forbidden", {u"'a[b]:c*d?e/f\\g\u0007h'"_qs, u"a b c d e f g h"_qs}},
            {"reserved", {u"history"_qs, u"history (2)"_qs}},
            {"marks", {u"<&>\"=1+1"_qs, u"<&>\"=1+1"_qs}},
            {"long", {QString(300, u'x'), QString(31, u'x')}},
            {"what the cut leaves at the end", {QString(30, u'x') + u"'y"_qs, QString(30, u'x')}},
            {"half", {QString(30, u'x') + u"\U0001F600"_qs, QString(30, u'x')}},
        });
    }

    void NamesTheSheet()
    {
        const auto [title, name] = ThisRow<Names>();
        const BookRig rig;
        QCOMPARE(AddTo(rig.name, title), QString());
        QCOMPARE(SheetNames(rig.name), QStringList({u"One"_qs, name}));
    }

    void GoesThroughLinks()
    {
        PX40_NEEDS_UNIX();
        BookRig rig;
        const QTemporaryDir elsewhere;
        const QString link = elsewhere.filePath(u"link.xlsx"_qs);
        QVERIFY(QFile::link(rig.name, link));
        for (const QString &lock :
             {rig.folder.filePath(u".~lock.book.xlsx#"_qs), elsewhere.filePath(u"~$link.xlsx"_qs)}) {
            QVERIFY(Put(lock, {}));
            QCOMPARE(AddTo(link, u"T"_qs), Why(BookProblem::InUse));
            QVERIFY(QFile::remove(lock));
        }
        QCOMPARE(AddTo(link, u"T"_qs), QString());
        QVERIFY(QFileInfo(link).isSymbolicLink());
        QCOMPARE(SheetNames(rig.name), QStringList({u"One"_qs, u"T"_qs}));

        // A link to what is not there yet; a new workbook.
        QVERIFY(QFile::remove(rig.name));
        QCOMPARE(Write(WorkbookFile::New(link)), QString());
        QVERIFY(QFileInfo(link).isSymbolicLink());
        QCOMPARE(SheetNames(rig.name), QStringList(u"PX40 1"_qs));
        QVERIFY(ReadPackage(rig.name)["[Content_Types].xml"].text.contains("Extension=\"rels\""));
        QCOMPARE(rig.Neighbours(), QStringList());
    }

    void FullDisk_data() { AddRows<bool>({{"existing", false}, {"new", true}}); }

    void FullDisk()
    {
        if (!IsUnix)
            QSKIP("Nothing makes a disk full here.");
        const bool isNew = ThisRow<bool>();
        const BookRig rig;
        const QByteArray before = isNew ? QByteArray() : Contents(rig.name);
        if (isNew)
            QVERIFY(QFile::remove(rig.name));
        const auto disk = px40::FullDisk(1000);
        QCOMPARE(Write(isNew ? WorkbookFile::New(rig.name) : WorkbookFile::Existing(rig.name)),
                 Why(isNew ? BookProblem::NotMade : BookProblem::NotReplaced, qt_error_string(EFBIG)));
        QCOMPARE(Contents(rig.name), before);
        QCOMPARE(QFile::exists(rig.name), !isNew);
        QCOMPARE(rig.Neighbours(), QStringList());
    }

    void Refuses_data()
    {
        const BookParts plain = PlainBook();
        const QByteArray good = BytesOf(plain);
        const QByteArray book = "xl/workbook.xml";
        const auto changed = [&](const QByteArray &before, const QByteArray &after) {
            return BytesOf(Changed(plain, book, before, after));
        };
        const auto with = [&](const QByteArray &part, const QByteArray &text) {
            return BytesOf(BookParts(plain) << std::pair{part, text});
        };
        BookParts binary = Changed(plain, "_rels/.rels", "workbook.xml", "workbook.bin");
        binary.emplace_back("xl/workbook.bin", "\x83\x01");

        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QString>("sentence");
        const auto row = [](const char *name, const QByteArray &bytes, BookProblem problem,
                            const QString &detail = {}) {
            QTest::newRow(name) << bytes << Why(problem, detail);
        };
        row("missing", {}, BookProblem::Missing);
        row("text", "1,2,3", BookProblem::NoWorkbook);
        row("older kind", Compound(u"Workbook"), BookProblem::OlderKind);
        row("password", Compound(u"EncryptedPackage"), BookProblem::Encrypted);
        row("other compound file", Compound(u"WordDocument"), BookProblem::NoWorkbook);
        row("zip without a workbook", BytesOf({{"a", "b"}}), BookProblem::NoWorkbook);
        row("other document", changed("workbook", "document"), BookProblem::NoWorkbook);
        row("binary", BytesOf(binary), BookProblem::Binary);
        row("OpenDocument", with("mimetype", "application/vnd.oasis.opendocument.spreadsheet"),
            BookProblem::OpenDocument);
        row("signed", with("_xmlsignatures/sig1.xml", "<Signature/>"), BookProblem::Signed);
        row("protected", changed("<bookViews>", "<workbookProtection lockStructure='1'/><bookViews>"),
            BookProblem::Protected);
        row("no list of sheets", changed("sheets>", "shoots>"), BookProblem::Damaged, u"xl/workbook.xml"_qs);
        row("no relationships", BytesOf(Without("xl/_rels/workbook.xml.rels")), BookProblem::Damaged,
            u"xl/_rels/workbook.xml.rels"_qs);
        row("cut off", good.left(good.size() / 2), BookProblem::EndMissing);
        row("huge part", changed("<bookViews>", QByteArray(65 << 20, ' ') + "<bookViews>"),
            BookProblem::TooLarge);
        row("read-only", good, BookProblem::ReadOnly);
    }

    void Refuses()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(QString, sentence);
        const QTemporaryDir folder;
        const QString name = folder.filePath(u"book.xlsx"_qs);
        if (!bytes.isEmpty())
            QVERIFY(Put(name, bytes));
        if (sentence == Why(BookProblem::ReadOnly))
            QFile::setPermissions(name, QFile::ReadOwner | QFile::ReadGroup);
        QCOMPARE(Why(CheckWorkbook(name)), sentence);
        QCOMPARE(AddTo(name, u"T"_qs), sentence);
        QCOMPARE(Contents(name), bytes);
        QCOMPARE(QDir(folder.path()).entryList(QDir::Files | QDir::Hidden).size(), bytes.isEmpty() ? 0 : 1);
    }

    void KeepsOffOpenWorkbooks_data()
    {
        const QString libreOffice = u".~lock.book.xlsx#"_qs;
        const QString excel = u"~$book.xlsx"_qs;
        AddRows<Lock>({
            {"name and host",
             {libreOffice, "Ann\\, B,ann,bench,20.11.2026 10:00,file:///x;", u"Ann, B on bench"_qs}},
            {"login", {libreOffice, ",ann,bench,,;", u"ann on bench"_qs}},
            {"host alone", {libreOffice, ",,bench,,;", u"Another program on bench"_qs}},
            {"LibreOffice", {libreOffice, {}, u"LibreOffice"_qs}},
            {"wide name", {excel, ExcelOwner(u"Ζωή"_qs), u"Ζωή"_qs}},
            {"narrow name alone", {excel, ExcelOwner(u"Zoë"_qs).left(55), u"Zoë"_qs}},
            {"Excel", {excel, {}, u"Excel"_qs}},
        });
    }

    void KeepsOffOpenWorkbooks()
    {
        const auto [lock, bytes, holder] = ThisRow<Lock>();
        const BookRig rig;
        const QByteArray before = Contents(rig.name);
        QVERIFY(!HolderOf(rig.name));
        QVERIFY(Put(rig.folder.filePath(lock), bytes));
        const std::optional<BookHolder> found = HolderOf(rig.name);
        QVERIFY(found);
        QCOMPARE(BookHolderText(*found), holder);
        QCOMPARE(AddTo(rig.name, u"T"_qs), Why(BookProblem::InUse));
        QCOMPARE(Contents(rig.name), before);
    }
};

QTEST_GUILESS_MAIN(WorkbookTest)
#include "workbook_test.moc"
