#include "forward/book.h"

#include "forward/bookfault.h"
#include "forward/bookstyles.h"
#include "forward/sheetcontent.h"
#include "forward/sheetname.h"
#include "forward/sheetpart.h"
#include "resources/strings.h"

#include <algorithm>
#include <set>

namespace px40 {

namespace {

const std::string ContentType = "application/vnd.openxmlformats-officedocument.";
const std::string StylesType = ContentType + "spreadsheetml.styles+xml";

/// Whether that can be a prefix of an attribute: "xmlns:2" is read, but an attribute "2:id" never is.
bool BeginsName(std::string_view prefix)
{
    constexpr std::string_view never = "0123456789-.";
    return !prefix.empty() && never.find(prefix.front()) == std::string_view::npos;
}

/// The prefix, with its colon, that the namespace of relationships has in an element; it is declared there if
/// it has none.
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

} // namespace

Book::Book(Package &package) : package_(&package)
{
    RefuseOtherKinds();
    part_ = FindWorkbook();
    if (part_.ends_with(".bin"))
        throw BookFault{Text(Str::BookBinary)};
    const pugi::xml_node root = package_->Load(part_, workbook_);
    if (LocalName(root) != "workbook")
        throw BookFault{Text(Str::BookNone)};
    if (ChildNamed(root, "workbookProtection").attribute("lockStructure").as_bool())
        throw BookFault{Text(Str::BookProtected)};
    sheets_ = ChildNamed(root, "sheets");
    if (!sheets_)
        Package::ThrowDamaged(part_);
    const std::string relationships = Package::RelationshipsName(part_);
    if (!SheetNames().isEmpty() && !package_->Has(relationships))
        Package::ThrowDamaged(relationships);
    const bool strict = NamespaceOf(root) == SheetVocabulary::Strict().main;
    vocabulary_ = strict ? SheetVocabulary::Strict() : SheetVocabulary::Transitional();
}

void Book::RefuseOtherKinds() const
{
    if (package_->Has("mimetype")) {
        const bool openDocument = package_->Read("mimetype").find("opendocument") != std::string::npos;
        throw BookFault{Text(openDocument ? Str::BookOpenDocument : Str::BookNone)};
    }
    if (package_->HasFolder("_xmlsignatures"))
        throw BookFault{Text(Str::BookSigned)};
}

std::string Book::FindWorkbook() const
{
    for (const Relationship &one : package_->Relationships({})) {
        if (one.kind == "officeDocument" && package_->Has(one.part))
            return one.part;
    }
    throw BookFault{Text(Str::BookNone)};
}

void Book::PutNew(Package &package)
{
    const SheetVocabulary vocabulary = SheetVocabulary::Transitional();
    const std::string declaration = R"(<?xml version="1.0" encoding="UTF-8" standalone="yes"?>)";
    const std::string workbook = "xl/workbook.xml";
    const std::string styles = "xl/styles.xml";
    package.Put("[Content_Types].xml",
                declaration +
                    R"(<Types xmlns="http://schemas.openxmlformats.org/package/2006/content-types">)" +
                    R"(<Default Extension="xml" ContentType="application/xml"/></Types>)");
    package.Declare(workbook, ContentType + "spreadsheetml.sheet.main+xml");
    package.Declare(styles, StylesType);
    package.Relate({}, vocabulary.relationships, "officeDocument", workbook);
    package.Put(workbook, declaration + "<workbook xmlns=\"" + vocabulary.main + "\" xmlns:r=\"" +
                              vocabulary.relationships +
                              "\"><bookViews><workbookView/></bookViews><sheets/></workbook>");
    package.Relate(workbook, vocabulary.relationships, "styles", Package::Target(workbook, styles));
    package.Put(
        styles,
        declaration + "<styleSheet xmlns=\"" + vocabulary.main + "\">" +
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
    package_->Put(part_, TextOf(workbook_));
}

std::string Book::RelateStyles()
{
    // Some programs look for no other name.
    std::string part = Package::FolderOf(part_) + "styles.xml";
    if (package_->Has(part))
        part = package_->FreeName(Package::FolderOf(part_) + "styles", ".xml");
    package_->Relate(part_, vocabulary_.relationships, "styles", Package::Target(part_, part));
    return part;
}

std::vector<int> Book::AddLooksOf(SheetContent &content)
{
    std::string part;
    for (const Relationship &one : package_->Relationships(part_)) {
        if (one.kind == "styles" && (part.empty() || package_->Has(one.part)))
            part = one.part;
    }
    pugi::xml_document document;
    const bool isNew = part.empty() || !package_->Has(part);
    bool changed = isNew;
    if (isNew) {
        if (part.empty())
            part = RelateStyles();
        else if (!std::all_of(part.begin(), part.end(), [](char one) { return one > ' ' && one <= '~'; }))
            Package::ThrowDamaged(part); // no name that a part can have
        document.append_child("styleSheet").append_attribute("xmlns").set_value(vocabulary_.main.c_str());
        package_->Declare(part, StylesType);
    } else {
        package_->Load(part, "styleSheet", document);
    }
    const std::vector<int> formats = AddLooks(document.document_element(), content.Styles(), &changed);
    if (changed)
        package_->Put(part, TextOf(document));
    return formats;
}

std::string Book::AddChart(const SheetChart &chart, const std::string &sheetPart, const QString &sheetName)
{
    const std::string &types = vocabulary_.relationships;
    const std::string chartPart = package_->FreeName(Package::FolderOf(part_) + "charts/chart", ".xml");
    package_->Put(chartPart, ChartXml(chart, sheetName.toStdString(), vocabulary_));
    package_->Declare(chartPart, ContentType + "drawingml.chart+xml");

    const std::string drawingPart = package_->FreeName(Package::FolderOf(part_) + "drawings/drawing", ".xml");
    const std::string target = Package::Target(drawingPart, chartPart);
    const std::string chartId = package_->Relate(drawingPart, types, "chart", target);
    package_->Put(drawingPart, DrawingXml(chart, chartId, vocabulary_));
    package_->Declare(drawingPart, ContentType + "drawing+xml");

    return package_->Relate(sheetPart, types, "drawing", Package::Target(sheetPart, drawingPart));
}

std::unique_ptr<SheetPart> Book::AddSheet(SheetContent &content, const QString &title)
{
    const QStringList names = SheetNames();
    const QString name = NewSheetName(title, names);
    const std::string part = package_->FreeName(Package::FolderOf(part_) + "worksheets/sheet", ".xml");
    const std::string target = Package::Target(part_, part);
    Enter(name, package_->Relate(part_, vocabulary_.relationships, "worksheet", target));
    package_->Declare(part, ContentType + "spreadsheetml.worksheet+xml");
    const std::string drawingId = content.Chart() ? AddChart(*content.Chart(), part, name) : std::string();
    const std::vector<int> formats = AddLooksOf(content);
    auto sheet = std::make_unique<SheetPart>(content, formats, vocabulary_, drawingId, names.isEmpty());
    package_->Store(part, *sheet);
    return sheet;
}

} // namespace px40
