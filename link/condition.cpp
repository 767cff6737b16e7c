#include "link/condition.h"

#include "resources/strings.h"

#include <algorithm>
#include <iterator>
#include <variant>

namespace px40 {

namespace {

/// A number that could not be read, or is blank.
constexpr int Unreadable = -1;

constexpr int ShortLength = 44;

using Flags = std::array<bool, 8>;

/// Where a member of the status is found.
struct Column
{
    enum Rule {
        Always,
        WhileMeasuring, ///< otherwise the member keeps its value
        MayBeBlank,
    };

    int first; ///< 1-based
    int width;
    std::variant<int InstrumentStatus::*, QString InstrumentStatus::*, Flags InstrumentStatus::*> member;
    Rule rule = Always;
};

/// From left to right. Columns not listed are ignored.
constexpr Column Columns[] = {
    {1, 1, &InstrumentStatus::MeasureOn},
    {2, 1, &InstrumentStatus::MeasureFunction, Column::WhileMeasuring},
    {3, 2, &InstrumentStatus::MeasureRange, Column::WhileMeasuring},
    {5, ValueField::Width, &InstrumentStatus::MeasureValue, Column::WhileMeasuring},
    {19, 1, &InstrumentStatus::SourceOn},
    {20, 1, &InstrumentStatus::SourceFunction},
    {21, 2, &InstrumentStatus::SourceRange},
    {23, ValueField::Width, &InstrumentStatus::SourceField},
    {37, 8, &InstrumentStatus::OptionBits},
    {49, 1, &InstrumentStatus::SourceSubMode, Column::MayBeBlank},
    {50, 1, &InstrumentStatus::PulseSubMode, Column::MayBeBlank},
    {51, 1, &InstrumentStatus::SourceMode},
    {52, 1, &InstrumentStatus::CommMode},
};
static_assert(std::get<0>(std::end(Columns)[-1].member) == &InstrumentStatus::CommMode,
              "CheckCommMode takes the last character of a reply for it");
constexpr int FullLength = std::end(Columns)[-1].first + std::end(Columns)[-1].width - 1;

bool Read(const QString &field, const Column &column, int *number)
{
    *number = Unreadable;
    if (column.rule == Column::MayBeBlank && field == u" ")
        return true;
    if (field.size() != column.width)
        return false;
    int value = 0;
    for (const QChar digit : field) {
        if (digit < u'0' || digit > u'9')
            return false;
        value = value * 10 + (digit.unicode() - u'0');
    }
    *number = value;
    return true;
}

bool Read(const QString &field, const Column &, QString *text)
{
    *text = field;
    return true;
}

bool Read(const QString &field, const Column &column, Flags *flags)
{
    for (int i = 0; i < column.width; ++i) {
        const QString flag = field.mid(i, 1);
        if (flag != u"0" && flag != u"1")
            return false;
        flags->at(static_cast<std::size_t>(column.width - 1 - i)) = flag == u"1";
    }
    return true;
}

QString SourceUnitText(const InstrumentStatus &status, const QString &code, int sourceFunction)
{
    constexpr int ThermocoupleSource = 3;
    const QString unit = UnitText(code);
    if (code == u"T  ") {
        if (status.SourceSubMode == 1)
            return sourceFunction == ThermocoupleSource ? QStringLiteral("VDC") : Text(Str::UnitOhm);
        return status.SourceSubMode == 0 || status.SourceSubMode == 2 ? unit : QString();
    }
    if (code == u"F  ") {
        switch (status.PulseSubMode) {
        case 0:
            return unit;
        case 1:
            return QStringLiteral("VP-P");
        case 2:
            return QStringLiteral("Cycle");
        default:
            return {};
        }
    }
    return unit;
}

ReadingTexts SampleOf(const InstrumentStatus &status, int sourceFunction)
{
    ReadingTexts sample;
    if (status.MeasureOn != 0)
        ShowMeasuredValue(SplitValue(status.MeasureValue), &sample);
    // The source value is shown as a number whatever its state letter says.
    const ValueField source = SplitValue(status.SourceField);
    sample.sourceValue = FormatReplyNumber(source);
    sample.sourceUnit = PrefixText(source) + SourceUnitText(status, source.unit, sourceFunction);
    return sample;
}

} // namespace

DecodedCondition DecodeCondition(const QString &reply, const InstrumentStatus &before)
{
    if (reply.startsWith(u"ERR"))
        return {std::nullopt, {NoReplyText(), {}, {}, {}}};
    InstrumentStatus status = before;
    bool readable = true;
    for (const Column &column : Columns) {
        if (column.rule == Column::WhileMeasuring && status.MeasureOn == 0)
            continue;
        const QString field = Field(reply, column.first, column.width);
        const auto read = [&](auto member) { return Read(field, column, &(status.*member)); };
        readable = std::visit(read, column.member) && readable;
    }
    const ValueField source = SplitValue(status.SourceField);
    status.SourceValue = source.sign + source.number;
    DecodedCondition decoded;
    // In a reply damaged by noise the source function cannot be trusted either: the one before is used.
    decoded.sample = SampleOf(status, readable ? status.SourceFunction : before.SourceFunction);
    status.SourceSubMode = std::max(status.SourceSubMode, 0); // blank
    status.PulseSubMode = std::max(status.PulseSubMode, 0);
    if (readable)
        decoded.status = status;
    return decoded;
}

bool HasConditionLength(qsizetype length)
{
    return length == FullLength || length == ShortLength;
}

Result<> CheckCommMode(const QString &reply)
{
    const QString mode = HasConditionLength(reply.size()) ? reply.last(1) : QString();
    if (reply == NoReplyText()) // no status, but no reason to stop asking either
        return {};
    const QString remedy = QStringLiteral("\r\n") + Text(Str::ChangeMode);
    if (mode == u"1")
        return Fail(Text(Str::PrinterMode) + remedy);
    if (mode == u"2")
        return Fail(Text(Str::TalkOnlyMode) + remedy);
    if (mode == u"0" && reply.size() == FullLength)
        return {};
    return Fail(Text(Str::CommunicationError));
}

} // namespace px40
