#include "link/reply.h"

#include "resources/strings.h"

namespace px40 {

namespace {

constexpr int NumberWidth = 6;
constexpr int StatusSourceUnitColumn = 23;

QString OverText()
{
    return QStringLiteral("-----");
}

QString BurnOutText()
{
    return QStringLiteral(" -bo-");
}

/// How many leading characters of a number may be dropped, by the 1-based position of its point.
int DroppableCount(qsizetype pointPosition)
{
    const bool digitsBeforeAndAfter = pointPosition >= 2 && pointPosition <= 5;
    return digitsBeforeAndAfter ? static_cast<int>(pointPosition) - 2 : NumberWidth - 1;
}

struct SideColumns
{
    int unit;
    int state;
    int number;
    int exponent;
    bool hasBurnOut;
};

constexpr SideColumns MeasureSide{1, 4, 6, 12, true};
constexpr SideColumns SourceSide{16, 19, 21, 27, false}; // the source side knows no burn-out

void DecodeSide(const QString &reply, const SideColumns &columns, QString *value, QString *unit)
{
    const QString state = Field(reply, columns.state, 1);
    if (state == u"E") {
        *value = OverText();
        unit->clear();
    } else if (state == u"O") {
        *value = OverText();
        *unit = UnitText(reply, columns.unit);
    } else if (state == u"B" && columns.hasBurnOut) {
        *value = BurnOutText();
        *unit = UnitText(reply, columns.unit);
    } else {
        *value = FormatReplyNumber(reply, columns.number);
        *unit = PrefixText(reply, columns.exponent) + UnitText(reply, columns.unit);
    }
}

} // namespace

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
    DecodeSide(reply, MeasureSide, &reading->measureValue, &reading->measureUnit);
    DecodeSide(reply, SourceSide, &reading->sourceValue, &reading->sourceUnit);
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
