#pragma once

#include "acquire/measuredisplay.h"
#include "source/sourcetable.h"

#include <QString>

#include <array>

namespace px40 {

struct InstrumentStatus;
struct RangeLists;

/// What the SOURCE window shows.
struct SourceDisplay : SideDisplay
{
    /// The lists (see `SourceList`).
    enum List { TcList, RtdList, TempList, PulseList, PulseSetList };
    static constexpr int Lists = SourceLists;
    static constexpr int KeepPosition = -1;

    std::array<QString, 6> digits; ///< 0 the sign, with a leading point or a sixth digit; 1 to 5 the digits
    std::array<bool, 4> points{};  ///< k is lit: the decimal point is after digit k + 1

    /// The 0-based position that each list takes; `KeepPosition` where the instrument says nothing about it.
    std::array<int, Lists> positions{KeepPosition, KeepPosition, KeepPosition, KeepPosition, KeepPosition};
    std::array<bool, Lists> inEffect{}; ///< the instrument's present function is the one that a list is for
    QString signalEntry;                ///< what entry 1 of the temperature mode list reads; empty: as it is
    bool ratioOn = false;               ///< n/m
    bool mayStepUp = true;
    bool mayChooseRange = true; ///< at least one of the lists is obeyed

    bool operator==(const SourceDisplay &) const = default;
};

/// Value, unit, function, lamp, indicators and lists for a status. A range that is outside its list shows
/// nothing rather than a wrong text. `indicatorsElsewhere`: the option indicators are lit in the MEASURE
/// window.
SourceDisplay ShowSource(const InstrumentStatus &status, const RangeLists &ranges, bool indicatorsElsewhere);

} // namespace px40
