#pragma once

#include "xlsx/cellstyles.h"

#include <pugixml.hpp>

#include <vector>

namespace px40 {

/// Makes looks part of the styles of a workbook, which keep all that they have; what is there already is used
/// again. For each of `looks` its number among the cell formats. `changed` is set if anything was added.
std::vector<int> AddLooks(pugi::xml_node styles, const std::vector<CellStyle> &looks, bool *changed);

} // namespace px40
