#include "testing/books.h"

#include "forward/bookfailuretext.h"
#include "testing/wait.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <zip.h>

namespace px40 {

BookParts PlainBook()
{
    BookParts parts;
    const QString all = QString::fromUtf8(Contents(QStringLiteral(PX40_PLAIN_BOOK)));
    for (const QString &section : all.split(u"==== "_qs, Qt::SkipEmptyParts))
        parts.emplace_back(section.section(u'\n', 0, 0).toUtf8(), section.section(u'\n', 1).toUtf8());
    constexpr qsizetype imageSize = 100'000;
    parts.insert(7, {"xl/media/image1.png", QByteArray(imageSize, 'i')}); // not compressed: see `BookRig`
    return parts;
}

BookParts Changed(BookParts parts, const QByteArray &name, const QByteArray &before, const QByteArray &after)
{
    bool found = false;
    for (auto &[part, text] : parts) {
        if (!name.isEmpty() && part != name)
            continue;
        found = found || text.contains(before);
        text.replace(before, after);
    }
    Require(found, QStringLiteral("The sample has no ") + QString::fromUtf8(before));
    return parts;
}

BookParts Without(const QByteArray &name)
{
    BookParts parts = PlainBook();
    parts.removeIf([&name](const auto &part) { return part.first == name; });
    return parts;
}

BookRig::BookRig(const BookParts &parts, const QString &fileName) : name(folder.filePath(fileName))
{
    zip_t *archive = zip_open(name.toUtf8().constData(), ZIP_CREATE, nullptr);
    Require(archive, name + QStringLiteral(" cannot be made."));
    for (const auto &[part, text] : parts) {
        zip_source_t *source =
            zip_source_buffer(archive, text.constData(), static_cast<zip_uint64_t>(text.size()), 0);
        const auto at = static_cast<zip_uint64_t>(zip_file_add(archive, part.constData(), source, 0));
        constexpr time_t longAgo = 1'000'000'000;
        zip_file_set_mtime(archive, at, longAgo, 0);
        zip_set_file_compression(archive, at, at % 2 ? ZIP_CM_STORE : ZIP_CM_DEFLATE, 9);
    }
    Require(zip_close(archive) == 0, name + QStringLiteral(" cannot be written."));
}

QStringList BookRig::Neighbours() const
{
    QStringList files = QDir(folder.path()).entryList(QDir::Files | QDir::Hidden, QDir::Name);
    files.removeAll(QFileInfo(name).fileName());
    return files;
}

QMap<QByteArray, EntryState> ReadPackage(const QString &file, bool strict)
{
    QMap<QByteArray, EntryState> entries;
    const int flags = ZIP_RDONLY | (strict ? ZIP_CHECKCONS : 0);
    zip_t *archive = zip_open(file.toUtf8().constData(), flags, nullptr);
    if (!archive)
        return entries;
    const auto count = static_cast<zip_uint64_t>(zip_get_num_entries(archive, 0));
    for (zip_uint64_t at = 0; at < count; ++at) {
        zip_stat_t stat;
        zip_stat_index(archive, at, 0, &stat);
        EntryState &entry = entries[stat.name];
        for (const quint64 number :
             {quint64(stat.crc), quint64(stat.comp_size), quint64(stat.comp_method), quint64(stat.mtime)})
            entry.kept += ' ' + QByteArray::number(number);
        entry.text.resize(static_cast<qsizetype>(stat.size));
        zip_file_t *part = zip_fopen_index(archive, at, 0);
        if (!part || zip_fread(part, entry.text.data(), stat.size) != entry.text.size())
            entry.text.clear();
        if (part)
            zip_fclose(part);
    }
    zip_discard(archive);
    return entries;
}

QStringList SheetNames(const QString &workbook)
{
    QStringList names;
    pugi::xml_document document;
    document.load_string(ReadPackage(workbook).value("xl/workbook.xml").text.constData());
    for (const pugi::xpath_node &sheet : document.select_nodes("//*[local-name()='sheet']"))
        names += QString::fromUtf8(sheet.node().attribute("name").value());
    return names;
}

Sheet SampleSheet(const QString &title, int rows)
{
    Sheet sheet;
    sheet.title = title.toStdString();
    for (int row = 1; row <= rows; ++row)
        sheet.cells[row][1] = {CellFormat::General, std::to_string(row) + ".25"};
    sheet.cells[1][2] = {CellFormat::Text, "=1+1"};
    sheet.borders = {{{1, 1, 1, 2}, Edge::Top, BorderWeight::Medium}};
    sheet.centred = {{1, 1, 1, 1}};
    sheet.chart = {{1, 1, rows, 2}, 8, 8, 400, 200, "T"};
    return sheet;
}

QString Write(const WorkbookFile &file, const Sheet &sheet)
{
    WriteWatch watch;
    return Why(AddSheet(file, sheet, &watch));
}

QString AddTo(const QString &workbook, const QString &title)
{
    return Write(WorkbookFile::Existing(workbook), SampleSheet(title));
}

QString Why(const BookResult<> &result)
{
    return result ? QString() : BookFailureText(result.error());
}

QString Why(BookProblem problem, const QString &detail)
{
    return BookFailureText({problem, detail});
}

} // namespace px40
