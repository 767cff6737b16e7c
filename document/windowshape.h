#pragma once

namespace px40 {

/// Size and state of a data window as the data file keeps them. What is in a file stays as it is until the
/// user changes the window: also a size that the window cannot have, and a state that is none.
struct WindowShape
{
    static constexpr int Normal = 0;
    static constexpr int Minimised = 1;
    static constexpr int Maximised = 2;
    static constexpr int Smallest = -32768;
    static constexpr int Largest = 32767;

    int width = 9600; ///< of the normal state, outer frame included, in twips (1/1440 inch)
    int height = 4800;
    int state = Normal;
};

} // namespace px40
