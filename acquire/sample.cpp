#include "acquire/sample.h"

namespace px40 {

namespace {

// Columns of the status reply.
constexpr int MeasureOnColumn = 1;
constexpr int MeasureField = 5;
constexpr int SourceUnit = 23;
constexpr int SourceNumber = 28;
constexpr int SourceExponent = 34;

} // namespace

ReadingTexts DecodeSample(const QString &reply, int sourceFunctionCode)
{
    ReadingTexts sample;
    if (Field(reply, 1, 3) == u"ERR") {
        sample.measureValue = NoReplyText();
        return sample;
    }
    if (Field(reply, MeasureOnColumn, 1) != u"0")
        DecodeValueField(reply, MeasureField, true, &sample.measureValue, &sample.measureUnit);
    // The source side shows its number whatever its state letter says.
    sample.sourceValue = FormatReplyNumber(reply, SourceNumber);
    sample.sourceUnit = PrefixText(reply, SourceExponent) + UnitText(reply, SourceUnit, sourceFunctionCode);
    return sample;
}

} // namespace px40
