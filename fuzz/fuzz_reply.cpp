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

void CheckNumber(const QString &reply, int column)
{
    const QString field = Field(reply, column, NumberWidth);
    QString shown = FormatReplyNumber(reply, column);
    if (Field(reply, column - 1, 1) == u"-") {
        PX40_CHECK(shown.startsWith(u'-'));
        shown.remove(0, 1);
    }
    // What is shown is the field's end, and what is left out is zeros and blanks.
    PX40_CHECK(field.endsWith(shown));
    PX40_CHECK(field.size() < NumberWidth || !shown.isEmpty());
    for (const QChar dropped : field.chopped(shown.size()))
        PX40_CHECK(dropped == u'0' || dropped == u' ');
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const QString reply =
        QString::fromLatin1(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));
    for (int column = 1; column <= LastColumn; ++column) {
        CheckNumber(reply, column);
        PX40_CHECK(PrefixText(reply, column).size() <= 1);
        for (const int sourceFunction : {0, 3})
            PX40_CHECK(UnitText(reply, column, sourceFunction).size() <= 5);
    }
    const ReadingTexts before{QStringLiteral("a"), QString(), QStringLiteral("c"), QString()};
    ReadingTexts reading = before;
    QString message;
    const bool decoded = DecodeMeasureReply(reply, &reading, &message);
    PX40_CHECK(decoded != reply.startsWith(u"ERR"));
    PX40_CHECK(decoded == message.isEmpty());
    PX40_CHECK(decoded || reading == before);
    return 0;
}
