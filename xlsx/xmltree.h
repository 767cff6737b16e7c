#pragma once

#include <pugixml.hpp>

#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>

namespace px40 {

/// Elements by their names without a prefix: files write the same names with any prefix, or with none.

std::string_view LocalName(const pugi::xml_node &node);

/// The first child element of that name; an empty node if there is none.
pugi::xml_node ChildNamed(const pugi::xml_node &parent, std::string_view name);

using XmlAttributes = std::initializer_list<std::pair<const char *, std::string>>;

/// A new last child, with the prefix of its parent.
pugi::xml_node AppendNamed(pugi::xml_node parent, std::string_view name, XmlAttributes attributes = {});

/// A new child in front of `before`, or the last one if that is empty; with the prefix of its parent.
pugi::xml_node InsertNamed(pugi::xml_node parent, std::string_view name, const pugi::xml_node &before);

/// The namespace of an element as it, or one around it, declares it.
std::string NamespaceOf(const pugi::xml_node &node);

/// How an element is written, and a whole document, which is UTF-8 whatever it was.
std::string TextOf(const pugi::xml_node &node);
std::string TextOf(pugi::xml_document &document);

} // namespace px40
