#pragma once

#include "link/command.h"

#include <optional>

namespace px40 {

/// Each control of the SOURCE window that sends a command. The lists are last, in the window's order.
enum class SourceControl { OnOff, Up, Down, Nm, NmSet, Tc, Rtd, Temp, Pulse, PulseSet };

/// The lists by themselves: list 0 is Tc, list 4 PulseSet.
inline constexpr int SourceLists = 5;
constexpr SourceControl SourceList(int list)
{
    return static_cast<SourceControl>(static_cast<int>(SourceControl::Tc) + list);
}

/// What that control sets in the instrument's present mode (`SourceMode`); nothing where the instrument does
/// not take its command.
std::optional<SourceSetting> SettingOf(SourceControl control, int sourceMode);

inline bool MaySend(SourceControl control, int sourceMode)
{
    return SettingOf(control, sourceMode).has_value();
}

} // namespace px40
