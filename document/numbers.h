#pragma once

#include <QString>
#include <QStringView>

#include <optional>

namespace px40 {

// Numbers as users type them and as data files hold them: with "." as decimal point whatever the user's
// language and without separators of thousands, blanks around them allowed.

/// A whole number from -32768 to 32767, or nothing: "20.0" is 20, "2.5" is not whole.
std::optional<int> WholeNumber(QStringView text);

/// A finite number of single precision, or nothing.
std::optional<float> SingleNumber(QStringView text);

/// "True" and "False" in any case, or a number, of which zero alone is false. Nothing for any other text.
std::optional<bool> BooleanValue(QStringView text);

/// "True" or "False".
QString BooleanText(bool value);

/// A limit of the value axis, -60000 to 60000 in single precision, as it is written again: shortest, seven
/// digits at most. Nothing for any other text.
std::optional<QString> AxisLimitOf(QStringView text);

} // namespace px40
