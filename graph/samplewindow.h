#pragma once

#include <QtGlobal>

namespace px40 {

/// The samples that a graph shows: `count` of them, after the first `skipped` ones.
struct SampleWindow
{
    static constexpr int Fewest = 2; // fewer make no line

    qint32 skipped = 0;
    int count = Fewest;

    bool operator==(const SampleWindow &) const = default;

    /// The samples from `first` to `last` (1-based), or as near to these as a set of `samples` has them.
    static SampleWindow Of(qint32 first, qint32 last, qint32 samples);

    /// The furthest that the window can be moved.
    qint32 Furthest(qint32 samples) const;
    void MoveTo(qint64 to, qint32 samples);

    /// With `to` samples, but two at least, around the same middle.
    SampleWindow Resized(qint64 to, qint32 samples) const;
};

} // namespace px40
