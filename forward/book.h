#pragma once

#include "forward/package.h"
#include "forward/sheetxml.h"

#include <QStringList>

#include <memory>
#include <string>
#include <vector>

namespace px40 {

class SheetContent;
class SheetPart;

/// A workbook in a package, to which a sheet is added; everything else in it stays as it is.
///
/// All of it throws `BookFault` where a workbook cannot have one more sheet, for the reason in it.
class Book
{
  public:
    /// The package must outlive this.
    explicit Book(Package &package);

    /// Puts what makes a new workbook without any sheet into an empty package.
    static void PutNew(Package &package);

    /// Adds the sheet behind the last one, and hands everything to the package's archive. The part is read
    /// when that is closed, so it must outlive it, and so must `content`.
    std::unique_ptr<SheetPart> AddSheet(SheetContent &content, const QString &title);

  private:
    void RefuseOtherKinds() const;
    std::string FindWorkbook() const;
    QStringList SheetNames() const;
    std::string NewSheetId() const;
    void Enter(const QString &name, const std::string &relationshipId);
    std::string RelateStyles();
    std::vector<int> AddLooksOf(SheetContent &content);
    std::string AddChart(const SheetChart &chart, const std::string &sheetPart, const QString &sheetName);

    Package *package_;
    std::string part_;
    pugi::xml_document workbook_;
    pugi::xml_node sheets_;
    SheetVocabulary vocabulary_;
};

} // namespace px40
