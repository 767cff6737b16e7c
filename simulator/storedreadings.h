#pragma once

#include <array>
#include <cstdint>
#include <string>

namespace px40::sim {

inline constexpr int MemorySize = 50;

using Memory = std::array<std::string, MemorySize>;

/// Fifty measured-value replies as after a day's work: voltages, currents, resistances, temperatures and
/// frequencies, among them some over-range, burn-out and error readings on either side. The same seed gives
/// the same readings.
Memory StoredReadings(std::uint64_t seed);

/// Fifty SAVE-mode records without their check character; "RS" where nothing has been saved.
Memory SavedRecords(const Memory &readings);

} // namespace px40::sim
