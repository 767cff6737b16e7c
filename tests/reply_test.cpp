#include "link/reply.h"
#include "link/saverecord.h"

#include <QTest>

#include <tuple>

using namespace px40;

class ReplyTest : public QObject
{
    Q_OBJECT

  private Q_SLOTS:
    void DecodesBothSides();
    void FormatsNumbers();
    void TranslatesUnits();
    void ChecksSaveRecords();
};

void ReplyTest::DecodesBothSides()
{
    // Unit, state, sign, number and exponent of both sides; value and unit of both.
    constexpr std::pair<const char *, const char *> rows[] = {
        {"VDC  001.23E+0,ADC -012.50E-3", "1.23|VDC|-12.50|mADC"},
        {"O  O 999999E+3,O  O 999999E+3", "-----|Ohm|-----|Ohm"}, // over-range keeps the bare unit
        {"VDC  001", "1|VDC||"},                                  // cut off
        {"", "|||"},
        {"VDCE 000.00E+0,VDCE 000.00E+0", "-----||-----|"},
        {"T  B 000.00E+0,T  B 0123.4E+0", " -bo-|C.|123.4|C."}, // burn-out on the measured side only
        {"O    1.2345E+3,F    0500.0E+3", "1.2345|kOhm|500.0|kHz"},
        {"VDC -0\x81x.3\x7f   ,VDC  0?1.23E*3", "-\x81x.3\x7f|VDC|?1.23|VDC"}, // noise as it came
    };
    for (const auto &[reply, texts] : rows) {
        ReadingTexts reading;
        QString error = u"untouched"_qs;
        QVERIFY(DecodeMeasureReply(QString::fromLatin1(reply), &reading, &error));
        const QStringList decoded{reading.measureValue, reading.measureUnit, reading.sourceValue,
                                  reading.sourceUnit};
        QCOMPARE(decoded.join(u'|'), QString::fromLatin1(texts));
        QCOMPARE(error, u"untouched"_qs);
        const ReadingTexts before = reading;
        QVERIFY(!DecodeMeasureReply(u"ERR and more"_qs, &reading, &error));
        QCOMPARE(error, u"Command error occurred."_qs);
        QVERIFY(reading == before); // a refusal leaves it alone
    }
}

void ReplyTest::FormatsNumbers()
{
    constexpr std::pair<const char *, const char *> rows[] = {
        {" 001.23", "1.23"}, {"  12.34", "12.34"},   {" 000.00", "0.00"},   {" 0.0000", "0.0000"},
        {" 000001", "1"},    {" 000000", "0"},       {"-012.50", "-12.50"}, {"+0000.5", "0.5"},
        {" 00000.", "."},    {"- .1234", "- .1234"}, {" .00001", ".00001"}, {" 0 0 10", "10"},
    };
    for (const auto &[field, text] : rows)
        QCOMPARE(FormatReplyNumber(u"VDC "_qs + QString::fromLatin1(field), 6), QString::fromLatin1(text));
}

void ReplyTest::TranslatesUnits()
{
    // A code and its column, columns 49 and 50, the source function, the unit.
    constexpr std::tuple<const char *, int, const char *, int, const char *> rows[] = {
        {"O  ", 23, "00", 0, "Ohm"},   // resistance
        {"V  ", 5, "00", 0, "V  "},    // other codes keep their blanks
        {"T  ", 5, "10", 3, "C."},     // temperature measured: the sub mode is the source's
        {"T  ", 23, "00", 3, "C."},    // temperature set
        {"T  ", 23, "20", 3, "C."},    // ambient
        {"T  ", 23, "10", 3, "VDC"},   // thermocouple as voltage
        {"T  ", 23, "10", 4, "Ohm"},   // thermometer as resistance
        {"T  ", 23, " 0", 3, ""},      // unknown sub mode
        {"F  ", 1, "02", 0, "Hz"},     // frequency measured
        {"F  ", 23, "00", 0, "Hz"},    // frequency
        {"F  ", 23, "01", 0, "VP-P"},  // amplitude
        {"F  ", 23, "02", 0, "Cycle"}, // count
        {"F  ", 23, "03", 0, ""},      // unknown pulse mode
    };
    for (const auto &[code, column, subModes, sourceFunction, unit] : rows) {
        QString reply(52, u'0');
        reply.replace(column - 1, 3, QString::fromLatin1(code));
        reply.replace(48, 2, QString::fromLatin1(subModes));
        QCOMPARE(UnitText(reply, column, sourceFunction), QString::fromLatin1(unit));
    }
}

void ReplyTest::ChecksSaveRecords()
{
    const QString badData = u"Data error occurred."_qs;
    // A record, the error, and what stands in value and unit afterwards.
    const std::tuple<const char *, QString, const char *> rows[] = {
        // "RS" is 82 + 83 = 165 = 0xA5; "CMD,ERR" is 67+77+68+44+69+82+82 = 489 = 0x1E9; "ABJ" is 205 = 0xCD.
        {"RS5", QString(), ""},
        {"CMD,ERR9", u"Command error occurred."_qs, "kept"},
        {"ABJD", QString(), "kept"},
        {"ABJd", badData, "kept"},
        {"", badData, "kept"},
        {"0", QString(), "kept"},
        {"\xff\xfe\x44", QString(), "kept"}, // codes above 0x7F count in full
    };
    for (const auto &[record, message, output] : rows) {
        const QString reply = QString::fromLatin1(record);
        QString value = u"kept"_qs;
        QString unit = value;
        QString error;
        QCOMPARE(CheckSaveRecord(reply, &value, &unit, &error), message.isEmpty());
        QCOMPARE(error, message);
        QCOMPARE(value, QString::fromLatin1(output));
        QCOMPARE(unit, value);
        QString digits = reply;
        const bool accepted = CheckDigitOk(&digits);
        QCOMPARE(digits, accepted ? reply.chopped(1) : reply);
    }
}

QTEST_GUILESS_MAIN(ReplyTest)
#include "reply_test.moc"
