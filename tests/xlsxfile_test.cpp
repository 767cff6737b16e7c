#include "forward/replacement.h"
#include "forward/xlsxfile.h"
#include "resources/strings.h"
#include "tests/booksamples.h"
#include "tests/support.h"

#include <QDir>
#include <QProcess>
#include <QRegularExpression>
#include <QScopeGuard>

#include <pugixml.hpp>

#include <csignal>
#include <thread>

#include <sys/resource.h>
#include <unistd.h>

using namespace px40;

namespace {

const QStringList AddedParts = {u"xl/charts/chart1.xml"_qs, u"xl/drawings/_rels/drawing1.xml.rels"_qs,
                                u"xl/drawings/drawing1.xml"_qs, u"xl/worksheets/_rels/sheet2.xml.rels"_qs,
                                u"xl/worksheets/sheet2.xml"_qs};
const QStringList ChangedParts = {u"[Content_Types].xml"_qs, u"xl/_rels/workbook.xml.rels"_qs,
                                  u"xl/styles.xml"_qs, u"xl/workbook.xml"_qs};

/// Opens that workbook, or the file as a new one, and sets `rows` rows and a chart.
SheetStep Fill(XlsxFile &file, const QString &workbook, int rows = 1)
{
    const SheetStep opened = file.OpenOrAdd(workbook.toStdString());
    for (int row = 1; row <= rows; ++row)
        file.SetCell(row, 1, CellFormat::General, std::to_string(row) + ".25");
    file.SetCell(1, 2, CellFormat::Text, "=1+1");
    file.SetBorder({1, 1, 1, 2}, Edge::Top, BorderWeight::Medium);
    file.Centre({1, 1, 1, 1});
    file.AddChart({{1, 1, rows, 2}, 8, 8, 400, 200, "T"});
    return opened;
}

WriteResult AddTo(const QString &workbook, const QString &title, QString *error = nullptr)
{
    XlsxFile file(title);
    WriteWatch watch;
    Fill(file, workbook);
    const WriteResult result = file.Write(&watch);
    if (error)
        *error = QString::fromStdString(file.ErrorText());
    return result;
}

void Load(pugi::xml_document &document, const QByteArray &text)
{
    if (!document.load_buffer(text.constData(), static_cast<std::size_t>(text.size())))
        QFAIL(text.constData());
}

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

std::string Local(const char *name)
{
    return std::string("//*[local-name()='") + name + "']";
}

QStringList SheetNames(const QString &workbook)
{
    QStringList names;
    pugi::xml_document document;
    const QMap<QByteArray, EntryState> parts = ReadPackage(workbook);
    Load(document,
         parts.contains("XL/WORKBOOK.XML") ? parts["XL/WORKBOOK.XML"].text : parts["xl/workbook.xml"].text);
    for (const pugi::xpath_node &sheet : document.select_nodes(Local("sheet").c_str()))
        names += QString::fromUtf8(sheet.node().attribute("name").value());
    return names;
}

/// The bytes of an owner file as Excel lays it beside a workbook.
QByteArray ExcelOwner(const QString &name)
{
    constexpr int room = 54;
    const auto length = static_cast<char>(name.size());
    QByteArray bytes = length + name.toLatin1().leftJustified(room);
    bytes += QByteArray(1, length) + '\0';
    for (const QChar character : name)
        bytes += QByteArray(1, static_cast<char>(character.cell())) + static_cast<char>(character.row());
    return bytes;
}

QByteArray Compound(QStringView stream)
{
    QByteArray bytes = QByteArray("\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1").leftJustified(512, '\0');
    bytes[48] = 3; // the directory stands in sector 3, the fourth behind the header
    bytes = bytes.leftJustified(512 * 4, '\0');
    for (const QChar character : stream)
        bytes += QByteArray(1, static_cast<char>(character.cell())) + '\0';
    return bytes;
}

bool Put(const QString &name, const QByteArray &bytes)
{
    QFile file(name);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

/// A workbook in a folder of its own.
struct BookRig
{
    explicit BookRig(const BookParts &parts = PlainBook(), const QString &fileName = u"book.xlsx"_qs)
        : name(folder.filePath(fileName))
    {
        written = WritePackage(name, parts);
    }
    QStringList Files() const
    {
        return QDir(folder.path()).entryList(QDir::Files | QDir::Hidden, QDir::Name);
    }
    QStringList Neighbours() const { return Files().filter(u".px40-"_qs); }

    QTemporaryDir folder;
    QString name;
    bool written = false;
};

} // namespace

/// A sheet in a workbook file, and all the ways in which it is not to be.
class XlsxFileTest : public QObject
{
    Q_OBJECT

