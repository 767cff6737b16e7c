#pragma once

#include "link/reply.h"
#include "platform/result.h"

#include <QString>

#include <array>
#include <optional>

namespace px40 {

/// What the instrument measures and sources at a moment. One table, in condition.cpp, says in which columns
/// of the reply the members are.
struct InstrumentStatus
{
    int MeasureOn = 0; ///< not 0 while the instrument measures
    int MeasureFunction = 0;
    int MeasureRange = 0; ///< within the function
    QString MeasureValue; ///< as sent; see `SplitValue`
    int SourceOn = 0;     ///< 1 while the source's output is on
    int SourceFunction = 0;
    int SourceRange = 0;              ///< within the function
    QString SourceField;              ///< as sent; see `SplitValue`
    QString SourceValue;              ///< sign and number of `SourceField`
    std::array<bool, 8> OptionBits{}; ///< the last flag that is sent is bit 0
    int SourceSubMode = 0;            ///< how a temperature source is expressed
    int PulseSubMode = 0;             ///< 0 frequency, 1 amplitude, 2 count
    int SourceMode = 0;
    int CommMode = 0; ///< 0 normal, 1 printer, 2 talk-only

    bool operator==(const InstrumentStatus &) const = default;
};

/// Source modes that the measuring side looks at; the others matter only to the SOURCE window.
inline bool HidesMeasurement(int sourceMode)
{
    return sourceMode == 1 || sourceMode == 3;
}

/// What a reply to `AskCondition` says.
struct DecodedCondition
{
    std::optional<InstrumentStatus> status; ///< nothing when the reply is too short, or has a letter where a
                                            ///< digit belongs
    ReadingTexts sample; ///< what a row of real-time data keeps of it, noise included; while measuring is off
                         ///< the measured side is empty
};

/// `before`: the status of the reply before. While the instrument does not measure, function, range and value
/// of the measuring side keep what they held.
DecodedCondition DecodeCondition(const QString &reply, const InstrumentStatus &before);

/// Whether a line is as long as such a reply: 52 columns, or the 44 of a short form, which is never decoded.
bool HasConditionLength(qsizetype length);

/// Whether the reply comes from an instrument in normal communication mode. The failure is the text of a box.
Result<> CheckCommMode(const QString &reply);

} // namespace px40
