#pragma once

#include "forward/sheettarget.h"

namespace px40 {

enum class Line : unsigned char { None, Thin, Medium };

/// How a cell looks, with every line that it shares with its neighbours.
struct CellStyle
{
    CellFormat format = CellFormat::General;
    Line left = Line::None;
    Line right = Line::None;
    Line top = Line::None;
    Line bottom = Line::None;
    bool centred = false;

    bool operator==(const CellStyle &) const = default;
};

} // namespace px40
