#include "platform/onelinevalidator.h"

#include <QRegularExpression>

#include <algorithm>

namespace px40 {

OneLineValidator::OneLineValidator(const QString &between, QObject *parent)
    : QValidator(parent), between_(between)
{
}

QValidator::State OneLineValidator::validate(QString &text, int &cursor) const
{
    static const QRegularExpression atEnd(QStringLiteral("[\\r\\n\\x{2028}\\x{2029}]+$"));
    static const QRegularExpression within(QStringLiteral("\\r\\n|[\\r\\n\\x{2028}\\x{2029}]"));
    const qsizetype before = text.left(cursor).replace(within, between_).size();
    text.remove(atEnd).replace(within, between_);
    cursor = static_cast<int>(std::min(before, text.size()));
    return Acceptable;
}

} // namespace px40
