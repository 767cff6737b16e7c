// Any bytes as a reply of the instrument: as readings, looked at from every column, and as a SAVE-mode
// record, as they come and with the right check character behind them.

#include "fuzz/check.h"
#include "link/reply.h"
#include "link/saverecord.h"

#include <QString>

namespace px40 {

namespace {

constexpr int NumberWidth = 6;
constexpr int LastColumn = 60; // some way behind the longest reply

void CheckValue(const QString &reply, int column)
{
    const ValueField value = SplitValue(Field(reply, column, ValueField::Width));
    const QString &field = value.number;
    QString shown = FormatReplyNumber(value);
    PX40_CHECK(PrefixText(value).size() <= 1);
    PX40_CHECK(UnitText(value.unit).size() <= 5);
    if (value.sign == u"-") {
        PX40_CHECK(shown.startsWith(u'-'));
        shown.remove(0, 1);
    }
    // What is shown is the field's end, and what is left out is zeros and blanks.
    PX40_CHECK(field.endsWith(shown));
    PX40_CHECK(field.size() < NumberWidth || !shown.isEmpty());
    for (const QChar dropped : field.chopped(shown.size()))
        PX40_CHECK(dropped == u'0' || dropped == u' ');
}

void CheckRecord(const QString &reply)
{
    const std::optional<QStringView> record = CheckedRecord(reply);
    PX40_CHECK(!record || *record == reply.chopped(1));
    const Result<bool> filled = CheckSaveRecord(reply);
    PX40_CHECK(filled.has_value() == (record && *record != u"CMD,ERR"));
    PX40_CHECK(!filled || *filled == (*record != u"RS"));
}

} // namespace

void CheckInput(const QByteArray &input)
{
    const QString reply = QString::fromLatin1(input);
    for (int column = 1; column <= LastColumn; ++column)
        CheckValue(reply, column);
    PX40_CHECK(DecodeMeasureReply(reply).has_value() != reply.startsWith(u"ERR"));
    CheckRecord(reply);
    int accepted = 0;
    for (const QChar digit : QStringLiteral("0123456789ABCDEF")) {
        CheckRecord(reply + digit);
        accepted += CheckedRecord(reply + digit) ? 1 : 0;
    }
    PX40_CHECK(accepted == 1);
}

} // namespace px40
