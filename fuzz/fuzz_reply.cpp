// Any bytes as a reply of the instrument, looked at from every column.

#include "fuzz/check.h"
#include "link/reply.h"

#include <QString>

#include <cstddef>
#include <cstdint>

namespace {

using namespace px40;

constexpr int NumberWidth = 6;
constexpr int LastColumn = 60; // some way behind the longest reply
constexpr int LongestUnit = 5;

void CheckField(const QString &reply, int column)
{
    for (const int width : {1, 3, NumberWidth}) {
        const QString field = Field(reply, column, width);
        PX40_CHECK(field.size() <= width);
        PX40_CHECK(QStringView(reply).mid(column - 1).startsWith(field));
    }
}

bool MayBeDropped(QChar character)
{
    return character == u'0' || character == u' ';
}

void CheckNumber(const QString &reply, int column)
{
    const QString field = Field(reply, column, NumberWidth);
    QString shown = FormatReplyNumber(reply, column);
    PX40_CHECK(shown.size() <= NumberWidth + 1);

    if (Field(reply, column - 1, 1) == u"-") {
        PX40_CHECK(shown.startsWith(u'-'));
        shown.remove(0, 1);
    }
    PX40_CHECK(field.endsWith(shown));
    const qsizetype dropped = field.size() - shown.size();
    for (qsizetype i = 0; i < dropped; ++i)
        PX40_CHECK(MayBeDropped(field.at(i)));

    // A whole number keeps its last digit, and a broken one the digit before its point.
    if (field.size() == NumberWidth)
        PX40_CHECK(!shown.isEmpty());
    const qsizetype point = field.indexOf(u'.');
    if (point >= 1 && point <= 4)
        PX40_CHECK(shown.indexOf(u'.') >= 1);
}

void CheckPrefix(const QString &reply, int column)
{
    const QString prefix = PrefixText(reply, column);
    PX40_CHECK(prefix.isEmpty() || prefix == u"m" || prefix == u"k");
    PX40_CHECK(!prefix.isEmpty() == (Field(reply, column, 3) == u"E-3" || Field(reply, column, 3) == u"E+3"));
}

void CheckUnit(const QString &reply, int column)
{
    const QString code = Field(reply, column, 3);
    const bool translated = code == u"O  " || code == u"T  " || code == u"F  ";
    for (const int sourceFunction : {0, 3, 4}) { // no temperature, a thermocouple, a resistance
        const QString unit = UnitText(reply, column, sourceFunction);
        PX40_CHECK(unit.size() <= LongestUnit);
        PX40_CHECK(translated ? unit != code : unit == code);
    }
}

void CheckMeasureReply(const QString &reply)
{
    const ReadingTexts before{QStringLiteral("a"), QStringLiteral("b"), QStringLiteral("c"),
                              QStringLiteral("d")};
    ReadingTexts reading = before;
    QString message;
    if (!DecodeMeasureReply(reply, &reading, &message)) {
        PX40_CHECK(reply.startsWith(u"ERR"));
        PX40_CHECK(reading == before);
        PX40_CHECK(!message.isEmpty());
        return;
    }
    PX40_CHECK(!reply.startsWith(u"ERR"));
    PX40_CHECK(message.isEmpty());
    for (const QString *const value : {&reading.measureValue, &reading.sourceValue})
        PX40_CHECK(value->size() <= NumberWidth + 1);
    for (const QString *const unit : {&reading.measureUnit, &reading.sourceUnit})
        PX40_CHECK(unit->size() <= LongestUnit + 1);
    // A reply of no columns at all gives no texts at all.
    if (reply.isEmpty())
        PX40_CHECK(reading == ReadingTexts());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const QString reply =
        QString::fromLatin1(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));
    for (int column = 1; column <= LastColumn; ++column) {
        CheckField(reply, column);
        CheckNumber(reply, column);
        CheckPrefix(reply, column);
        CheckUnit(reply, column);
    }
    CheckMeasureReply(reply);
    return 0;
}
