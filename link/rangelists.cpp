#include "link/rangelists.h"

#include "resources/strings.h"

namespace px40 {

RangeLists BuildRangeLists()
{
    const QStringList thermocouples = QStringLiteral("K E J T R B S N L U").split(QLatin1Char(' '));
    RangeLists lists;
    lists.TcSourceList = QStringList(QStringLiteral("100mV")) + thermocouples;
    lists.TcMeasureList = QStringList(QStringLiteral("DC")) + thermocouples;
    lists.RtdList = {Text(Str::Rtd400Ohm), QStringLiteral("PT100"), QStringLiteral("JPT100")};
    lists.TempSetList = {Text(Str::TempSetValue), Text(Str::TempSetMillivolt), Text(Str::TempSetAmbient)};
    lists.PulseFreqList = {QStringLiteral("500.0Hz"), QStringLiteral("1000Hz"), QStringLiteral("10kHz")};
    lists.PulseKindList = {Text(Str::PulseFrequency), Text(Str::PulseAmplitude), Text(Str::PulseCount)};
    return lists;
}

} // namespace px40
