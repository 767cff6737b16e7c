#pragma once

#include <chrono>
#include <cstddef>

namespace px40::sim {

/// How fast the simulated serial line and the instrument behind it are.
struct Line
{
    /// False: commands are answered at once and nothing below counts.
    bool paced = true;
    /// Start bit, eight data bits, two stop bits.
    double bitsPerCharacter = 11;
    double baud = 9600;
    /// From the end of the command to the start of the reply.
    std::chrono::microseconds thinking{3000};

    /// How long so many characters are on their way.
    std::chrono::nanoseconds LineTime(std::size_t characters) const
    {
        const double seconds = static_cast<double>(characters) * bitsPerCharacter / baud;
        return std::chrono::round<std::chrono::nanoseconds>(std::chrono::duration<double>(seconds));
    }
};

} // namespace px40::sim
