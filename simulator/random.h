#pragma once

#include <cstdint>

namespace px40::sim {

/// A small generator whose numbers are the same on every machine.
class Random
{
  public:
    explicit Random(std::uint64_t seed) : state_(seed) {}

    std::uint64_t Next()
    {
        state_ += 0x9E3779B97F4A7C15U;
        std::uint64_t mixed = state_;
        mixed = (mixed ^ (mixed >> 30U)) * 0xBF58476D1CE4E5B9U;
        mixed = (mixed ^ (mixed >> 27U)) * 0x94D049BB133111EBU;
        return mixed ^ (mixed >> 31U);
    }

    /// From -reach to reach, both included; `reach` must not be negative.
    long Around(long reach)
    {
        const auto count = static_cast<std::uint64_t>(reach) * 2 + 1;
        return static_cast<long>(Next() % count) - reach;
    }

  private:
    std::uint64_t state_;
};

} // namespace px40::sim
