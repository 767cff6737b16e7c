#pragma once

#include <QtGlobal>

namespace px40 {

/// A run of samples that a graph shows: `count` of them behind the first `behind` ones.
struct SampleWindow
{
    static constexpr int Fewest = 2; // fewer make no line

    qint32 behind = 0;
    int count = Fewest;

    bool operator==(const SampleWindow &) const = default;

    /// As near to the samples from `first` to `last` (1-based) as a set of so many samples has them.
    static SampleWindow Of(qint32 first, qint32 last, qint32 samples);

    /// The furthest that the window can be moved.
    qint32 Furthest(qint32 samples) const;
    void MoveTo(qint64 to, qint32 samples);

    /// So many samples, but two at least, around the same middle.
    SampleWindow Resized(qint64 to, qint32 samples) const;
};

} // namespace px40
