#include "resources/strings.h"
#include "tests/bookrig.h"
#include "tests/support.h"

#include <tuple>

using namespace px40;

namespace {

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

QByteArray BytesOf(const BookParts &parts)
{
    const BookRig rig(parts);
    return Contents(rig.name);
}

} // namespace

/// Files that take no sheet, for what they are or for who has them open.
class BookRefusalTest : public QObject
{
    Q_OBJECT

  private Q_SLOTS:
    void Refuses();
    void KeepsOffOpenWorkbooks();
};

void BookRefusalTest::Refuses()
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
    const QString damaged = Text(Str::BookDamaged);

    const std::tuple<const char *, QByteArray, QString> rows[] = {
        {"missing", {}, Text(Str::ForwardFileNotFound)},
        {"text", "1,2,3", Text(Str::BookNone)},
        {"older kind", Compound(u"Workbook"), Text(Str::BookLegacy)},
        {"password", Compound(u"EncryptedPackage"), Text(Str::BookEncrypted)},
        {"other compound file", Compound(u"WordDocument"), Text(Str::BookNone)},
        {"zip without a workbook", BytesOf({{"a", "b"}}), Text(Str::BookNone)},
        {"other document", changed("workbook", "document"), Text(Str::BookNone)},
        {"binary", BytesOf(binary), Text(Str::BookBinary)},
        {"OpenDocument", with("mimetype", "application/vnd.oasis.opendocument.spreadsheet"),
         Text(Str::BookOpenDocument)},
        {"signed", with("_xmlsignatures/sig1.xml", "<Signature/>"), Text(Str::BookSigned)},
        {"protected", changed("<bookViews>", "<workbookProtection lockStructure='1'/><bookViews>"),
         Text(Str::BookProtected)},
        {"no list of sheets", changed("sheets>", "shoots>"), damaged.arg(u"xl/workbook.xml"_qs)},
        {"cut off", good.left(good.size() / 2), damaged.arg(Text(Str::BookEndMissing))},
        {"huge part", changed("<bookViews>", QByteArray(65 << 20, ' ') + "<bookViews>"),
         Text(Str::BookTooLarge)},
        {"read-only", good, Text(Str::BookReadOnly)},
    };
    for (const auto &[what, bytes, sentence] : rows) {
        const QTemporaryDir folder;
        const QString name = folder.filePath(u"book.xlsx"_qs);
        if (!bytes.isEmpty())
            QVERIFY(Put(name, bytes));
        if (sentence == Text(Str::BookReadOnly))
            QFile::setPermissions(name, QFile::ReadOwner | QFile::ReadGroup);
        const QString reason = XlsxFile::WhyNot(name);
        QVERIFY2(reason == sentence, what);
        XlsxFile file(u"T"_qs);
        QCOMPARE(Fill(file, name), SheetStep::Failed);
        WriteWatch watch;
        for (int attempt = 0; attempt < 2; ++attempt) {
            QCOMPARE(QString::fromStdString(file.ErrorText()), reason);
            QCOMPARE(file.Write(&watch), WriteResult::Failed);
        }
        QCOMPARE(Contents(name), bytes);
        QCOMPARE(QDir(folder.path()).entryList(QDir::Files | QDir::Hidden).size(), bytes.isEmpty() ? 0 : 1);
    }
}

void BookRefusalTest::KeepsOffOpenWorkbooks()
{
    const QString libreOffice = u".~lock.book.xlsx#"_qs;
    const QString excel = u"~$book.xlsx"_qs;
    const std::tuple<QString, QByteArray, QString> rows[] = {
        {libreOffice, "Ann\\, B,ann,bench,20.11.2026 10:00,file:///x;", u"Ann, B on bench"_qs},
        {libreOffice, ",ann,bench,,;", u"ann on bench"_qs},
        {libreOffice, {}, u"LibreOffice"_qs},
        {excel, ExcelOwner(u"Ζωή"_qs), u"Ζωή"_qs},
        {excel, ExcelOwner(u"Zoë"_qs).left(55), u"Zoë"_qs}, // without the name in UTF-16
        {excel, {}, u"Excel"_qs},
    };
    for (const auto &[lock, bytes, holder] : rows) {
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
}

QTEST_GUILESS_MAIN(BookRefusalTest)
#include "bookrefusal_test.moc"