  private Q_SLOTS:
    void AddsASheet_data();
    void AddsASheet();
    void NamesTheSheet_data();
    void NamesTheSheet();
    void Refuses_data();
    void Refuses();
    void KeepsOffOpenWorkbooks_data();
    void KeepsOffOpenWorkbooks();
    void GoesThroughLinks();
    void Meanwhile_data();
    void Meanwhile();
    void FullDisk();
    void SweepsLeftovers();
};

void XlsxFileTest::AddsASheet_data()
{
    QTest::addColumn<QStringList>("added");
    QTest::addColumn<QStringList>("changed");
    for (const char *guise : {"plain", "prefixed", "strict", "macros", "chart sheet", "200 sheets",
                              "absolute targets", "prefix on each sheet", "bare styles"})
        QTest::newRow(guise) << AddedParts << ChangedParts;
    QStringList withStyles = AddedParts;
    withStyles.insert(3, u"xl/styles1.xml"_qs);
    QStringList withoutStyles = ChangedParts;
    withoutStyles.removeAt(2);
    QTest::newRow("without styles") << withStyles << withoutStyles;
    QStringList other = AddedParts;
    other.replaceInStrings(u"sheet2"_qs, u"sheet4"_qs);
    other.replaceInStrings(QRegularExpression(u"(chart|drawing)1"_qs), u"\\12"_qs);
    QTest::newRow("names taken") << other << ChangedParts;
    QStringList upper = AddedParts;
    upper.replaceInStrings(u"xl/"_qs, u"XL/"_qs);
    QStringList upperChanged;
    for (const QString &part : ChangedParts)
        upperChanged += part.toUpper();
    QTest::newRow("other case") << AddedParts << upperChanged;
}

void XlsxFileTest::AddsASheet()
{
    QFETCH(QStringList, added);
    QFETCH(QStringList, changed);
    BookRig rig(BookLike(QTest::currentDataTag()), u"it's a \"book\" αβγ.xlsm"_qs);
    QFile::setPermissions(rig.name, QFile::ReadOwner | QFile::WriteOwner | QFile::ReadGroup);
    const QFile::Permissions permissions = QFile::permissions(rig.name);
    const QStringList names = SheetNames(rig.name);
    const QMap<QByteArray, EntryState> before = ReadPackage(rig.name);
    QCOMPARE(XlsxFile::WhyNot(rig.name), QString());
    QString error;
    QCOMPARE(AddTo(rig.name, u"One"_qs, &error), WriteResult::Done);
    QCOMPARE(error, QString());

    const QMap<QByteArray, EntryState> after = ReadPackage(rig.name);
    for (auto part = after.begin(); part != after.end(); ++part) {
        const QString name = QString::fromUtf8(part.key());
        if (!before.contains(part.key())) {
            QVERIFY2(added.removeOne(name), part.key().constData());
        } else if (before[part.key()].kept != part->kept) {
            QVERIFY2(changed.removeOne(name), part.key().constData());
            pugi::xml_document was;
            pugi::xml_document now;
            Load(was, before[part.key()].text);
            Load(now, part->text);
            QVERIFY2(Extends(was.document_element(), now.document_element()), part->text.constData());
            for (const pugi::xpath_node &list : now.select_nodes("//*[@count]"))
                QCOMPARE(list.node().attribute("count").as_llong(),
                         std::distance(list.node().begin(), list.node().end()));
        }
    }
    QCOMPARE(added + changed, QStringList());
    QCOMPARE(SheetNames(rig.name), names + QStringList{u"One (2)"_qs});
    QCOMPARE(QFile::permissions(rig.name), permissions);
    QCOMPARE(rig.Files().size(), 1);

    // A second sheet of the same looks goes beside it.
    QCOMPARE(AddTo(rig.name, {}), WriteResult::Done);
    QCOMPARE(SheetNames(rig.name).size(), names.size() + 2);
    const QByteArray styles = "xl/styles.xml";
    QCOMPARE(ReadPackage(rig.name)[styles].kept, after[styles].kept);
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
    QTest::newRow("half a pair") << QString(QChar(0xD83D)) + u"x"_qs << u"x"_qs;
}

void XlsxFileTest::NamesTheSheet()
{
    QFETCH(QString, title);
    QFETCH(QString, name);
    BookRig rig;
    QCOMPARE(AddTo(rig.name, title), WriteResult::Done);
    QCOMPARE(SheetNames(rig.name), QStringList({u"One"_qs, name}));
}

void XlsxFileTest::Refuses_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("sentence");
    const auto bytesOf = [](const BookParts &parts) {
        const BookRig rig(parts);
        return Contents(rig.name);
    };
    const auto changed = [&bytesOf](const QByteArray &part, const QByteArray &before,
                                    const QByteArray &after) {
        BookParts parts = PlainBook();
        Change(parts, part, before, after);
        return bytesOf(parts);
    };
    const auto with = [&bytesOf](const QByteArray &part, const QByteArray &text) {
        return bytesOf(PlainBook() << std::pair{part, text});
    };
    const QByteArray good = bytesOf(PlainBook());
    const QByteArray book = "xl/workbook.xml";
    BookParts document = PlainBook();
    Change(document, book, "<workbook xmlns", "<document xmlns");
    Change(document, book, "</workbook>", "</document>");
    BookParts binary = PlainBook();
    Change(binary, "_rels/.rels", "workbook.xml", "workbook.bin");
    binary << std::pair{QByteArray("xl/workbook.bin"), QByteArray("\x83\x01")};
    QByteArray broken = good;
    broken[good.indexOf(book) + book.size() + 40] ^= 0x55;
    const QString damaged = Text(Str::BookDamaged);

