#pragma once

#include "xlsx/package.h"
#include "xlsx/sheetxml.h"

#include <QStringList>

#include <memory>
#include <string>
#include <vector>

namespace px40 {

/// A workbook in a package, to which a sheet is added; everything else in it stays as it is.
class Book
{
  public:
    /// The workbook of a package, which must outlive it.
    static BookResult<Book> Open(Package &package);

    /// Puts what makes a new workbook without any sheet into an empty package.
    static void PutNew(Package &package);

    /// Adds the sheet after the last one and returns the name of its part, which the caller is to store.
    /// `xml` is the text of that part, and is given what ties it to the workbook.
    BookResult<std::string> AddSheet(const Sheet &sheet, SheetXml &xml);

  private:
    explicit Book(Package &package) : package_(&package) {}
    QStringList SheetNames() const;
    std::string NewSheetId() const;
    void Enter(const QString &name, const std::string &relationshipId);
    BookResult<std::string> RelateStyles();
    BookResult<std::vector<int>> AddStyles(const std::vector<CellStyle> &styles);
    BookResult<std::string> AddChart(const SheetChart &chart, const std::string &sheetPart,
                                     const QString &sheetName);

    Package *package_;
    std::string part_;
    std::unique_ptr<pugi::xml_document> workbook_ = std::make_unique<pugi::xml_document>();
    pugi::xml_node sheets_;
    SheetVocabulary vocabulary_;
};

} // namespace px40
