#pragma once

#include <QString>

namespace px40 {

/// Each control of the SOURCE window that sends a command. The lists stand together, in the window's order.
enum class SourceControl { OnOff, Up, Down, Nm, NmSet, Tc, Rtd, Temp, Pulse, PulseSet };

/// The lists by themselves: list 0 is Tc, list 4 PulseSet.
inline constexpr int SourceLists = 5;
constexpr SourceControl SourceList(int list)
{
    return static_cast<SourceControl>(static_cast<int>(SourceControl::Tc) + list);
}

/// Whether the instrument takes that control's command in its present mode (`SourceMode`, column 51 of the
/// status reply).
bool MaySend(SourceControl control, int sourceMode);

/// The command, without line end; empty where `MaySend` is false. `argument` goes behind it: the new state
/// "0" or "1" (OnOff), the digit "1" to "5" with "1" the leftmost (Up, Down), n and m (NmSet), the 0-based
/// position in the list; Nm has none.
QString SourceCommandText(SourceControl control, int sourceMode, const QString &argument = {});

} // namespace px40