    QTest::newRow("missing") << QByteArray() << Text(Str::ForwardFileNotFound);
    QTest::newRow("text") << QByteArray("1,2,3") << Text(Str::BookNone);
    QTest::newRow("older kind") << Compound(u"Workbook") << Text(Str::BookLegacy);
    QTest::newRow("password") << Compound(u"EncryptedPackage") << Text(Str::BookEncrypted);
    QTest::newRow("other compound file") << Compound(u"WordDocument") << Text(Str::BookNone);
    QTest::newRow("zip without a workbook") << bytesOf({{"a", "b"}}) << Text(Str::BookNone);
    QTest::newRow("other document") << bytesOf(document) << Text(Str::BookNone);
    QTest::newRow("binary") << bytesOf(binary) << Text(Str::BookBinary);
    QTest::newRow("OpenDocument") << with("mimetype", "application/vnd.oasis.opendocument.spreadsheet")
                                  << Text(Str::BookOpenDocument);
    QTest::newRow("signed") << with("_xmlsignatures/sig1.xml", "<Signature/>") << Text(Str::BookSigned);
    QTest::newRow("protected") << changed(book, "<bookViews>",
                                          "<workbookProtection lockStructure='1'/><bookViews>")
                               << Text(Str::BookProtected);
    QTest::newRow("no list of sheets")
        << changed(book, "sheets>", "shoots>") << damaged.arg(u"xl/workbook.xml"_qs);
    QTest::newRow("cut off") << good.left(good.size() / 2) << damaged.arg(Text(Str::BookEndMissing));
    QTest::newRow("huge part") << changed(book, "<bookViews>", QByteArray(65 << 20, ' ') + "<bookViews>")
                               << Text(Str::BookTooLarge);
    QTest::newRow("broken") << broken << QString();
    QTest::newRow("read-only") << good << Text(Str::BookReadOnly);
}

