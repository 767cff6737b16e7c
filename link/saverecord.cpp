#include "link/saverecord.h"

#include "resources/strings.h"

#include <QLoggingCategory>

namespace px40 {

namespace {
Q_LOGGING_CATEGORY(lcRecord, "px40.link.record", QtWarningMsg)
}

bool CheckDigitOk(QString *reply)
{
    if (reply->isEmpty())
        return false;
    unsigned sum = 0;
    for (qsizetype i = 0; i + 1 < reply->size(); ++i)
        sum += static_cast<unsigned char>(reply->at(i).toLatin1());
    const char16_t digit = u"0123456789ABCDEF"[sum & 0xFU];
    if (reply->back() != digit)
        return false;
    reply->chop(1);
    return true;
}

bool CheckSaveRecord(const QString &reply, QString *value, QString *unit, QString *errorMessage)
{
    QString record = reply;
    if (!CheckDigitOk(&record)) {
        *errorMessage = Text(Str::DataError);
        return false;
    }
    if (record == u"CMD,ERR") {
        *errorMessage = Text(Str::CommandError);
        return false;
    }
    if (record == u"RS") {
        value->clear();
        unit->clear();
        return true;
    }
    const QString state = record.mid(3, 1); // "O" is over-range; it changes nothing here
    qCDebug(lcRecord) << "record state" << state;
    return true;
}

} // namespace px40
