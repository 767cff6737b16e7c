#include "acquire/sample.h"

namespace px40 {

namespace {

// Columns of the status reply.
constexpr int MeasureOnColumn = 1;
constexpr int MeasureUnit = 5;
constexpr int MeasureState = 8;
constexpr int MeasureNumber = 10;
constexpr int MeasureExponent = 16;
constexpr int SourceUnit = 23;
constexpr int SourceNumber = 28;
constexpr int SourceExponent = 34;

} // namespace

ReadingTexts DecodeSample(const QString &reply, int sourceFunctionCode)
{
    ReadingTexts sample;
    if (Field(reply, 1, 3) == u"ERR") {
        sample.measureValue = QStringLiteral("ERROR");
        return sample;
    }
    if (Field(reply, MeasureOnColumn, 1) != u"0") {
        const QString state = Field(reply, MeasureState, 1);
        if (state == u"O" || state == u"E") {
            sample.measureValue = QStringLiteral("-----");
        } else if (state == u"B") {
            sample.measureValue = QStringLiteral(" -bo-");
        } else {
            sample.measureValue = FormatReplyNumber(reply, MeasureNumber);
            sample.measureUnit = PrefixText(reply, MeasureExponent);
        }
        if (state != u"E")
            sample.measureUnit += UnitText(reply, MeasureUnit);
    }
    // The source side shows its number whatever its state letter says.
    sample.sourceValue = FormatReplyNumber(reply, SourceNumber);
    sample.sourceUnit = PrefixText(reply, SourceExponent) + UnitText(reply, SourceUnit, sourceFunctionCode);
    return sample;
}

} // namespace px40
