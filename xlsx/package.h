#pragma once

#include "xlsx/bookfailure.h"
#include "xlsx/xmltree.h"

#include <QString>

#include <deque>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>
#include <zip.h>

namespace px40 {

class ZipSource;

/// One part's pointer to another.
struct Relationship
{
    std::string kind; ///< last piece of its type, which is the same in all vocabularies
    std::string part; ///< name of the part it leads to; empty when that is outside
};

/// The parts of a package and how they hang together. Names of parts are as in the archive,
/// "xl/workbook.xml"; they are found whatever the case. What is put in is kept and goes into the archive by
/// `Store`.
class Package
{
  public:
    /// The archive must outlive this, and this the closing of the archive.
    explicit Package(zip_t *archive);
    Package(const Package &) = delete;
    Package &operator=(const Package &) = delete;

    bool Has(const std::string &name) const;
    bool HasFolder(const std::string &folder) const;

    /// The text of a part.
    BookResult<std::string> Read(const std::string &name) const;

    /// The XML that a part is; its outermost element, which has that local name, or any where it is empty.
    BookResult<pugi::xml_node> Load(const std::string &name, std::string_view root,
                                    pugi::xml_document &document) const;

    /// Reads all entries that the archive came with, to see that their contents are whole; those that are
    /// packed or encrypted in a way that is not known here are left out. `size`: of the archive's file, which
    /// holds each of them for itself.
    BookResult<> CheckContents(qint64 size) const;

    /// Of a part, or of the package if the name is empty; none if the part of the relationships is not there.
    BookResult<std::vector<Relationship>> Relationships(const std::string &part) const;
    static std::string RelationshipsName(const std::string &part);

    /// With the slash at its end; empty for a part in none.
    static std::string FolderOf(std::string_view part);

    /// The name of a part as it is written in the relationships of another one.
    static std::string Target(const std::string &from, const std::string &to);

    /// Replaces a part, or adds it.
    void Put(const std::string &name, std::string text);

    /// Reads what the parts hold, before anything that follows.
    BookResult<> LoadContentTypes();

    /// "stem1end", "stem2end", ...: the first name that no part has.
    std::string FreeName(const std::string &stem, const std::string &end) const;

    /// Says what a new part holds, whatever was said of that name; before `Store`.
    void Declare(const std::string &name, const std::string &contentType);

    /// A new relationship of a part; its id. `vocabulary` is that of the type.
    BookResult<std::string> Relate(const std::string &part, const std::string &vocabulary,
                                   const std::string &kind, const std::string &target);

    /// Hands everything that was put in to the archive, and a new part that is made while that is closed, so
    /// its source must outlive it too.
    BookResult<> Store(const std::string &name, ZipSource &source);

  private:
    static std::string Key(std::string_view name);
    BookResult<> ReadEntry(zip_uint64_t index, zip_flags_t flags, std::string *text) const;
    void DeclareRelationships();
    BookResult<zip_uint64_t> StoreSource(const std::string &name, zip_source_t *source);

    zip_t *archive_;
    std::map<std::string, zip_uint64_t> entries_;
    std::set<std::string> twice_;                         ///< of these
    std::deque<std::pair<std::string, std::string>> put_; ///< names and texts; they stay where they are
    std::map<std::string, std::size_t> putAt_;
    std::set<std::string> declared_;
    pugi::xml_document contentTypes_;
};

} // namespace px40
