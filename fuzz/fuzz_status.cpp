// Any bytes as the reply to the status question: it is understood to the last column, or changes nothing.

#include "acquire/measuredisplay.h"
#include "fuzz/check.h"
#include "link/condition.h"
#include "link/rangelists.h"
#include "source/sourcedisplay.h"

#include <QString>

#include <algorithm>
#include <array>

namespace px40 {

namespace {

/// A state that no reply leaves behind unnoticed: function, range and value are kept while nothing is
/// measured.
InstrumentStatus Before()
{
    InstrumentStatus status;
    status.MeasureFunction = 6;
    status.MeasureRange = 3;
    status.MeasureValue = QStringLiteral("CPMN 01482.E+0");
    status.SourceField = status.SourceValue = QStringLiteral("?");
    status.OptionBits.fill(true);
    return status;
}

/// The reply that says the same; digits stand where blanks may, and `unread` where nobody looks.
QString Encoded(const InstrumentStatus &status, const QString &unread)
{
    QString flags;
    for (const bool bit : status.OptionBits)
        flags.prepend(bit ? u'1' : u'0');
    const auto digits = [](int number, int width = 1) {
        return QString::number(number).rightJustified(width, u'0');
    };
    return digits(status.MeasureOn) + digits(status.MeasureFunction) + digits(status.MeasureRange, 2) +
           status.MeasureValue + digits(status.SourceOn) + digits(status.SourceFunction) +
           digits(status.SourceRange, 2) + status.SourceField + flags + unread +
           digits(status.SourceSubMode) + digits(status.PulseSubMode) + digits(status.SourceMode) +
           digits(status.CommMode);
}

/// A reply as `Encoded` would write it.
QString Expected(QString reply)
{
    reply.truncate(52);
    for (const qsizetype blank : {48, 49}) {
        if (reply[blank] == u' ')
            reply[blank] = u'0';
    }
    if (reply[0] == u'0')
        reply.replace(1, 17, Encoded(Before(), {}).mid(1, 17)); // kept
    return reply;
}

/// Nothing that came over the line gets lost or is made up: sign, digits and point are the value's
/// characters, blanks apart.
void CheckSourceValue(const InstrumentStatus &status, const SourceDisplay &shown)
{
    const auto lit = std::count(shown.points.begin(), shown.points.end(), true);
    const bool noValue = QStringLiteral("OE").contains(status.SourceField[3]);
    PX40_CHECK(lit <= (noValue ? 0 : 1));
    PX40_CHECK(shown.digits[0].size() <= 2);
    QString line = shown.digits[0];
    for (std::size_t k = 1; k < shown.digits.size(); ++k) {
        PX40_CHECK(shown.digits.at(k).size() <= 1);
        line += shown.digits.at(k);
        if (k <= shown.points.size() && shown.points.at(k - 1))
            line += u'.';
    }
    QString value = status.SourceValue;
    if (value.indexOf(u'.', 1) == value.size() - 1)
        value.chop(1); // a point behind the last digit
    if (value.startsWith(u'+'))
        value.remove(0, 1);
    PX40_CHECK(noValue ? line == u"-----"
                       : line.simplified().remove(u' ') == value.simplified().remove(u' '));
}

void CheckSource(const InstrumentStatus &status)
{
    static const RangeLists ranges = BuildRangeLists();
    const SourceDisplay shown = ShowSource(status, ranges, false);
    CheckSourceValue(status, shown);
    const std::array<qsizetype, SourceDisplay::Lists> sizes = {
        ranges.TcSourceList.size(), ranges.RtdList.size(), ranges.TempSetList.size(),
        ranges.PulseFreqList.size(), ranges.PulseKindList.size()};
    for (std::size_t i = 0; i < sizes.size(); ++i)
        PX40_CHECK(shown.positions.at(i) >= SourceDisplay::KeepPosition &&
                   shown.positions.at(i) < sizes.at(i));
    // A symbol stands in place of a unit and beside a function.
    PX40_CHECK(shown.symbol == MeasureDisplay::NoSymbol ||
               (shown.unit.isEmpty() && !shown.function.isEmpty()));
    PX40_CHECK(!shown.signalEntry.isEmpty());
    PX40_CHECK(!shown.mayStepUp || shown.mayChooseRange);
    // The indicators apart, the two windows do not depend on each other.
    SourceDisplay dark = shown;
    dark.indicators = {};
    PX40_CHECK(ShowSource(status, ranges, true) == dark);
    PX40_CHECK(shown.indicators == ShowOptionIndicators(status));
}

void CheckDisplay(const InstrumentStatus &status)
{
    static const RangeLists ranges = BuildRangeLists();
    const MeasureDisplay shown = ShowMeasure(status, ranges);
    const bool hidden = HidesMeasurement(status.SourceMode);
    PX40_CHECK(shown.on || (shown.value.isEmpty() && shown.unit.isEmpty() && shown.function.isEmpty()));
    PX40_CHECK(shown.value.isEmpty() || shown.value.size() == 5 || shown.value.size() == 7);
    PX40_CHECK(!hidden || !shown.buttonEnabled);
    PX40_CHECK(shown.indicators == (hidden ? ShowOptionIndicators(status) : OptionIndicators()));
}

} // namespace

void CheckInput(const QByteArray &input)
{
    const QString reply = QString::fromLatin1(input);
    PX40_CHECK(!CheckCommMode(reply) || reply == NoReplyText() ||
               (reply.size() == 52 && reply.endsWith(u'0')));
    const DecodedCondition decoded = DecodeCondition(reply, Before());
    PX40_CHECK(decoded.sample.measureUnit.size() <= 6 && decoded.sample.sourceUnit.size() <= 6);
    if (!decoded.status)
        return;
    const InstrumentStatus &status = *decoded.status;
    PX40_CHECK(Encoded(status, reply.mid(44, 4)) == Expected(reply));
    PX40_CHECK(status.SourceValue == status.SourceField.mid(4, 7));
    CheckDisplay(status);
    CheckSource(status);
}

} // namespace px40
