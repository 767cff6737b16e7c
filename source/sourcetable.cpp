#include "source/sourcetable.h"

#include <string_view>

namespace px40 {

namespace {

constexpr std::string_view AnyMode = "0123456789";

/// What a control sets in certain source modes; each digit of `modes` is one of them.
struct Row
{
    SourceControl control;
    std::string_view modes;
    SourceSetting setting;
};

/// The three range lists send the same command; the instrument tells them apart by its present function.
/// Stepping down is open in every mode, stepping up is not.
constexpr Row Rows[] = {
    {SourceControl::OnOff, AnyMode, SourceSetting::Output},
    {SourceControl::Up, "04", SourceSetting::StepUp},
    {SourceControl::Down, AnyMode, SourceSetting::StepDown},
    {SourceControl::Nm, "04", SourceSetting::RatioOn},
    {SourceControl::Nm, "68", SourceSetting::RatioOff},
    {SourceControl::NmSet, AnyMode, SourceSetting::Ratio},
    {SourceControl::Tc, "014", SourceSetting::Range},
    {SourceControl::Rtd, "014", SourceSetting::Range},
    {SourceControl::Temp, "04", SourceSetting::Temperature},
    {SourceControl::Pulse, "0", SourceSetting::Range},
    {SourceControl::PulseSet, "04", SourceSetting::Pulse},
};

} // namespace

std::optional<SourceSetting> SettingOf(SourceControl control, int sourceMode)
{
    for (const Row &row : Rows) {
        if (row.control == control && row.modes.find(static_cast<char>('0' + sourceMode)) != row.modes.npos)
            return row.setting;
    }
    return std::nullopt;
}

} // namespace px40
