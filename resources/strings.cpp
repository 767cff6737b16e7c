#include "resources/strings.h"

namespace px40 {

namespace {

const char16_t *Lookup(Str id)
{
    switch (id) {
#define PX40_TEXT(name, number, text)                                                                        \
    case Str::name:                                                                                          \
        return text;
#include "resources/stringtable.h"
#undef PX40_TEXT
    }
    return u"";
}

} // namespace

QString Text(Str id)
{
    return QString::fromUtf16(Lookup(id));
}

QString Counted(Str id, qint64 count)
{
    QString text = Text(id).replace(QStringLiteral("%n"), QString::number(count));
    return text.replace(QStringLiteral("(s)"), count == 1 ? QString() : QStringLiteral("s"));
}

QString FirstLine(const QString &text)
{
    return text.section(QStringLiteral("\r\n"), 0, 0);
}

} // namespace px40
