#include "xlsx/package.h"

#include "xlsx/zipsource.h"

#include <QDir>

#include <memory>

namespace px40 {

namespace {

const std::string ContentTypesName = "[Content_Types].xml";

/// No part that is read here comes near this size, but a malicious file may unpack to much more.
constexpr zip_uint64_t LargestPart = 64 * 1024 * 1024;

std::string_view LastPiece(std::string_view uri)
{
    return uri.substr(uri.rfind('/') + 1);
}

/// The part that a target leads to as seen from a part in that folder.
std::string Resolve(const std::string &folder, const std::string &target)
{
    QString path = QString::fromStdString(target).replace(u'\\', u'/');
    if (!path.startsWith(u'/'))
        path.prepend(u'/' + QString::fromStdString(folder));
    path = QDir::cleanPath(path);
    while (path.startsWith(u"/../")) // there is nothing above
        path.remove(0, 3);
    return path.mid(1).toStdString();
}

struct FileClose
{
    void operator()(zip_file_t *file) const { zip_fclose(file); }
};

/// The failure to read an entry to its end.
tl::unexpected<BookFailure> Broken(const char *name, zip_error_t *problem)
{
    if (zip_error_code_zip(problem) == ZIP_ER_READ)
        return Refuse(BookProblem::Unreadable, QString::fromUtf8(zip_error_strerror(problem)));
    return Refuse(BookProblem::PartDamaged, QString::fromUtf8(name));
}

} // namespace

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

BookResult<std::string> Package::Read(const std::string &name) const
{
    const std::string key = Key(name);
    if (const auto put = putAt_.find(key); put != putAt_.end())
        return put_[put->second].second;
    const auto entry = entries_.find(key);
    if (entry == entries_.end())
        return Damaged(name);
    if (twice_.contains(key)) // other programs may read either of the two
        return Refuse(BookProblem::PartTwice, QString::fromStdString(name));
    std::string text;
    const BookResult<> read = ReadEntry(entry->second, 0, &text);
    if (!read)
        return Refuse(read.error());
    return text;
}

/// `text` gets what the entry holds; it may be null, so that this is only checked.
BookResult<> Package::ReadEntry(zip_uint64_t index, zip_flags_t flags, std::string *text) const
{
    const char *const name = zip_get_name(archive_, index, flags | ZIP_FL_ENC_GUESS);
    const std::unique_ptr<zip_file_t, FileClose> file(zip_fopen_index(archive_, index, flags));
    if (!file && text)
        return Damaged(std::string(name) + ": " + zip_strerror(archive_));
    if (!file) {
        const int problem = zip_error_code_zip(zip_get_error(archive_));
        const bool unknown =
            problem == ZIP_ER_COMPNOTSUPP || problem == ZIP_ER_ENCRNOTSUPP || problem == ZIP_ER_NOPASSWD;
        return unknown ? BookResult<>() : Broken(name, zip_get_error(archive_));
    }
    constexpr std::size_t blockSize = 128 * 1024;
    const auto block = std::make_unique_for_overwrite<char[]>(blockSize);
    zip_int64_t got = 1;
    while (got > 0) {
        got = zip_fread(file.get(), block.get(), blockSize);
        if (got < 0)
            return Broken(name, zip_file_get_error(file.get()));
        if (text)
            text->append(block.get(), static_cast<std::size_t>(got));
        if (text && text->size() > LargestPart)
            return Refuse(BookProblem::TooLarge);
    }
    return {};
}

BookResult<> Package::CheckContents(qint64 size) const
{
    const zip_int64_t count = zip_get_num_entries(archive_, ZIP_FL_UNCHANGED);
    zip_uint64_t left = static_cast<zip_uint64_t>(size);
    for (zip_int64_t i = 0; i < count; ++i) {
        const auto index = static_cast<zip_uint64_t>(i);
        zip_stat_t entry;
        if (zip_stat_index(archive_, index, ZIP_FL_UNCHANGED, &entry) != 0 || entry.comp_size > left)
            return Refuse(BookProblem::DirectoryDamaged);
        left -= entry.comp_size; // what several entries share would be copied for each of them
        const BookResult<> read = ReadEntry(index, ZIP_FL_UNCHANGED, nullptr);
        if (!read)
            return read;
    }
    return {};
}

BookResult<pugi::xml_node> Package::Load(const std::string &name, std::string_view root,
                                         pugi::xml_document &document) const
{
    const BookResult<std::string> text = Read(name);
    if (!text)
        return Refuse(text.error());
    constexpr unsigned everything = pugi::parse_full | pugi::parse_ws_pcdata;
    const pugi::xml_parse_result result = document.load_buffer(text->data(), text->size(), everything);
    if (!result)
        return Damaged(name + ": " + result.description());
    if (!root.empty() && LocalName(document.document_element()) != root)
        return Damaged(name);
    return document.document_element();
}

std::string Package::FolderOf(std::string_view part)
{
    return std::string(part.substr(0, part.rfind('/') + 1));
}

std::string Package::RelationshipsName(const std::string &part)
{
    return FolderOf(part) + "_rels/" + std::string(LastPiece(part)) + ".rels";
}

BookResult<std::vector<Relationship>> Package::Relationships(const std::string &part) const
{
    std::vector<Relationship> found;
    const std::string name = RelationshipsName(part);
    if (!Has(name))
        return found;
    pugi::xml_document document;
    const BookResult<pugi::xml_node> root = Load(name, "Relationships", document);
    if (!root)
        return Refuse(root.error());
    for (const pugi::xml_node &node : *root) {
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
    const QDir folder(u'/' + QString::fromStdString(FolderOf(from)));
    return folder.relativeFilePath(u'/' + QString::fromStdString(to)).toStdString();
}

void Package::Put(const std::string &name, std::string text)
{
    const auto [place, isNew] = putAt_.emplace(Key(name), put_.size());
    if (isNew)
        put_.emplace_back(name, std::move(text));
    else
        put_[place->second].second = std::move(text);
}

BookResult<> Package::LoadContentTypes()
{
    const BookResult<pugi::xml_node> root = Load(ContentTypesName, "Types", contentTypes_);
    if (!root)
        return Refuse(root.error());
    for (const pugi::xml_node &node : *root) {
        if (LocalName(node) == "Override")
            declared_.insert(Key(node.attribute("PartName").value()));
    }
    return {};
}

std::string Package::FreeName(const std::string &stem, const std::string &end) const
{
    for (int number = 1;; ++number) {
        std::string name = stem;
        name.append(std::to_string(number)).append(end);
        if (!Has(name) && !Has(RelationshipsName(name)) && !declared_.contains(Key(name)))
            return name;
    }
}

void Package::Declare(const std::string &name, const std::string &contentType)
{
    const std::string key = Key(name);
    pugi::xml_node root = contentTypes_.document_element();
    if (!declared_.insert(key).second) // declared for a part that is missing
        root.remove_child(root.find_child([&key](const pugi::xml_node &one) {
            return LocalName(one) == "Override" && Key(one.attribute("PartName").value()) == key;
        }));
    AppendNamed(root, "Override", {{"PartName", '/' + name}, {"ContentType", contentType}});
}

BookResult<std::string> Package::Relate(const std::string &part, const std::string &vocabulary,
                                        const std::string &kind, const std::string &target)
{
    const std::string name = RelationshipsName(part);
    pugi::xml_document document;
    if (!Has(name)) {
        document.append_child("Relationships")
            .append_attribute("xmlns")
            .set_value("http://schemas.openxmlformats.org/package/2006/relationships");
    } else if (const auto loaded = Load(name, "Relationships", document); !loaded) {
        return Refuse(loaded.error());
    }

    pugi::xml_node root = document.document_element();
    std::set<std::string> taken;
    for (const pugi::xml_node &node : root)
        taken.insert(node.attribute("Id").value());
    std::string id;
    for (std::size_t number = 1; id.empty() || taken.contains(id); ++number)
        id = "rId" + std::to_string(number);

    AppendNamed(root, "Relationship", {{"Id", id}, {"Type", vocabulary + '/' + kind}, {"Target", target}});
    Put(name, TextOf(document));
    return id;
}

void Package::DeclareRelationships()
{
    pugi::xml_node root = contentTypes_.document_element();
    const bool known = !!root.find_child([](const pugi::xml_node &node) {
        return LocalName(node) == "Default" && Key(node.attribute("Extension").value()) == "rels";
    });
    if (!known)
        AppendNamed(root, "Default",
                    {{"Extension", "rels"},
                     {"ContentType", "application/vnd.openxmlformats-package.relationships+xml"}});
}

BookResult<zip_uint64_t> Package::StoreSource(const std::string &name, zip_source_t *source)
{
    const auto entry = entries_.find(Key(name));
    if (source && entry != entries_.end() && zip_file_replace(archive_, entry->second, source, 0) == 0)
        return entry->second;
    const zip_int64_t added =
        source && entry == entries_.end() ? zip_file_add(archive_, name.c_str(), source, 0) : -1;
    if (added >= 0)
        return static_cast<zip_uint64_t>(added);
    zip_source_free(source);
    return Damaged(name + ": " + zip_strerror(archive_));
}

BookResult<> Package::Store(const std::string &name, ZipSource &source)
{
    DeclareRelationships();
    Put(ContentTypesName, TextOf(contentTypes_));
    for (const auto &[part, text] : put_) {
        const auto stored = StoreSource(part, zip_source_buffer(archive_, text.data(), text.size(), 0));
        if (!stored)
            return Refuse(stored.error());
    }
    const auto stored = StoreSource(name, source.Create(zip_get_error(archive_)));
    if (!stored)
        return Refuse(stored.error());
    // Fast; the best level makes the file little smaller, because rows are so much alike.
    constexpr zip_uint32_t level = 2;
    zip_set_file_compression(archive_, *stored, ZIP_CM_DEFLATE, level);
    return {};
}

} // namespace px40
