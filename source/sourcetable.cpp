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
    SourceSetting setting;
};

/// The three range lists send the same command; the instrument tells them apart by its present function.
/// Stepping down is open in every mode, stepping up is not.
constexpr Row Rows[] = {
    {SourceControl::OnOff, AnyMode, SourceSetting::Output},
    {SourceControl::Up, Modes({0, 4}), SourceSetting::StepUp},
    {SourceControl::Down, AnyMode, SourceSetting::StepDown},
    {SourceControl::Nm, Modes({0, 4}), SourceSetting::RatioOn},
    {SourceControl::Nm, Modes({6, 8}), SourceSetting::RatioOff},
    {SourceControl::NmSet, AnyMode, SourceSetting::Ratio},
    {SourceControl::Tc, Modes({0, 1, 4}), SourceSetting::Range},
    {SourceControl::Rtd, Modes({0, 1, 4}), SourceSetting::Range},
    {SourceControl::Temp, Modes({0, 4}), SourceSetting::Temperature},
    {SourceControl::Pulse, Modes({0}), SourceSetting::Range},
    {SourceControl::PulseSet, Modes({0, 4}), SourceSetting::Pulse},
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

std::optional<SourceSetting> SettingOf(SourceControl control, int sourceMode)
{
    const Row *const row = Find(control, sourceMode);
    return row ? std::optional(row->setting) : std::nullopt;
}

} // namespace px40
