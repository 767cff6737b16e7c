// Any bytes as a workbook: it takes a sheet, and then another one, while everything else in it stays as it
// is, or it is refused and stays as it is. Bytes that are no package are taken for the texts of its parts,
// with lines of "====" between them, so that the checksums of a package do not stop what they hold.

#include "fuzz/check.h"
#include "testing/files.h"
#include "xlsx/workbook.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <zip.h>

namespace px40 {

namespace {

const QTemporaryDir &Folder()
{
    static const QTemporaryDir folder;
    return folder;
}

bool IsPackage(const QByteArray &bytes)
{
    return bytes.startsWith("PK") || bytes.startsWith("\xD0\xCF");
}

bool WriteParts(const QString &name, const QByteArray &bytes)
{
    const char *const names[] = {"[Content_Types].xml",        "_rels/.rels",   "xl/workbook.xml",
                                 "xl/_rels/workbook.xml.rels", "xl/styles.xml", "xl/worksheets/sheet1.xml"};
    const QByteArray separator = "\n====\n";
    zip_t *archive = zip_open(QFile::encodeName(name).constData(), ZIP_CREATE | ZIP_TRUNCATE, nullptr);
    PX40_CHECK(archive);
    QList<QByteArray> texts;
    qsizetype from = 0;
    for (const char *part : names) {
        const qsizetype end = bytes.indexOf(separator, from);
        texts += bytes.mid(from, end < 0 ? -1 : end - from);
        zip_source_t *source = zip_source_buffer(archive, texts.back().constData(),
                                                 static_cast<zip_uint64_t>(texts.back().size()), 0);
        const zip_int64_t index = zip_file_add(archive, part, source, 0);
        zip_set_file_compression(archive, static_cast<zip_uint64_t>(index), ZIP_CM_STORE, 0);
        if (end < 0)
            break;
        from = end + separator.size();
    }
    return zip_close(archive) == 0;
}

bool WriteFile(const QString &name, const QByteArray &bytes)
{
    return IsPackage(bytes) ? Put(name, bytes) : WriteParts(name, bytes);
}

/// Names, sizes and checksums of the entries, in their order.
QList<QByteArray> Entries(const QString &name)
{
    zip_t *archive = zip_open(QFile::encodeName(name).constData(), ZIP_RDONLY, nullptr);
    PX40_CHECK(archive);
    QList<QByteArray> entries;
    const zip_int64_t count = zip_get_num_entries(archive, 0);
    for (zip_int64_t i = 0; i < count; ++i) {
        zip_stat_t stat;
        PX40_CHECK(zip_stat_index(archive, static_cast<zip_uint64_t>(i), 0, &stat) == 0);
        entries += QByteArray(stat.name) + ' ' + QByteArray::number(stat.comp_size) + ' ' +
                   QByteArray::number(stat.crc);
    }
    zip_discard(archive);
    return entries;
}

bool AddTo(const QString &name)
{
    Sheet sheet;
    sheet.title = "Title";
    sheet.cells[1][1] = {CellFormat::Text, "1"};
    sheet.borders = {{{1, 1, 2, 2}, Edge::Top, BorderWeight::Thin}};
    sheet.chart = {{1, 1, 2, 2}, 4, 4, 400, 200, "T"};
    WriteWatch watch;
    return AddSheet(WorkbookFile::Existing(name), sheet, &watch).has_value();
}

} // namespace

void CheckInput(const QByteArray &input)
{
    const QString name = Folder().filePath(QStringLiteral("book.xlsx"));
    PX40_CHECK(WriteFile(name, input));
    const QByteArray before = Contents(name);
    const bool refused = !CheckWorkbook(name);
    const bool added = AddTo(name);
    PX40_CHECK(QDir(Folder().path()).entryList(QDir::Files | QDir::Hidden).size() == 1);
    if (!added) {
        PX40_CHECK(Contents(name) == before);
        return;
    }
    PX40_CHECK(!refused);
    const QList<QByteArray> after = Entries(name);
    PX40_CHECK(WriteFile(name, before));
    constexpr qsizetype mayChange = 4;
    qsizetype changed = 0;
    const QList<QByteArray> was = Entries(name);
    for (qsizetype i = 0; i < was.size(); ++i)
        changed += was[i] == after[i] ? 0 : 1;
    PX40_CHECK(changed <= mayChange && after.size() > was.size());
    PX40_CHECK(AddTo(name) && AddTo(name));
}

} // namespace px40
