#include "xlsx/xmltree.h"

#include <sstream>

namespace px40 {

namespace {

std::string PrefixOf(const pugi::xml_node &node)
{
    const std::string_view name = node.name();
    const std::size_t colon = name.find(':');
    return std::string(colon == std::string_view::npos ? std::string_view() : name.substr(0, colon + 1));
}

} // namespace

std::string_view LocalName(const pugi::xml_node &node)
{
    const std::string_view name = node.name();
    return name.substr(name.find(':') + 1);
}

pugi::xml_node ChildNamed(const pugi::xml_node &parent, std::string_view name)
{
    return parent.find_child([name](const pugi::xml_node &child) {
        return child.type() == pugi::node_element && LocalName(child) == name;
    });
}

pugi::xml_node AppendNamed(pugi::xml_node parent, std::string_view name, XmlAttributes attributes)
{
    pugi::xml_node node = InsertNamed(parent, name, {});
    for (const auto &[attribute, value] : attributes)
        node.append_attribute(attribute).set_value(value.c_str());
    return node;
}

pugi::xml_node InsertNamed(pugi::xml_node parent, std::string_view name, const pugi::xml_node &before)
{
    const std::string full = PrefixOf(parent) += name;
    return before ? parent.insert_child_before(full.c_str(), before) : parent.append_child(full.c_str());
}

std::string NamespaceOf(const pugi::xml_node &node)
{
    std::string prefix = PrefixOf(node);
    if (!prefix.empty())
        prefix.pop_back();
    const std::string declaration = prefix.empty() ? "xmlns" : "xmlns:" + prefix;
    for (pugi::xml_node around = node; around; around = around.parent()) {
        if (const pugi::xml_attribute found = around.attribute(declaration.c_str()))
            return found.value();
    }
    return {};
}

std::string TextOf(const pugi::xml_node &node)
{
    std::ostringstream text;
    node.print(text, "", pugi::format_raw);
    return text.str();
}

std::string TextOf(pugi::xml_document &document)
{
    for (pugi::xml_node &node : document) {
        pugi::xml_attribute encoding = node.attribute("encoding");
        if (node.type() == pugi::node_declaration && encoding)
            encoding.set_value("UTF-8");
    }
    std::ostringstream text;
    document.save(text, "", pugi::format_raw, pugi::encoding_utf8);
    return text.str();
}

} // namespace px40
