#include "acquire/spokenreading.h"

#include "acquire/measuredisplay.h"
#include "resources/strings.h"

#include <QStringList>

#include <utility>

namespace px40 {

namespace {

QString SpokenUnit(const SideDisplay &display)
{
    if (display.symbol != Captions::NoSymbol)
        return Text(Str::SpokenCelsius);
    static const std::pair<QString, Str> Units[] = {
        {QStringLiteral("V"), Str::SpokenVolts},         {QStringLiteral("mV"), Str::SpokenMillivolts},
        {QStringLiteral("mA"), Str::SpokenMilliamperes}, {Text(Str::UnitOhm), Str::SpokenOhms},
        {QStringLiteral("Hz"), Str::SpokenHertz},        {QStringLiteral("kHz"), Str::SpokenKilohertz},
        {QStringLiteral("CPM"), Str::SpokenPerMinute},   {QStringLiteral("CPH"), Str::SpokenPerHour},
        {QStringLiteral("Cycle"), Str::SpokenCycles},
    };
    for (const auto &[unit, spoken] : Units) {
        if (unit == display.unit)
            return Text(spoken);
    }
    return display.unit;
}

/// Without the zeros before the number, which the instrument shows as it has room for them.
QString SpokenNumber(QString value)
{
    value = value.trimmed();
    const bool negative = value.startsWith(u'-');
    qsizetype first = 0;
    while (first + 1 < value.size() && !value.at(first).isDigit())
        ++first;
    while (first + 1 < value.size() && value.at(first) == u'0' && value.at(first + 1).isDigit())
        ++first;
    return negative ? Text(Str::SpokenMinus).arg(value.mid(first)) : value.mid(first);
}

} // namespace

QString SpokenReading(const SideDisplay &display, const QString &value)
{
    if (!display.known || value.trimmed().isEmpty())
        return Text(Str::SpokenNothing);
    if (!display.fault.isEmpty())
        return display.fault;
    QStringList words{SpokenNumber(value), SpokenUnit(display)};
    if (!display.function.isEmpty()) // a thermocouple's is one letter
        words << (display.function.size() == 1 ? Text(Str::SpokenType).arg(display.function)
                                               : display.function);
    words.removeAll(QString());
    return words.join(u' ');
}

} // namespace px40
