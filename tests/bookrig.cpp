#include "tests/bookrig.h"

#include <QFile>
#include <QTest>

namespace px40 {

SheetStep Fill(XlsxFile &file, const QString &workbook, int rows)
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

WriteResult AddTo(const QString &workbook, const QString &title, QString *error)
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

QStringList SheetNames(const QString &workbook)
{
    QStringList names;
    pugi::xml_document document;
    const BookEntries entries = ReadPackage(workbook);
    Load(document,
         entries.value(entries.contains("xl/workbook.xml") ? "xl/workbook.xml" : "XL/WORKBOOK.XML").text);
    for (const pugi::xpath_node &sheet : document.select_nodes("//*[local-name()='sheet']"))
        names += QString::fromUtf8(sheet.node().attribute("name").value());
    return names;
}

bool Put(const QString &name, const QByteArray &bytes)
{
    QFile file(name);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

} // namespace px40
