#pragma once

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

/// What a data set keeps of one reading: texts, as shown.
struct ReadingTexts
{
    QString measureValue; ///< "-----" over-range or no reading, " -bo-" burn-out (with its leading blank)
    QString measureUnit;
    QString sourceValue;
    QString sourceUnit;

    bool operator==(const ReadingTexts &) const = default;
};

/// Decodes the 14-character value field at `column`: unit code, state letter, sign, six-character number,
/// exponent. `hasBurnOut`: the state "B" means burn-out there; otherwise it is a normal reading's.
void DecodeValueField(const QString &reply, int column, bool hasBurnOut, QString *value, QString *unit);

/// Decodes the reply to a request for a stored reading (29 columns: unit code, state, sign, number and
/// exponent of the measured side, a separator, the same of the source side).
///
/// False when the instrument refused the command ("ERR"); then `errorMessage` says so and `reading` is
/// untouched. Anything else decodes: missing columns give short or empty texts, noise is copied.
bool DecodeMeasureReply(const QString &reply, ReadingTexts *reading, QString *errorMessage);

/// The six-character number from `column` without leading zeros and blanks, at least one digit before the
/// decimal point; its sign stands one column before it and shows only when it is "-".
QString FormatReplyNumber(const QString &reply, int column);

/// "m" or "k" for the exponent field at `column`, else empty.
QString PrefixText(const QString &reply, int column);

/// The unit for the three-character code at `column`; codes that need no translation come out as they
/// stand. Column 23, the source field of a status reply, also looks at the sub modes in columns 49 and 50,
/// and for a temperature source at `sourceFunctionCode` (column 20 of the last status reply).
QString UnitText(const QString &reply, int column, int sourceFunctionCode = 0);

} // namespace px40
