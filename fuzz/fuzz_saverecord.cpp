// Any bytes as a SAVE-mode record: as they come, and with the right check character behind them.

#include "fuzz/check.h"
#include "link/saverecord.h"

#include <QByteArray>
#include <QString>

#include <cstddef>
#include <cstdint>

namespace {

using namespace px40;

const QString Untouched = QStringLiteral("untouched");

char CheckCharacter(const QByteArray &bytes)
{
    int sum = 0;
    for (const char byte : bytes)
        sum = (sum + (static_cast<unsigned char>(byte) & 0xF)) % 16;
    return static_cast<char>(sum < 10 ? '0' + sum : 'A' + sum - 10);
}

bool HasRightCheck(const QByteArray &bytes)
{
    return !bytes.isEmpty() && bytes.back() == CheckCharacter(bytes.chopped(1));
}

void CheckDigit(const QByteArray &bytes)
{
    const QString reply = QString::fromLatin1(bytes);
    QString record = reply;
    const bool accepted = CheckDigitOk(&record);
    PX40_CHECK(accepted == HasRightCheck(bytes));
    PX40_CHECK(record == (accepted ? reply.chopped(1) : reply));
}

void CheckRecord(const QByteArray &bytes)
{
    QString value = Untouched;
    QString unit = Untouched;
    QString message;
    const bool accepted = CheckSaveRecord(QString::fromLatin1(bytes), &value, &unit, &message);
    const bool refused = HasRightCheck(bytes) && bytes.chopped(1) == "CMD,ERR";
    PX40_CHECK(accepted == (HasRightCheck(bytes) && !refused));
    PX40_CHECK(accepted == message.isEmpty());
    const bool isEmptyRecord = accepted && bytes.chopped(1) == "RS";
    PX40_CHECK(value == (isEmptyRecord ? QString() : Untouched));
    PX40_CHECK(unit == (isEmptyRecord ? QString() : Untouched));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));
    QByteArray checked = bytes;
    checked.append(CheckCharacter(bytes));
    for (const QByteArray &reply : {bytes, checked}) {
        CheckDigit(reply);
        CheckRecord(reply);
    }
    return 0;
}
