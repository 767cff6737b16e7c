#include "forward/package.h"

#include "forward/bookfault.h"
#include "forward/sheetpart.h"
#include "resources/strings.h"

#include <algorithm>
#include <array>
#include <memory>

namespace px40 {

namespace {

const std::string ContentTypesName = "[Content_Types].xml";

/// Nothing of a workbook that is read here comes near it, but a few bytes can be made to unpack to more.
constexpr zip_uint64_t LargestPart = 64 * 1024 * 1024;

std::string_view LastPiece(std::string_view uri)
{
    return uri.substr(uri.rfind('/') + 1);
}

std::vector<std::string> Pieces(std::string_view path)
{
    std::vector<std::string> pieces;
    std::size_t at = 0;
    while (at <= path.size()) {
        const std::size_t end = std::min(path.find('/', at), path.size());
        const std::string_view piece = path.substr(at, end - at);
        if (piece == ".." && !pieces.empty())
            pieces.pop_back();
        else if (!piece.empty() && piece != "." && piece != "..")
            pieces.emplace_back(piece);
        at = end + 1;
    }
    return pieces;
}

/// The part that a target leads to as seen from a part in that folder.
std::string Resolve(const std::string &folder, std::string target)
{
    std::replace(target.begin(), target.end(), '\\', '/');
    std::string part;
    for (const std::string &piece : Pieces(target.starts_with('/') ? target : folder + target))
        part += (part.empty() ? "" : "/") + piece;
    return part;
}

struct FileClose
{
    void operator()(zip_file_t *file) const { zip_fclose(file); }
};

/// An entry could not be read to its end.
[[noreturn]] void ThrowBroken(const char *name, zip_error_t *problem)
{
    if (zip_error_code_zip(problem) == ZIP_ER_READ)
        throw BookFault{Text(Str::BookNotRead).arg(QString::fromUtf8(zip_error_strerror(problem)))};
    Package::ThrowDamaged(Text(Str::BookPartBroken).arg(QString::fromUtf8(name)).toStdString());
}

} // namespace

void Package::ThrowDamaged(const std::string &what)
{
    throw BookFault{Text(Str::BookDamaged).arg(QString::fromStdString(what))};
}

Package::Package(zip_t *archive) : archive_(archive)
{
    const zip_int64_t count = zip_get_num_entries(archive, 0);
    for (zip_int64_t i = 0; i < count; ++i) {
        const auto index = static_cast<zip_uint64_t>(i);
        const char *const name = zip_get_name(archive, index, ZIP_FL_ENC_GUESS);
        if (name && !entries_.emplace(Key(name), index).second)
            twice_.insert(Key(name));
    }
}

std::string Package::Key(std::string_view name)
{
    std::string key(name.substr(name.starts_with('/') ? 1 : 0));
    for (char &character : key) {
        if (character >= 'A' && character <= 'Z')
            character = static_cast<char>(character - 'A' + 'a');
        else if (character == '\\')
            character = '/';
    }
    return key;
}

bool Package::Has(const std::string &name) const
{
    const std::string key = Key(name);
    return entries_.contains(key) || putAt_.contains(key);
}

bool Package::HasFolder(const std::string &folder) const
{
    const std::string key = Key(folder) + '/';
    const auto first = entries_.lower_bound(key);
    return first != entries_.end() && first->first.starts_with(key);
}

std::string Package::Read(const std::string &name) const
{
    const std::string key = Key(name);
    if (const auto put = putAt_.find(key); put != putAt_.end())
        return put_[put->second].second;
    const auto entry = entries_.find(key);
    if (entry == entries_.end())
        ThrowDamaged(name);
    if (twice_.contains(key)) // nobody knows which of them others read
        ThrowDamaged(Text(Str::BookPartTwice).arg(QString::fromStdString(name)).toStdString());

    std::string text;
    const bool readable = ReadEntry(entry->second, 0, [&text](const char *bytes, std::size_t count) {
        text.append(bytes, count);
        if (text.size() > LargestPart)
            throw BookFault{Text(Str::BookTooLarge)};
    });
    if (!readable)
        ThrowDamaged(name + ": " + zip_strerror(archive_));
    return text;
}

bool Package::ReadEntry(zip_uint64_t index, zip_flags_t flags,
                        const std::function<void(const char *bytes, std::size_t count)> &take) const
{
    const std::unique_ptr<zip_file_t, FileClose> file(zip_fopen_index(archive_, index, flags));
    if (!file)
        return false;
    constexpr std::size_t blockSize = 128 * 1024;
    const auto block = std::make_unique_for_overwrite<char[]>(blockSize);
    for (;;) {
        const zip_int64_t got = zip_fread(file.get(), block.get(), blockSize);
        if (got < 0)
            ThrowBroken(zip_get_name(archive_, index, flags | ZIP_FL_ENC_GUESS),
                        zip_file_get_error(file.get()));
        if (got == 0)
            return true;
        take(block.get(), static_cast<std::size_t>(got));
    }
}

void Package::CheckContents(qint64 size) const
{
    const zip_int64_t count = zip_get_num_entries(archive_, ZIP_FL_UNCHANGED);
    zip_uint64_t left = static_cast<zip_uint64_t>(size);
    for (zip_int64_t i = 0; i < count; ++i) {
        const auto index = static_cast<zip_uint64_t>(i);
        zip_stat_t entry;
        if (zip_stat_index(archive_, index, ZIP_FL_UNCHANGED, &entry) != 0 || entry.comp_size > left)
            ThrowDamaged(Text(Str::BookDirectoryDamaged).toStdString());
        left -= entry.comp_size; // what several entries share would be copied for each of them
        if (ReadEntry(index, ZIP_FL_UNCHANGED, [](const char *, std::size_t) {}))
            continue;
        const int problem = zip_error_code_zip(zip_get_error(archive_));
        if (problem != ZIP_ER_COMPNOTSUPP && problem != ZIP_ER_ENCRNOTSUPP && problem != ZIP_ER_NOPASSWD)
            ThrowBroken(zip_get_name(archive_, index, ZIP_FL_UNCHANGED), zip_get_error(archive_));
    }
}

pugi::xml_node Package::Load(const std::string &name, pugi::xml_document &document) const
{
    const std::string text = Read(name);
    constexpr unsigned everything = pugi::parse_full | pugi::parse_ws_pcdata;
    const pugi::xml_parse_result result = document.load_buffer(text.data(), text.size(), everything);
    if (!result)
        ThrowDamaged(name + ": " + result.description());
    return document.document_element();
}

pugi::xml_node Package::Load(const std::string &name, std::string_view root,
                             pugi::xml_document &document) const
{
    const pugi::xml_node element = Load(name, document);
    if (LocalName(element) != root)
        ThrowDamaged(name);
    return element;
}

std::string Package::FolderOf(std::string_view part)
{
    return std::string(part.substr(0, part.rfind('/') + 1));
}

std::string Package::RelationshipsName(const std::string &part)
{
    return FolderOf(part) + "_rels/" + std::string(LastPiece(part)) + ".rels";
}

std::vector<Relationship> Package::Relationships(const std::string &part) const
{
    std::vector<Relationship> found;
    const std::string name = RelationshipsName(part);
    if (!Has(name))
        return found;
    pugi::xml_document document;
    for (const pugi::xml_node &node : Load(name, "Relationships", document)) {
        if (LocalName(node) != "Relationship")
            continue;
        Relationship one;
        one.kind = LastPiece(node.attribute("Type").value());
        if (std::string_view(node.attribute("TargetMode").value()) != "External")
            one.part = Resolve(FolderOf(part), node.attribute("Target").value());
        found.push_back(std::move(one));
    }
    return found;
}

std::string Package::Target(const std::string &from, const std::string &to)
{
    const std::vector<std::string> start = Pieces(FolderOf(from));
    const std::vector<std::string> end = Pieces(to);
    std::size_t same = 0;
    while (same < start.size() && same + 1 < end.size() && start[same] == end[same])
        ++same;
    std::string target;
    for (std::size_t i = same; i < start.size(); ++i)
        target += "../";
    for (std::size_t i = same; i < end.size(); ++i)
        target += (i > same ? "/" : "") + end[i];
    return target;
}

std::string Package::FreeName(const std::string &stem, const std::string &end)
{
    LoadContentTypes();
    for (int number = 1;; ++number) {
        std::string name = stem + std::to_string(number) + end;
        if (!Has(name) && !Has(RelationshipsName(name)) && !declared_.contains(Key(name)))
            return name;
    }
}

void Package::Put(const std::string &name, std::string text)
{
    const auto [place, isNew] = putAt_.emplace(Key(name), put_.size());
    if (isNew)
        put_.emplace_back(name, std::move(text));
    else
        put_[place->second].second = std::move(text);
}

void Package::LoadContentTypes()
{
    if (typesLoaded_)
        return;
    Load(ContentTypesName, "Types", contentTypes_);
    typesLoaded_ = true;
    for (const pugi::xml_node &node : contentTypes_.document_element()) {
        if (LocalName(node) == "Override")
            declared_.insert(Key(node.attribute("PartName").value()));
    }
}

void Package::Declare(const std::string &name, const std::string &contentType)
{
    LoadContentTypes();
    const std::string key = Key(name);
    pugi::xml_node root = contentTypes_.document_element();
    if (!declared_.insert(key).second) // of a part that is not there
        root.remove_child(root.find_child([&key](const pugi::xml_node &one) {
            return LocalName(one) == "Override" && Key(one.attribute("PartName").value()) == key;
        }));
    pugi::xml_node node = AppendNamed(root, "Override");
    node.append_attribute("PartName").set_value(("/" + name).c_str());
    node.append_attribute("ContentType").set_value(contentType.c_str());
}

std::string Package::Relate(const std::string &part, const std::string &vocabulary, const std::string &kind,
                            const std::string &target)
{
    const std::string name = RelationshipsName(part);
    pugi::xml_document document;
    if (Has(name))
        Load(name, "Relationships", document);
    else
        document.append_child("Relationships")
            .append_attribute("xmlns")
            .set_value("http://schemas.openxmlformats.org/package/2006/relationships");

    pugi::xml_node root = document.document_element();
    std::set<std::string> taken;
    for (const pugi::xml_node &node : root)
        taken.insert(node.attribute("Id").value());
    std::string id;
    for (std::size_t number = 1; id.empty() || taken.contains(id); ++number)
        id = "rId" + std::to_string(number);

    pugi::xml_node node = AppendNamed(root, "Relationship");
    node.append_attribute("Id").set_value(id.c_str());
    node.append_attribute("Type").set_value((vocabulary + '/' + kind).c_str());
    node.append_attribute("Target").set_value(target.c_str());
    Put(name, TextOf(document));
    return id;
}

void Package::KnowRelationships()
{
    LoadContentTypes();
    pugi::xml_node root = contentTypes_.document_element();
    const bool known = !!root.find_child([](const pugi::xml_node &node) {
        return LocalName(node) == "Default" && Key(node.attribute("Extension").value()) == "rels";
    });
    if (known)
        return;
    pugi::xml_node node = AppendNamed(root, "Default");
    node.append_attribute("Extension").set_value("rels");
    node.append_attribute("ContentType")
        .set_value("application/vnd.openxmlformats-package.relationships+xml");
}

zip_uint64_t Package::StoreSource(const std::string &name, zip_source_t *source)
{
    const auto entry = entries_.find(Key(name));
    zip_int64_t index = -1;
    if (source && entry == entries_.end())
        index = zip_file_add(archive_, name.c_str(), source, 0);
    else if (source && zip_file_replace(archive_, entry->second, source, 0) == 0)
        index = static_cast<zip_int64_t>(entry->second);
    if (index < 0) {
        zip_source_free(source);
        ThrowDamaged(name + ": " + zip_error_strerror(zip_get_error(archive_)));
    }
    return static_cast<zip_uint64_t>(index);
}

void Package::Store(const std::string &name, SheetPart &sheet)
{
    KnowRelationships();
    Put(ContentTypesName, TextOf(contentTypes_));
    for (const auto &[part, text] : put_)
        StoreSource(part, zip_source_buffer(archive_, text.data(), text.size(), 0));

    /// Fast, and little larger than with the best: rows repeat themselves.
    constexpr zip_uint32_t level = 2;
    const zip_uint64_t index = StoreSource(name, sheet.Source(archive_));
    zip_set_file_compression(archive_, index, ZIP_CM_DEFLATE, level);
}

} // namespace px40
