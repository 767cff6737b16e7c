#pragma once

namespace px40 {

/// Size and state of a data window as the data file keeps them.
struct WindowShape
{
    static constexpr int Normal = 0;
    static constexpr int Maximised = 2;
    static constexpr int Largest = 32767;

    int width = 9600; ///< of the normal state, outer frame included, in twips (1/1440 inch)
    int height = 4800;
    int state = Normal;
};

} // namespace px40
