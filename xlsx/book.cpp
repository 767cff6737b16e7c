#include "xlsx/book.h"

#include "xlsx/bookstyles.h"
#include "xlsx/celltext.h"
#include "xlsx/sheetname.h"

#include <algorithm>
#include <set>

namespace px40 {

namespace {

const std::string ContentType = "application/vnd.openxmlformats-officedocument.";
const std::string StylesType = ContentType + "spreadsheetml.styles+xml";

/// Whether an attribute can have that prefix: the parser reads "xmlns:2", but no attribute "2:id".
bool BeginsName(std::string_view prefix)
{
    constexpr std::string_view never = "0123456789-.";
    return !prefix.empty() && never.find(prefix.front()) == std::string_view::npos;
}

/// The prefix, with its colon, of the namespace of relationships in an element; declares one there if there
/// is none.
std::string RelationshipPrefix(pugi::xml_node at, const std::string &vocabulary)
{
    constexpr std::string_view declares = "xmlns:";
    for (pugi::xml_node around = at; around; around = around.parent()) {
        for (const pugi::xml_attribute &attribute : around.attributes()) {
            std::string_view name = attribute.name();
            if (!name.starts_with(declares) || attribute.value() != vocabulary)
                continue;
            name.remove_prefix(declares.size());
            if (BeginsName(name))
                return std::string(name) + ':';
        }
    }
    at.append_attribute("xmlns:r").set_value(vocabulary.c_str());
    return "r:";
}

/// Refuses a name that no part can have, instead of creating it.
BookResult<std::string> CheckName(const std::string &part)
{
    if (!std::all_of(part.begin(), part.end(), [](char one) { return one > ' ' && one <= '~'; }))
        return Damaged(part);
    return part;
}

/// Refuses signed packages and those that are no Excel workbooks.
BookResult<> CheckKind(const Package &package)
{
    if (package.Has("mimetype")) {
        const BookResult<std::string> type = package.Read("mimetype");
        if (!type)
            return Refuse(type.error());
        const bool openDocument = type->find("opendocument") != std::string::npos;
        return Refuse(openDocument ? BookProblem::OpenDocument : BookProblem::NoWorkbook);
    }
    if (package.HasFolder("_xmlsignatures"))
        return Refuse(BookProblem::Signed);
    return {};
}

BookResult<std::string> FindWorkbook(const Package &package)
{
    const BookResult<std::vector<Relationship>> relationships = package.Relationships({});
    if (!relationships)
        return Refuse(relationships.error());
    for (const Relationship &one : *relationships) {
        if (one.kind == "officeDocument" && package.Has(one.part))
            return one.part;
    }
    return Refuse(BookProblem::NoWorkbook);
}

} // namespace

BookResult<Book> Book::Open(Package &package)
{
    const BookResult<> kind = CheckKind(package);
    if (!kind)
        return Refuse(kind.error());
    const BookResult<std::string> part = FindWorkbook(package);
    if (!part)
        return Refuse(part.error());
    if (part->ends_with(".bin"))
        return Refuse(BookProblem::Binary);
    Book book(package);
    book.part_ = *part;
    const BookResult<pugi::xml_node> root = package.Load(*part, {}, *book.workbook_);
    if (!root)
        return Refuse(root.error());
    if (LocalName(*root) != "workbook")
        return Refuse(BookProblem::NoWorkbook);
    if (ChildNamed(*root, "workbookProtection").attribute("lockStructure").as_bool())
        return Refuse(BookProblem::Protected);
    book.sheets_ = ChildNamed(*root, "sheets");
    if (!book.sheets_)
        return Damaged(*part);
    const std::string relationships = Package::RelationshipsName(*part);
    if (!book.SheetNames().isEmpty() && !package.Has(relationships))
        return Damaged(relationships);
    const bool strict = NamespaceOf(*root) == SheetVocabulary::Strict().main;
    book.vocabulary_ = strict ? SheetVocabulary::Strict() : SheetVocabulary::Transitional();
    return book;
}

void Book::PutNew(Package &package)
{
    const SheetVocabulary vocabulary = SheetVocabulary::Transitional();
    const auto put = [&](const char *part, std::string_view form) {
        package.Put(part, Filled(form, {vocabulary.main, vocabulary.relationships, ContentType, StylesType}));
    };
    put("[Content_Types].xml",
        R"(<?xml version="1.0" encoding="UTF-8" standalone="yes"?>)"
        R"(<Types xmlns="http://schemas.openxmlformats.org/package/2006/content-types">)"
        R"(<Default Extension="xml" ContentType="application/xml"/>)"
        R"(<Override PartName="/xl/workbook.xml" ContentType="%3spreadsheetml.sheet.main+xml"/>)"
        R"(<Override PartName="/xl/styles.xml" ContentType="%4"/></Types>)");
    put("_rels/.rels",
        R"(<?xml version="1.0"?>)"
        R"(<Relationships xmlns="http://schemas.openxmlformats.org/package/2006/relationships">)"
        R"(<Relationship Id="rId1" Type="%2/officeDocument" Target="xl/workbook.xml"/></Relationships>)");
    put("xl/workbook.xml",
        R"(<?xml version="1.0" encoding="UTF-8" standalone="yes"?><workbook xmlns="%1" xmlns:r="%2">)"
        R"(<bookViews><workbookView/></bookViews><sheets/></workbook>)");
    put("xl/_rels/workbook.xml.rels",
        R"(<?xml version="1.0"?>)"
        R"(<Relationships xmlns="http://schemas.openxmlformats.org/package/2006/relationships">)"
        R"(<Relationship Id="rId1" Type="%2/styles" Target="styles.xml"/></Relationships>)");
    put("xl/styles.xml",
        R"(<?xml version="1.0" encoding="UTF-8" standalone="yes"?><styleSheet xmlns="%1">)"
        R"(<fonts count="1"><font><sz val="11"/><name val="Calibri"/><family val="2"/></font></fonts>)"
        R"(<fills count="2"><fill><patternFill patternType="none"/></fill>)"
        R"(<fill><patternFill patternType="gray125"/></fill></fills>)"
        R"(<borders count="1"><border><left/><right/><top/><bottom/><diagonal/></border></borders>)"
        R"(<cellStyleXfs count="1"><xf numFmtId="0" fontId="0" fillId="0" borderId="0"/></cellStyleXfs>)"
        R"(<cellXfs count="1"><xf numFmtId="0" fontId="0" fillId="0" borderId="0" xfId="0"/></cellXfs>)"
        R"(<cellStyles count="1"><cellStyle name="Normal" xfId="0" builtinId="0"/></cellStyles>)"
        R"(</styleSheet>)");
}

QStringList Book::SheetNames() const
{
    QStringList names;
    for (const pugi::xml_node &node : sheets_) {
        if (LocalName(node) == "sheet")
            names += QString::fromUtf8(node.attribute("name").value());
    }
    return names;
}

std::string Book::NewSheetId() const
{
    constexpr unsigned largest = 65534;
    std::set<unsigned> taken;
    for (const pugi::xml_node &node : sheets_)
        taken.insert(node.attribute("sheetId").as_uint());
    unsigned id = taken.empty() ? 1 : std::min(*taken.rbegin(), largest) + 1;
    if (id > largest) {
        id = 1;
        while (taken.contains(id))
            ++id;
    }
    return std::to_string(id);
}

void Book::Enter(const QString &name, const std::string &relationshipId)
{
    const std::string id = NewSheetId();
    pugi::xml_node sheet = AppendNamed(sheets_, "sheet");
    const std::string prefix = RelationshipPrefix(sheet, vocabulary_.relationships);
    sheet.append_attribute("name").set_value(name.toStdString().c_str());
    sheet.append_attribute("sheetId").set_value(id.c_str());
    sheet.append_attribute((prefix + "id").c_str()).set_value(relationshipId.c_str());
    package_->Put(part_, TextOf(*workbook_));
}

BookResult<std::string> Book::RelateStyles()
{
    // Some programs look for the styles under this name only.
    std::string part = Package::FolderOf(part_) + "styles.xml";
    if (package_->Has(part))
        part = package_->FreeName(Package::FolderOf(part_) + "styles", ".xml");
    const auto id =
        package_->Relate(part_, vocabulary_.relationships, "styles", Package::Target(part_, part));
    if (!id)
        return Refuse(id.error());
    return part;
}

/// Adds the styles and gives their numbers among the workbook's cell formats.
BookResult<std::vector<int>> Book::AddStyles(const std::vector<CellStyle> &styles)
{
    const BookResult<std::vector<Relationship>> relationships = package_->Relationships(part_);
    if (!relationships)
        return Refuse(relationships.error());
    std::string part;
    for (const Relationship &one : *relationships) {
        if (one.kind == "styles" && (part.empty() || package_->Has(one.part)))
            part = one.part;
    }
    pugi::xml_document document;
    bool changed = part.empty() || !package_->Has(part);
    if (changed) {
        const BookResult<std::string> name = part.empty() ? RelateStyles() : CheckName(part);
        if (!name)
            return Refuse(name.error());
        part = *name;
        document.append_child("styleSheet").append_attribute("xmlns").set_value(vocabulary_.main.c_str());
        package_->Declare(part, StylesType);
    } else if (const auto loaded = package_->Load(part, "styleSheet", document); !loaded) {
        return Refuse(loaded.error());
    }
    const std::vector<int> formats = AddLooks(document.document_element(), styles, &changed);
    if (changed)
        package_->Put(part, TextOf(document));
    return formats;
}

/// Adds the chart and gives the id by which the sheet refers to its drawing.
BookResult<std::string> Book::AddChart(const SheetChart &chart, const std::string &sheetPart,
                                       const QString &sheetName)
{
    const std::string &types = vocabulary_.relationships;
    const std::string chartPart = package_->FreeName(Package::FolderOf(part_) + "charts/chart", ".xml");
    package_->Put(chartPart, ChartXml(chart, sheetName.toStdString(), vocabulary_));
    package_->Declare(chartPart, ContentType + "drawingml.chart+xml");

    const std::string drawingPart = package_->FreeName(Package::FolderOf(part_) + "drawings/drawing", ".xml");
    const std::string target = Package::Target(drawingPart, chartPart);
    const BookResult<std::string> chartId = package_->Relate(drawingPart, types, "chart", target);
    if (!chartId)
        return chartId;
    package_->Put(drawingPart, DrawingXml(chart, *chartId, vocabulary_));
    package_->Declare(drawingPart, ContentType + "drawing+xml");

    return package_->Relate(sheetPart, types, "drawing", Package::Target(sheetPart, drawingPart));
}

BookResult<std::string> Book::AddSheet(const Sheet &sheet, SheetXml &xml)
{
    const BookResult<> types = package_->LoadContentTypes();
    if (!types)
        return Refuse(types.error());
    const QStringList names = SheetNames();
    const QString name = NewSheetName(QString::fromStdString(sheet.title), names);
    const std::string part = package_->FreeName(Package::FolderOf(part_) + "worksheets/sheet", ".xml");
    const BookResult<std::string> id =
        package_->Relate(part_, vocabulary_.relationships, "worksheet", Package::Target(part_, part));
    if (!id)
        return id;
    Enter(name, *id);
    package_->Declare(part, ContentType + "spreadsheetml.worksheet+xml");
    SheetFrame frame;
    if (sheet.chart) {
        const BookResult<std::string> drawing = AddChart(*sheet.chart, part, name);
        if (!drawing)
            return drawing;
        frame.drawingId = *drawing;
    }
    const BookResult<std::vector<int>> formats = AddStyles(xml.Styles());
    if (!formats)
        return Refuse(formats.error());
    frame.formats = *formats;
    frame.vocabulary = vocabulary_;
    frame.selected = names.isEmpty();
    xml.SetFrame(frame);
    return part;
}

} // namespace px40
