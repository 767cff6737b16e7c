#include "link/reply.h"

#include "resources/strings.h"

namespace px40 {

namespace {

constexpr int NumberWidth = 6;
constexpr int StatusSourceUnitColumn = 23;

/// How many leading characters of a number may be dropped, by the 1-based position of its point.
int DroppableCount(qsizetype pointPosition)
{
    const bool digitsBeforeAndAfter = pointPosition >= 2 && pointPosition <= 5;
    return digitsBeforeAndAfter ? static_cast<int>(pointPosition) - 2 : NumberWidth - 1;
}

// Columns of the value fields in the reply to a request for a stored reading.
constexpr int MeasureColumn = 1;
constexpr int SourceColumn = 16;

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

void DecodeValueField(const QString &reply, int column, bool hasBurnOut, QString *value, QString *unit)
{
    const QString state = Field(reply, column + 3, 1);
    unit->clear();
    if (state == u"O" || state == u"E") {
        *value = NoValueText();
    } else if (state == u"B" && hasBurnOut) {
        *value = BurnOutText();
    } else {
        *value = FormatReplyNumber(reply, column + 5);
        *unit = PrefixText(reply, column + 11);
    }
    if (state != u"E")
        *unit += UnitText(reply, column);
}

QString Field(QStringView reply, int column, int width)
{
    return reply.mid(column - 1, width).toString();
}

bool DecodeMeasureReply(const QString &reply, ReadingTexts *reading, QString *errorMessage)
{
    if (Field(reply, 1, 3) == u"ERR") {
        *errorMessage = Text(Str::CommandError);
        return false;
    }
    DecodeValueField(reply, MeasureColumn, true, &reading->measureValue, &reading->measureUnit);
    // The source side knows no burn-out.
    DecodeValueField(reply, SourceColumn, false, &reading->sourceValue, &reading->sourceUnit);
    return true;
}

QString FormatReplyNumber(const QString &reply, int column)
{
    const QString number = Field(reply, column, NumberWidth);
    int droppable = DroppableCount(number.indexOf(u'.') + 1);
    QString result;
    if (Field(reply, column - 1, 1) == u"-")
        result = QStringLiteral("-");
    for (const QChar character : number) {
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

QString PrefixText(const QString &reply, int column)
{
    const QString exponent = Field(reply, column, 3);
    if (exponent == u"E-3")
        return QStringLiteral("m");
    if (exponent == u"E+3")
        return QStringLiteral("k");
    return {};
}

QString UnitText(const QString &reply, int column, int sourceFunctionCode)
{
    constexpr int ThermocoupleSource = 3;
    const QString code = Field(reply, column, 3);
    if (code == u"O  ")
        return Text(Str::UnitOhm);
    if (code == u"T  ") {
        if (column != StatusSourceUnitColumn)
            return Text(Str::UnitCelsius);
        const QString subMode = Field(reply, 49, 1);
        if (subMode == u"0" || subMode == u"2")
            return Text(Str::UnitCelsius);
        if (subMode == u"1")
            return sourceFunctionCode == ThermocoupleSource ? QStringLiteral("VDC") : Text(Str::UnitOhm);
        return {};
    }
    if (code == u"F  ") {
        const QString subMode = column == StatusSourceUnitColumn ? Field(reply, 50, 1) : QStringLiteral("0");
        if (subMode == u"0")
            return QStringLiteral("Hz");
        if (subMode == u"1")
            return QStringLiteral("VP-P");
        if (subMode == u"2")
            return QStringLiteral("Cycle");
        return {};
    }
    return code;
}

} // namespace px40
