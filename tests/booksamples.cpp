#include "tests/booksamples.h"

#include <QFile>
#include <QRegularExpression>

#include <zip.h>

namespace px40 {

namespace {

const QByteArray Office = "http://schemas.openxmlformats.org/officeDocument/2006/relationships";
const QByteArray Main = "http://schemas.openxmlformats.org/spreadsheetml/2006/main";
const QByteArray Content = "application/vnd.openxmlformats-officedocument.spreadsheetml.";

QByteArray Relationships(const QByteArray &inner)
{
    return "<?xml version=\"1.0\"?>\n"
           "<Relationships xmlns=\"http://schemas.openxmlformats.org/package/2006/relationships\">\n" +
           inner + "</Relationships>";
}

QByteArray Relation(const QByteArray &id, const QByteArray &kind, const QByteArray &target)
{
    return "  <Relationship Id=\"" + id + "\" Type=\"" + Office + '/' + kind + "\" Target=\"" + target +
           "\"/>\n";
}

QByteArray Override(const QByteArray &part, const QByteArray &kind)
{
    return "<Override PartName=\"/" + part + "\" ContentType=\"" + Content + kind + "+xml\"/>";
}

QByteArray Noise(qsizetype size)
{
    QByteArray bytes;
    for (quint32 i = 1; bytes.size() < size; ++i)
        bytes += static_cast<char>(i * 2654435761U >> 24);
    return bytes;
}

} // namespace

BookParts PlainBook()
{
    constexpr qsizetype imageSize = 100'000;
    return {
        {"[Content_Types].xml", "<?xml version=\"1.0\"?><Types "
                                "xmlns=\"http://schemas.openxmlformats.org/package/2006/content-types\">"
                                "<Default Extension=\"rels\" "
                                "ContentType=\"application/vnd.openxmlformats-package.relationships+xml\"/>"
                                "<Default Extension=\"xml\" ContentType=\"application/xml\"/>" +
                                    Override("xl/workbook.xml", "sheet.main") +
                                    Override("xl/worksheets/sheet1.xml", "worksheet") +
                                    Override("xl/styles.xml", "styles") + "</Types>"},
        {"_rels/.rels", Relationships(Relation("rId1", "officeDocument", "xl/workbook.xml"))},
        {"xl/workbook.xml",
         "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<workbook xmlns=\"" + Main + "\" xmlns:r=\"" + Office +
             "\">\n  <bookViews><workbookView activeTab=\"0\"/></bookViews>\n  <sheets><sheet name=\"One\" "
             "sheetId=\"7\" r:id=\"rId1\"/></sheets>\n  <definedNames><definedName name=\"Rate\" "
             "localSheetId=\"0\">One!$A$1 &amp; \"&lt;\"</definedName></definedNames></workbook>"},
        {"xl/_rels/workbook.xml.rels", Relationships(Relation("rId1", "worksheet", "worksheets/sheet1.xml") +
                                                     Relation("rId3", "styles", "styles.xml") +
                                                     Relation("rId2", "calcChain", "calcChain.xml"))},
        {"xl/styles.xml",
         "<?xml version=\"1.0\"?><styleSheet xmlns=\"" + Main +
             "\"><fonts count=\"1\"><font/></fonts><fills count=\"1\"><fill/></fills>\n<borders count=\"1\">"
             "<border/></borders><cellXfs count=\"2\"><xf numFmtId=\"0\" fontId=\"0\" quotePrefix=\"1\"/>"
             "<xf numFmtId=\"9\"/></cellXfs><dxfs count=\"0\"/></styleSheet>"},
        {"xl/worksheets/sheet1.xml", "<worksheet xmlns=\"" + Main + "\"><sheetData/></worksheet>"},
        {"xl/calcChain.xml", "<calcChain/>"},
        {"xl/comments1.xml", "<comments/>"},
        {"xl/tables/table1.xml", "<table/>"},
        {"xl/media/image1.png", Noise(imageSize)},
        {"docProps/app.xml", "<Properties><TitlesOfParts/></Properties>"},
    };
}

void Change(BookParts &parts, const QByteArray &name, const QByteArray &before, const QByteArray &after)
{
    bool found = false;
    for (auto &[part, text] : parts) {
        if (!name.isEmpty() && part != name)
            continue;
        found = found || text.contains(before);
        text.replace(before, after);
    }
    if (!found)
        qFatal("The sample has no %s", before.constData());
}

BookParts BookLike(const QByteArray &guise)
{
    BookParts parts = PlainBook();
    const QByteArray types = "[Content_Types].xml";
    const QByteArray book = "xl/workbook.xml";
    const QByteArray links = "xl/_rels/workbook.xml.rels";
    if (guise == "prefixed") {
        for (auto &[name, text] : parts) {
            if (name.endsWith("png"))
                continue;
            static const QRegularExpression tag(QStringLiteral("<(/?)(?=[A-Za-z])"));
            text = QString::fromUtf8(text).replace(tag, QStringLiteral("<\\1x:")).toUtf8();
            text.replace("xmlns=", "xmlns:x=");
        }
    } else if (guise == "strict") {
        Change(parts, {}, Main, "http://purl.oclc.org/ooxml/spreadsheetml/main");
        Change(parts, {}, Office, "http://purl.oclc.org/ooxml/officeDocument/relationships");
    } else if (guise == "without styles") {
        parts.removeIf([](const auto &part) { return part.first == "xl/styles.xml"; });
        Change(parts, types, Override("xl/styles.xml", "styles"), {});
        Change(parts, links, Relation("rId3", "styles", "styles.xml"), {});
    } else if (guise == "macros") {
        Change(parts, types, Content + "sheet.main", "application/vnd.ms-excel.sheet.macroEnabled.main");
        parts.emplace_back("xl/vbaProject.bin", Noise(3000));
    } else if (guise == "chart sheet") {
        Change(parts, book, "</sheets>", "<sheet name=\"PX40 1\" sheetId=\"9\" r:id=\"rId9\"/></sheets>");
        Change(parts, links, "</Rel", Relation("rId9", "chartsheet", "chartsheets/sheet1.xml") + "</Rel");
        parts.emplace_back("xl/chartsheets/sheet1.xml", "<chartsheet/>");
    } else if (guise == "200 sheets") {
        for (int i = 1; i < 200; ++i) {
            const QByteArray number = QByteArray::number(i + 100);
            const QByteArray sheet = "<sheet name=\"S" + number + "\" sheetId=\"" + number + "\" r:id=\"rId" +
                                     number + "\"/></sheets>";
            Change(parts, book, "</sheets>", sheet);
            Change(parts, links, "</Rel",
                   Relation("rId" + number, "worksheet", "worksheets/sheet1.xml") + "</Rel");
        }
    } else if (guise == "absolute targets") {
        Change(parts, {}, "Target=\"", "Target=\"/xl/");
        Change(parts, {}, "/xl/xl/", "/xl/");
    } else if (guise == "other case") {
        for (auto &[name, text] : parts)
            name = name.toUpper();
    } else if (guise == "names taken") {
        Change(parts, types, "</Types>", Override("xl/worksheets/sheet3.xml", "worksheet") + "</Types>");
        parts.emplace_back("xl/worksheets/Sheet2.xml", "<worksheet/>");
        parts.emplace_back("xl/charts/chart1.xml", "<chart/>");
        parts.emplace_back("xl/drawings/_rels/drawing1.xml.rels", "<Relationships/>");
    } else if (guise == "prefix on each sheet") {
        Change(parts, book, " xmlns:r=\"" + Office + '"', {});
        Change(parts, book, "r:id=", "xmlns:d=\"" + Office + "\" d:id=");
    } else if (guise == "bare styles") {
        parts[4].second = "<styleSheet xmlns=\"" + Main + "\"/>";
    }
    return parts;
}

bool WritePackage(const QString &file, const BookParts &parts)
{
    zip_t *archive = zip_open(QFile::encodeName(file).constData(), ZIP_CREATE | ZIP_TRUNCATE, nullptr);
    if (!archive)
        return false;
    zip_set_archive_comment(archive, "kept", 4);
    for (const auto &[name, text] : parts) {
        zip_source_t *source =
            zip_source_buffer(archive, text.constData(), static_cast<zip_uint64_t>(text.size()), 0);
        const zip_int64_t index = zip_file_add(archive, name.constData(), source, 0);
        const auto at = static_cast<zip_uint64_t>(index);
        constexpr time_t longAgo = 1'000'000'000;
        zip_file_set_mtime(archive, at, longAgo, 0);
        zip_file_set_comment(archive, at, "a comment", 9, 0);
        zip_file_set_external_attributes(archive, at, 0, ZIP_OPSYS_UNIX, 0100640U << 16);
        zip_set_file_compression(archive, at, index % 2 ? ZIP_CM_STORE : ZIP_CM_DEFLATE, 9);
    }
    return zip_close(archive) == 0;
}

BookEntries ReadPackage(const QString &file)
{
    BookEntries entries;
    zip_t *archive = zip_open(QFile::encodeName(file).constData(), ZIP_RDONLY | ZIP_CHECKCONS, nullptr);
    const zip_int64_t count = archive ? zip_get_num_entries(archive, 0) : 0;
    for (zip_int64_t i = 0; i < count; ++i) {
        const auto at = static_cast<zip_uint64_t>(i);
        zip_stat_t stat;
        zip_stat_index(archive, at, 0, &stat);
        const auto bytes = [archive, at](zip_uint64_t size, zip_flags_t flags) {
            QByteArray read(static_cast<qsizetype>(size), 0);
            zip_file_t *opened = zip_fopen_index(archive, at, flags);
            if (!opened || zip_fread(opened, read.data(), size) != read.size())
                read.clear();
            if (opened)
                zip_fclose(opened);
            return read;
        };
        zip_uint8_t system = 0;
        zip_uint32_t attributes = 0;
        zip_file_get_external_attributes(archive, at, 0, &system, &attributes);
        EntryState entry;
        entry.kept = QByteArray::number(stat.crc) + ' ' + QByteArray::number(stat.comp_method) + ' ' +
                     QByteArray::number(static_cast<qint64>(stat.mtime)) + ' ' +
                     QByteArray::number(attributes) + ' ' + zip_file_get_comment(archive, at, nullptr, 0) +
                     ' ' + bytes(stat.comp_size, ZIP_FL_COMPRESSED);
        entry.text = bytes(stat.size, 0);
        entries.insert(stat.name, entry);
    }
    if (archive) {
        entries.insert({}, {zip_get_archive_comment(archive, nullptr, 0), {}});
        zip_discard(archive);
    }
    return entries;
}

} // namespace px40
