#include "xlsx/bookstyles.h"

#include "xlsx/xmltree.h"

#include <algorithm>
#include <array>
#include <string>
#include <string_view>
#include <unordered_map>

namespace px40 {

namespace {

constexpr int TextFormat = 49; // "@" among the built-in number formats
constexpr int GeneralFormat = 0;

constexpr std::array<std::string_view, 11> ListOrder = {"numFmts",      "fonts",   "fills",      "borders",
                                                        "cellStyleXfs", "cellXfs", "cellStyles", "dxfs",
                                                        "tableStyles",  "colors",  "extLst"};

std::ptrdiff_t RankOf(std::string_view list)
{
    return std::find(ListOrder.begin(), ListOrder.end(), list) - ListOrder.begin();
}

template <typename Value>
void Set(pugi::xml_node node, const char *name, const Value &value)
{
    pugi::xml_attribute attribute = node.attribute(name);
    if (!attribute)
        attribute = node.append_attribute(name);
    attribute.set_value(value);
}

pugi::xml_node ListIn(pugi::xml_node styles, std::string_view name)
{
    if (const pugi::xml_node list = ChildNamed(styles, name))
        return list;
    const pugi::xml_node next = styles.find_child([name](const pugi::xml_node &node) {
        return node.type() == pugi::node_element && RankOf(LocalName(node)) > RankOf(name);
    });
    return InsertNamed(styles, name, next);
}

/// The entries of one list of the styles; two that are written alike are one.
class Entries
{
  public:
    Entries(pugi::xml_node styles, std::string_view list, std::string_view entry)
        : list_(ListIn(styles, list)), entry_(entry)
    {
        for (const pugi::xml_node &node : list_) {
            if (LocalName(node) == entry_)
                known_.emplace(TextOf(node), count_++);
        }
    }

    bool IsEmpty() const { return count_ == 0; }
    pugi::xml_node First() const { return ChildNamed(list_, entry_); }

    /// A new last entry that looks like `model`, or empty; to be filled and then given to `Keep`.
    pugi::xml_node Append(const pugi::xml_node &model = {})
    {
        return model ? list_.append_copy(model) : AppendNamed(list_, entry_);
    }

    /// The number of the last entry, or of one like it; then the last one is removed again.
    int Keep(pugi::xml_node last, bool *changed)
    {
        const auto [place, isNew] = known_.emplace(TextOf(last), count_);
        if (isNew) {
            Set(list_, "count", ++count_);
            *changed = true;
        } else {
            list_.remove_child(last);
        }
        return place->second;
    }

  private:
    pugi::xml_node list_;
    std::string entry_;
    std::unordered_map<std::string, int> known_;
    int count_ = 0;
};

void AppendLine(pugi::xml_node border, std::string_view side, Line line)
{
    pugi::xml_node node = AppendNamed(border, side);
    if (line == Line::None)
        return;
    Set(node, "style", line == Line::Thin ? "thin" : "medium");
    AppendNamed(node, "color", {{"auto", "1"}});
}

int BorderOf(const CellStyle &look, Entries &borders, bool *changed)
{
    const pugi::xml_node border = borders.Append();
    AppendLine(border, "left", look.left);
    AppendLine(border, "right", look.right);
    AppendLine(border, "top", look.top);
    AppendLine(border, "bottom", look.bottom);
    AppendLine(border, "diagonal", Line::None);
    return borders.Keep(border, changed);
}

/// A cell that names no style has entry 0 of each list, so each list must have one.
void AddDefaults(pugi::xml_node styles, Entries &borders, Entries &formats, bool *changed)
{
    if (borders.IsEmpty())
        BorderOf({}, borders, changed);
    if (!formats.IsEmpty())
        return;
    Entries fonts(styles, "fonts", "font");
    if (fonts.IsEmpty())
        fonts.Keep(fonts.Append(), changed);
    Entries fills(styles, "fills", "fill");
    if (fills.IsEmpty()) {
        for (const char *pattern : {"none", "gray125"}) {
            const pugi::xml_node fill = fills.Append();
            AppendNamed(fill, "patternFill", {{"patternType", pattern}});
            fills.Keep(fill, changed);
        }
    }
    const pugi::xml_node format = formats.Append();
    for (const char *name : {"numFmtId", "fontId", "fillId", "borderId"})
        Set(format, name, 0);
    formats.Keep(format, changed);
}

int FormatOf(const CellStyle &look, Entries &borders, Entries &formats, bool *changed)
{
    pugi::xml_node format = formats.Append(formats.First());
    format.remove_attribute("quotePrefix");
    const int number = look.format == CellFormat::Text ? TextFormat : GeneralFormat;
    if (format.attribute("numFmtId").as_int() != number) {
        Set(format, "numFmtId", number);
        Set(format, "applyNumberFormat", 1);
    }
    const bool lined = look.left != Line::None || look.right != Line::None || look.top != Line::None ||
                       look.bottom != Line::None;
    if (lined) {
        Set(format, "borderId", BorderOf(look, borders, changed));
        Set(format, "applyBorder", 1);
    }
    if (look.centred) {
        pugi::xml_node alignment = ChildNamed(format, "alignment");
        if (!alignment)
            alignment = InsertNamed(format, "alignment", format.first_child());
        alignment.remove_attribute("horizontal");
        Set(alignment, "horizontal", "center");
        Set(format, "applyAlignment", 1);
    }
    return formats.Keep(format, changed);
}

} // namespace

std::vector<int> AddLooks(pugi::xml_node styles, const std::vector<CellStyle> &looks, bool *changed)
{
    Entries borders(styles, "borders", "border");
    Entries formats(styles, "cellXfs", "xf");
    AddDefaults(styles, borders, formats, changed);
    std::vector<int> numbers;
    numbers.reserve(looks.size());
    for (const CellStyle &look : looks)
        numbers.push_back(FormatOf(look, borders, formats, changed));
    return numbers;
}

} // namespace px40
