#pragma once

#include "document/dataset.h"

namespace px40 {

/// A real-time data set without a window.
struct GraphRig
{
    explicit GraphRig(int samples = 0)
    {
        set.OpenNew(KindRealtime);
        for (int i = 1; i <= samples; ++i)
            Add(QString::number(i));
    }

    void Add(const QString &reading)
    {
        static_cast<void>(set.AddGridrow());
        set.AddRealtimedata(u"10:00"_qs, reading, u"VDC"_qs, {}, {}, IsValidReading(reading));
    }

    DocumentShared shared;
    DataSet set{shared};
};

} // namespace px40
