#pragma once

#include <QString>
#include <QStringList>

#include <array>

namespace px40 {

struct InstrumentStatus;
struct RangeLists;
struct ValueField;

/// The texts of the seven option indicators; an empty one is not lit.
using OptionIndicators = std::array<QString, 7>;

/// What the instrument says of the value that it shows.
struct Captions
{
    /// Which picture takes the place of a unit.
    enum Symbol { NoSymbol = -1, ThermocoupleSymbol = 0, Pt100Symbol = 1, Jpt100Symbol = 2 };

    QString unit;
    QString function;
    Symbol symbol = NoSymbol;

    bool operator==(const Captions &) const = default;
};

/// For a range of a thermocouple, a position in that list; the first one is a plain voltage. `asSignal`:
/// the value is what the sensor gives, not a temperature.
Captions ThermocoupleCaptions(int range, const QStringList &list, bool asSignal);

/// For a position in the list of resistance thermometers; the first one is a plain resistance.
Captions ThermometerCaptions(int position, const RangeLists &ranges, bool asSignal);

/// What the display of each side of the instrument shows beside its value.
struct SideDisplay : Captions
{
    bool known = false; ///< from a status; otherwise no lamp is shown
    bool on = false;    ///< the lamp
    OptionIndicators indicators;
    QString fault = {}; ///< in words, why there is no number; empty: there is one

    bool operator==(const SideDisplay &) const = default;
};

/// What the MEASURE window shows.
struct MeasureDisplay : SideDisplay
{
    QString value;             ///< sign and number as the instrument shows them, "-----", " -bo-", or empty
    bool buttonEnabled = true; ///< measuring can be switched on and off from here

    bool operator==(const MeasureDisplay &) const = default;
};

/// Captions, symbol, lamp, button, indicators and value for a status. A range that is outside its list shows
/// nothing rather than a wrong text.
MeasureDisplay ShowMeasure(const InstrumentStatus &status, const RangeLists &ranges);

/// In words, why a value is none: over range, error or burn-out; empty where it is one.
QString ValueFault(const ValueField &value);

/// The text for a 14-character value field: "-----" over-range or no reading, " -bo-" burn-out, else sign and
/// number as they are.
QString MeasureValueText(const QString &field);

/// The option indicators for a status. Senses are mixed: "RJON", "IPTS-68" and "CONTACT IN" are lit while
/// their flag is 0, "AUTO OFF" while it is 1.
OptionIndicators ShowOptionIndicators(const InstrumentStatus &status);

} // namespace px40
