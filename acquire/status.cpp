#include "acquire/status.h"

#include "link/reply.h"
#include "resources/strings.h"

#include <QStringList>

namespace px40 {

namespace {

constexpr int ShortReply = 44;
constexpr int FullReply = 52;
constexpr int NumberColumn = 5; // of sign and number within a value field
constexpr int NumberWidth = 7;

/// The whole number in a field that must be full of digits.
template <typename T>
bool ReadDigits(const QString &reply, int column, int width, T *number)
{
    const QString field = Field(reply, column, width);
    if (field.size() != width)
        return false;
    int value = 0;
    for (const QChar c : field) {
        if (c < u'0' || c > u'9')
            return false;
        value = value * 10 + (c.unicode() - u'0');
    }
    *number = static_cast<T>(value);
    return true;
}

bool ReadDigitOrBlank(const QString &reply, int column, qint16 *number)
{
    *number = 0;
    return Field(reply, column, 1) == u" " || ReadDigits(reply, column, 1, number);
}

} // namespace

bool DecodeStatus(const QString &reply, InstrumentStatus *status)
{
    InstrumentStatus next = *status;
    if (!ReadDigits(reply, 1, 1, &next.MeasureOn))
        return false;
    if (next.MeasureOn != 0) {
        if (!ReadDigits(reply, 2, 1, &next.MeasureFunction) || !ReadDigits(reply, 3, 2, &next.MeasureRange))
            return false;
        next.MeasureValue = Field(reply, 5, 14);
    }
    if (!ReadDigits(reply, 19, 1, &next.SourceOn) || !ReadDigits(reply, 20, 1, &next.SourceFunction) ||
        !ReadDigits(reply, 21, 2, &next.SourceRange))
        return false;
    next.SourceField = Field(reply, 23, 14);
    next.SourceValue = Field(next.SourceField, NumberColumn, NumberWidth);
    next.SourcePointPos = static_cast<int>(next.SourceValue.indexOf(u'.')) + 1;
    next.OptionFlags = Field(reply, 37, 8);
    if (!UnpackOptionFlags(&next))
        return false;
    next.StatusFieldA = Field(reply, 45, 2);
    next.StatusFieldB = Field(reply, 47, 2);
    if (!ReadDigitOrBlank(reply, 49, &next.SourceSubMode) ||
        !ReadDigitOrBlank(reply, 50, &next.PulseSubMode) || !ReadDigits(reply, 51, 1, &next.SourceMode) ||
        !ReadDigits(reply, 52, 1, &next.CommMode))
        return false;
    *status = next;
    return true;
}

bool UnpackOptionFlags(InstrumentStatus *status)
{
    std::array<bool, 8> bits{};
    for (int i = 0; i < 8; ++i) {
        const QString flag = Field(status->OptionFlags, i + 1, 1);
        if (flag != u"0" && flag != u"1")
            return false;
        bits.at(static_cast<std::size_t>(7 - i)) = flag == u"1";
    }
    status->OptionBits = bits;
    return true;
}

qint16 CheckCommMode(const QString &recvBuffer, int replyLength)
{
    if (recvBuffer == NoReplyText())
        return CommModeUsable;
    if (replyLength != FullReply && replyLength != ShortReply)
        return CommModeError;
    const bool full = replyLength == FullReply;
    const QString mode = Field(recvBuffer, replyLength, 1);
    if (mode == u"0")
        return full ? CommModeUsable : CommModeError;
    if (mode == u"1")
        return full ? CommModePrinter : CommModePrinterShort;
    if (mode == u"2")
        return full ? CommModeTalkOnly : CommModeTalkOnlyShort;
    return CommModeError;
}

QString CommModeMessage(qint16 commMode)
{
    const QString remedy = QStringLiteral("\r\n") + Text(Str::ChangeMode);
    switch (commMode) {
    case CommModePrinter:
    case CommModePrinterShort:
        return Text(Str::PrinterMode) + remedy;
    case CommModeTalkOnly:
    case CommModeTalkOnlyShort:
        return Text(Str::TalkOnlyMode) + remedy;
    default:
        return Text(Str::CommunicationError);
    }
}

QString NoAnswerMessage()
{
    const QStringList lines = {Text(Str::NoAnswer), Text(Str::NoAnswerPlug), Text(Str::NoAnswerPower),
                               Text(Str::NoAnswerPort), Text(Str::NoAnswerMode)};
    return lines.join(QStringLiteral("\r\n"));
}

} // namespace px40
