#pragma once

#include "forward/xlsxfile.h"
#include "tests/booksamples.h"

#include <QDir>
#include <QStringList>
#include <QTemporaryDir>

#include <pugixml.hpp>

namespace px40 {

/// Opens that workbook, or the file as a new one, and sets `rows` rows and a chart.
SheetStep Fill(XlsxFile &file, const QString &workbook, int rows = 1);

WriteResult AddTo(const QString &workbook, const QString &title, QString *error = nullptr);

/// The test has failed if it is no XML.
void Load(pugi::xml_document &document, const QByteArray &text);

/// The sheets of a workbook, in their order.
QStringList SheetNames(const QString &workbook);

bool Put(const QString &name, const QByteArray &bytes);

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

} // namespace px40
