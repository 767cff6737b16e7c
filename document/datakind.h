#pragma once

#include <QString>

namespace px40 {

/// Where a data set came from, as data files and kind texts have it.
enum DataKindCode : int {
    KindMemory = 0,
    KindUnknown = 1,
    KindRealtime = 2,
    KindReserved = 3,
    KindSave = 4,
};

/// The kinds that data windows hold and data files keep.
inline bool IsFileKind(int kind)
{
    return kind == KindMemory || kind == KindRealtime || kind == KindSave;
}

/// The code of a kind text: "0", "2", "3" and "4" give their number, any other text gives 1.
inline int DataKind(const QString &kind)
{
    for (const int code : {KindMemory, KindRealtime, KindReserved, KindSave}) {
        if (kind == QString::number(code))
            return code;
    }
    return KindUnknown;
}

} // namespace px40
