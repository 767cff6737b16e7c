#include "source/numberformat.h"

#include <QRegularExpression>

#include <cmath>

namespace px40 {

QString TwoDigits(const QString &text)
{
    static const QRegularExpression decimal(
        QStringLiteral("\\A[+-]?([0-9]+\\.?[0-9]*|\\.[0-9]+)([eE][+-]?[0-9]+)?\\z"));
    const QString trimmed = text.trimmed();
    bool known = decimal.match(trimmed).hasMatch();
    const double number = known ? std::round(trimmed.toDouble(&known)) : 0;
    if (!known)
        return text;
    const QString digits = QString::number(std::abs(number), 'f', 0).rightJustified(2, u'0');
    return number < 0 ? u'-' + digits : digits;
}

} // namespace px40
