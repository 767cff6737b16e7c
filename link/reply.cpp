#include "link/reply.h"

#include "resources/strings.h"

namespace px40 {

namespace {

constexpr int NumberWidth = 6;

// Where the two values begin in a stored reading.
constexpr int MeasureColumn = 1;
constexpr int SourceColumn = 16;

/// How many leading characters of a number may be dropped, by the 1-based position of its decimal point.
int DroppableCount(qsizetype pointPosition)
{
    const bool digitsBeforeAndAfter = pointPosition >= 2 && pointPosition <= 5;
    return digitsBeforeAndAfter ? static_cast<int>(pointPosition) - 2 : NumberWidth - 1;
}

void ShowValue(const ValueField &field, bool hasBurnOut, QString *value, QString *unit)
{
    unit->clear();
    if (field.state == u"O" || field.state == u"E") {
        *value = NoValueText();
    } else if (field.state == u"B" && hasBurnOut) {
        *value = BurnOutText();
    } else {
        *value = FormatReplyNumber(field);
        *unit = PrefixText(field);
    }
    if (field.state != u"E")
        *unit += UnitText(field.unit);
}

} // namespace

QString NoValueText()
{
    return QStringLiteral("-----");
}

QString BurnOutText()
{
    return QStringLiteral(" -bo-");
}

QString NoReplyText()
{
    return QStringLiteral("ERROR");
}

QString Field(QStringView reply, int column, int width)
{
    return reply.mid(column - 1, width).toString();
}

ValueField SplitValue(QStringView field)
{
    return {Field(field, 1, 3), Field(field, 4, 1), Field(field, 5, 1), Field(field, 6, NumberWidth),
            Field(field, 12, 3)};
}

void ShowMeasuredValue(const ValueField &value, ReadingTexts *reading)
{
    ShowValue(value, true, &reading->measureValue, &reading->measureUnit);
}

Result<ReadingTexts> DecodeMeasureReply(const QString &reply)
{
    if (Field(reply, 1, 3) == u"ERR")
        return Fail(Text(Str::CommandError));
    const auto value = [&reply](int column) { return SplitValue(Field(reply, column, ValueField::Width)); };
    ReadingTexts reading;
    ShowMeasuredValue(value(MeasureColumn), &reading);
    // The source side has no burn-out state.
    ShowValue(value(SourceColumn), false, &reading.sourceValue, &reading.sourceUnit);
    return reading;
}

QString FormatReplyNumber(const ValueField &value)
{
    int droppable = DroppableCount(value.number.indexOf(u'.') + 1);
    QString result;
    if (value.sign == u"-")
        result = value.sign;
    for (const QChar character : value.number) {
        const bool leading = character == u'0' || character == u' ';
        if (droppable > 0 && leading) {
            --droppable;
            continue;
        }
        droppable = 0;
        result.append(character);
    }
    return result;
}

QString PrefixText(const ValueField &value)
{
    if (value.exponent == u"E-3")
        return QStringLiteral("m");
    if (value.exponent == u"E+3")
        return QStringLiteral("k");
    return {};
}

QString UnitText(const QString &code)
{
    if (code == u"O  ")
        return Text(Str::UnitOhm);
    if (code == u"T  ")
        return Text(Str::UnitCelsius);
    if (code == u"F  ")
        return QStringLiteral("Hz");
    return code;
}

} // namespace px40
