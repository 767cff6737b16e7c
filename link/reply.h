#pragma once

#include "platform/result.h"

#include <QString>
#include <QStringView>

namespace px40 {

/// Columns of replies are 1-based, as in the instrument's manual.
/// A field past the end of the reply is short or empty.
QString Field(QStringView reply, int column, int width);

/// The texts that stand for no value: over-range or no reading ("-----"), burn-out (" -bo-", with its leading
/// blank), and no answer at all ("ERROR").
QString NoValueText();
QString BurnOutText();
QString NoReplyText();

/// A value as replies have it, in 14 columns. Parts that are missing are short or empty.
struct ValueField
{
    static constexpr int Width = 14;

    QString unit;     ///< a code of three characters
    QString state;    ///< "O" over-range, "E" no reading, "B" burn-out of a measured value
    QString sign;     ///< shows only when it is "-"
    QString number;   ///< six characters
    QString exponent; ///< "E-3", "E+0" or "E+3"
};
ValueField SplitValue(QStringView field);

/// What a data set keeps of one reading: texts, as shown.
struct ReadingTexts
{
    QString measureValue; ///< "-----" over-range or no reading, " -bo-" burn-out (with its leading blank)
    QString measureUnit;
    QString sourceValue;
    QString sourceUnit;

    bool operator==(const ReadingTexts &) const = default;
};

/// Puts a measured value's texts into `reading`.
void ShowMeasuredValue(const ValueField &value, ReadingTexts *reading);

/// Decodes the reply to a request for a stored reading: the measured value, a separator and the source's.
///
/// It fails when the instrument refused the command ("ERR"). Anything else decodes: missing columns give
/// short or empty texts, noise is copied.
Result<ReadingTexts> DecodeMeasureReply(const QString &reply);

/// Sign and number without leading zeros and blanks, at least one digit before the decimal point.
QString FormatReplyNumber(const ValueField &value);

/// "m" or "k" for the exponent, else empty.
QString PrefixText(const ValueField &value);

/// The unit for a code; codes that need no translation stay as they are.
QString UnitText(const QString &code);

} // namespace px40
