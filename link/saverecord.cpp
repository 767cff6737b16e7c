#include "link/saverecord.h"

#include "resources/strings.h"

namespace px40 {

std::optional<QStringView> CheckedRecord(QStringView reply)
{
    if (reply.isEmpty())
        return std::nullopt;
    const QStringView record = reply.chopped(1);
    unsigned sum = 0;
    for (const QChar character : record)
        sum += static_cast<unsigned char>(character.toLatin1());
    const char16_t digit = u"0123456789ABCDEF"[sum & 0xFU];
    return reply.back() == digit ? std::optional(record) : std::nullopt;
}

Result<bool> CheckSaveRecord(const QString &reply)
{
    const std::optional<QStringView> record = CheckedRecord(reply);
    if (!record)
        return Fail(Text(Str::DataError));
    if (*record == u"CMD,ERR")
        return Fail(Text(Str::CommandError));
    return *record != u"RS";
}

} // namespace px40
