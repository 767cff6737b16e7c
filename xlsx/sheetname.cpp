#include "xlsx/sheetname.h"

#include <QRegularExpression>
#include <QSet>

namespace px40 {

namespace {

constexpr qsizetype LongestName = 31; // UTF-16 units

bool IsAllowed(char32_t character)
{
    // XML cannot hold control characters and noncharacters.
    return QChar::category(character) != QChar::Other_Control && !QChar::isNonCharacter(character) &&
           !QStringView(u"[]:*?/\\").contains(QChar::fromUcs4(character));
}

/// At most `length` UTF-16 units, and no half of a surrogate pair.
QString Cut(QString name, qsizetype length)
{
    name.truncate(length);
    if (name.size() == length && length > 0 && name.back().isHighSurrogate())
        name.chop(1);
    return name.trimmed();
}

QString WithoutOuterApostrophes(QString name)
{
    static const QRegularExpression outer(QStringLiteral("^[' ]+|[' ]+$"));
    return name.remove(outer);
}

QString LegalName(const QString &title)
{
    QString name;
    const QList<uint> characters = title.toUcs4();
    for (const char32_t character : characters)
        name += IsAllowed(character) ? QString::fromUcs4(&character, 1) : QStringLiteral(" ");
    name = WithoutOuterApostrophes(name.simplified());
    return WithoutOuterApostrophes(Cut(name, LongestName));
}

} // namespace

QString NewSheetName(const QString &title, const QStringList &taken)
{
    // Excel reserves this name.
    QSet<QString> names = {QStringLiteral("history")};
    for (const QString &name : taken)
        names.insert(name.toCaseFolded());

    const QString base = LegalName(title);
    for (int number = 1;; ++number) {
        QString name = base;
        if (base.isEmpty()) {
            name = QStringLiteral("PX40 %1").arg(number);
        } else if (number > 1) {
            const QString suffix = QStringLiteral(" (%1)").arg(number);
            name = Cut(base, LongestName - suffix.size()) + suffix;
        }
        if (!names.contains(name.toCaseFolded()))
            return name;
    }
}

} // namespace px40
