#include "source/sourcetable.h"

#include <algorithm>
#include <initializer_list>
#include <iterator>

namespace px40 {

namespace {

/// A set of source modes: bit k is mode k.
using Gate = unsigned;

constexpr Gate AnyMode = ~0U;

constexpr Gate Modes(std::initializer_list<int> modes)
{
    Gate gate = 0;
    for (const int mode : modes)
        gate |= 1U << static_cast<unsigned>(mode);
    return gate;
}

struct Row
{
    SourceControl control;
    Gate gate;
    const char16_t *text;
};

/// The three range lists send the same command; the instrument tells them apart by its present function.
/// Stepping down is open in every mode, stepping up is not.
constexpr Row Rows[] = {
    {SourceControl::OnOff, AnyMode, u"SO"},          {SourceControl::Up, Modes({0, 4}), u"UP"},
    {SourceControl::Down, AnyMode, u"DW"},           {SourceControl::Nm, Modes({0, 4}), u"NM1"},
    {SourceControl::Nm, Modes({6, 8}), u"NM0"},      {SourceControl::NmSet, AnyMode, u"ND"},
    {SourceControl::Tc, Modes({0, 1, 4}), u"SR"},    {SourceControl::Rtd, Modes({0, 1, 4}), u"SR"},
    {SourceControl::Temp, Modes({0, 4}), u"TE"},     {SourceControl::Pulse, Modes({0}), u"SR"},
    {SourceControl::PulseSet, Modes({0, 4}), u"PU"},
};

const Row *Find(SourceControl control, int sourceMode)
{
    const Gate mode = sourceMode >= 0 && sourceMode <= 9 ? Modes({sourceMode}) : 0;
    const auto *const found = std::find_if(std::begin(Rows), std::end(Rows), [&](const Row &row) {
        return row.control == control && (row.gate & mode) != 0;
    });
    return found == std::end(Rows) ? nullptr : found;
}

} // namespace

bool MaySend(SourceControl control, int sourceMode)
{
    return Find(control, sourceMode) != nullptr;
}

QString SourceCommandText(SourceControl control, int sourceMode, const QString &argument)
{
    const Row *const row = Find(control, sourceMode);
    return row ? QString::fromUtf16(row->text) + argument : QString();
}

} // namespace px40