void XlsxFileTest::Refuses()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QString, sentence);
    const QTemporaryDir folder;
    const QString name = folder.filePath(u"book.xlsx"_qs);
    if (!bytes.isEmpty())
        QVERIFY(Put(name, bytes));
    if (sentence == Text(Str::BookReadOnly))
        QFile::setPermissions(name, QFile::ReadOwner | QFile::ReadGroup);
    const QString reason = XlsxFile::WhyNot(name);
    QVERIFY(!reason.isEmpty());
    if (!sentence.isEmpty())
        QCOMPARE(reason, sentence);
    XlsxFile file(u"T"_qs);
    QCOMPARE(Fill(file, name), SheetStep::Failed);
    QCOMPARE(QString::fromStdString(file.ErrorText()), reason);
    WriteWatch watch;
    QCOMPARE(file.Write(&watch), WriteResult::Failed);
    QCOMPARE(QString::fromStdString(file.ErrorText()), reason);
    QCOMPARE(Contents(name), bytes);
    QCOMPARE(QDir(folder.path()).entryList(QDir::Files | QDir::Hidden).size(), bytes.isEmpty() ? 0 : 1);
}

void XlsxFileTest::KeepsOffOpenWorkbooks_data()
{
    QTest::addColumn<QString>("lock");
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("holder");
    const QString libreOffice = u".~lock.book.xlsx#"_qs;
    const QString excel = u"~$book.xlsx"_qs;
    QTest::newRow("LibreOffice") << libreOffice
                                 << QByteArray("Ann\\, B,ann,bench,20.11.2026 10:00,file:///x;")
                                 << u"Ann, B on bench"_qs;
    QTest::newRow("LibreOffice, login") << libreOffice << QByteArray(",ann,bench,,;") << u"ann on bench"_qs;
    QTest::newRow("LibreOffice, nothing") << libreOffice << QByteArray() << u"LibreOffice"_qs;
    QTest::newRow("Excel") << excel << ExcelOwner(u"Ζωή"_qs) << u"Ζωή"_qs;
    QTest::newRow("Excel, narrow") << excel << ExcelOwner(u"Zoë"_qs).left(55) << u"Zoë"_qs;
    QTest::newRow("Excel, nothing") << excel << QByteArray() << u"Excel"_qs;
}

void XlsxFileTest::KeepsOffOpenWorkbooks()
{
    QFETCH(QString, lock);
    QFETCH(QByteArray, bytes);
    QFETCH(QString, holder);
    BookRig rig;
    const QByteArray before = Contents(rig.name);
    XlsxFile file(u"T"_qs);
    QCOMPARE(Fill(file, rig.name), SheetStep::Done);
    QVERIFY(Put(rig.folder.filePath(lock), bytes));
    QCOMPARE(XlsxFile::HolderOf(rig.name), holder);
    WriteWatch watch;
    QCOMPARE(file.Write(&watch), WriteResult::InUse);
    QVERIFY(QString::fromStdString(file.ErrorText()).contains(holder));
    QCOMPARE(Contents(rig.name), before);
    QFile::remove(rig.folder.filePath(lock));
    QCOMPARE(file.Write(&watch), WriteResult::Done);
    QCOMPARE(watch.permille.load(), 1000);
    QCOMPARE(SheetNames(rig.name), QStringList({u"One"_qs, u"T"_qs}));
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
