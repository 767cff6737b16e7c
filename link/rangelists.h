#pragma once

#include <QStringList>

namespace px40 {

/// The texts of the instrument's ranges, indexed from 0 by the range code that goes over the line.
struct RangeLists
{
    QStringList TcSourceList;  ///< thermocouple source
    QStringList TcMeasureList; ///< thermocouple measurement
    QStringList RtdList;       ///< resistance thermometer source
    QStringList TempSetList;   ///< how a temperature is set; entry 1 follows the source function
    QStringList PulseFreqList; ///< frequency source
    QStringList PulseKindList; ///< what of a pulse is set
};

RangeLists BuildRangeLists();

} // namespace px40
