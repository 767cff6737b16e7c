#include "resources/strings.h"
#include "tests/bookrig.h"
#include "tests/support.h"

using namespace px40;

namespace {

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

} // namespace

/// Files that take no sheet, for what they are or for who has them open.
class BookRefusalTest : public QObject
{
    Q_OBJECT

  private Q_SLOTS:
    void Refuses_data();
    void Refuses();
    void KeepsOffOpenWorkbooks_data();
    void KeepsOffOpenWorkbooks();
};

void BookRefusalTest::Refuses_data()
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

void BookRefusalTest::Refuses()
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

void BookRefusalTest::KeepsOffOpenWorkbooks_data()
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

void BookRefusalTest::KeepsOffOpenWorkbooks()
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

QTEST_GUILESS_MAIN(BookRefusalTest)
#include "bookrefusal_test.moc"
