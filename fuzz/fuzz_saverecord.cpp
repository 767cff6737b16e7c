// Any bytes as a SAVE-mode record: as they come, and with the right check character behind them.

#include "fuzz/check.h"
#include "link/saverecord.h"

#include <QString>

#include <cstddef>
#include <cstdint>

namespace {

using namespace px40;

void CheckRecord(const QString &reply)
{
    const std::optional<QStringView> record = CheckedRecord(reply);
    PX40_CHECK(!record || *record == reply.chopped(1));
    const Result<bool> filled = CheckSaveRecord(reply);
    PX40_CHECK(filled.has_value() == (record && *record != u"CMD,ERR"));
    PX40_CHECK(!filled || *filled == (*record != u"RS"));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const auto length = static_cast<qsizetype>(size);
    const QString bytes = QString::fromLatin1(reinterpret_cast<const char *>(data), length);
    CheckRecord(bytes);
    int accepted = 0;
    for (const QChar digit : QStringLiteral("0123456789ABCDEF")) {
        const QString reply = bytes + digit;
        CheckRecord(reply);
        accepted += CheckedRecord(reply) ? 1 : 0;
    }
    PX40_CHECK(accepted == 1);
    return 0;
}
