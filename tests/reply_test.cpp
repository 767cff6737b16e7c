#include "link/condition.h"
#include "link/saverecord.h"

#include <QTest>

using namespace px40;

namespace {

QString Joined(const ReadingTexts &texts)
{
    return QStringList({texts.measureValue, texts.measureUnit, texts.sourceValue, texts.sourceUnit})
        .join(u'|');
}

} // namespace

class ReplyTest : public QObject
{
    Q_OBJECT

  private Q_SLOTS:
    void DecodesBothSides_data()
    {
        QTest::addColumn<QByteArray>("reply");
        QTest::addColumn<QByteArray>("texts"); // value and unit of both sides; empty: refused
        const auto row = [](const char *name, const char *reply, const char *texts) {
            QTest::newRow(name) << QByteArray(reply) << QByteArray(texts);
        };
        row("plain", "VDC  001.23E+0,ADC -012.50E-3", "1.23|VDC|-12.50|mADC");
        row("over-range keeps the bare unit", "O  O 999999E+3,O  O 999999E+3", "-----|Ohm|-----|Ohm");
        row("cut off", "VDC  001", "1|VDC||");
        row("nothing", "", "|||");
        row("no reading", "VDCE 000.00E+0,VDCE 000.00E+0", "-----||-----|");
        row("burn-out on the measured side only", "T  B 000.00E+0,T  B 0123.4E+0", " -bo-|C.|123.4|C.");
        row("prefixes", "O    1.2345E+3,F    0500.0E+3", "1.2345|kOhm|500.0|kHz");
        row("noise as it came", "VDC -0\x81x.3\x7f   ,VDC  0?1.23E*3", "-\x81x.3\x7f|VDC|?1.23|VDC");
        row("refused", "ERR and more", "");
    }

    void DecodesBothSides()
    {
        QFETCH(QByteArray, reply);
        QFETCH(QByteArray, texts);
        const Result<ReadingTexts> reading = DecodeMeasureReply(QString::fromLatin1(reply));
        QCOMPARE(reading.has_value(), !texts.isEmpty());
        if (reading)
            QCOMPARE(Joined(*reading), QString::fromLatin1(texts));
        else
            QCOMPARE(reading.error().text, u"Command error occurred."_qs);
    }

    void FormatsNumbers()
    {
        constexpr std::pair<const char *, const char *> rows[] = {
            {" 001.23", "1.23"}, {"  12.34", "12.34"},   {" 000.00", "0.00"},   {" 0.0000", "0.0000"},
            {" 000001", "1"},    {" 000000", "0"},       {"-012.50", "-12.50"}, {"+0000.5", "0.5"},
            {" 00000.", "."},    {"- .1234", "- .1234"}, {" .00001", ".00001"}, {" 0 0 10", "10"},
        };
        for (const auto &[field, text] : rows)
            QCOMPARE(FormatReplyNumber(SplitValue(u"VDC "_qs + QString::fromLatin1(field))),
                     QString::fromLatin1(text));
    }

    void ShowsUnitsOfTheSource_data()
    {
        QTest::addColumn<QString>("code");
        QTest::addColumn<QString>("subModes"); // columns 49 and 50
        QTest::addColumn<int>("sourceFunction");
        QTest::addColumn<QString>("unit");
        const auto row = [](const char *name, const char *code, const char *subModes, int function,
                            const char *unit) {
            QTest::newRow(name) << QString::fromLatin1(code) << QString::fromLatin1(subModes) << function
                                << QString::fromLatin1(unit);
        };
        row("resistance", "O  ", "00", 0, "Ohm");
        row("other codes keep their blanks", "V  ", "00", 0, "V  ");
        row("temperature", "T  ", "00", 3, "C.");
        row("ambient", "T  ", "20", 3, "C.");
        row("thermocouple as voltage", "T  ", "10", 3, "VDC");
        row("thermometer as resistance", "T  ", "10", 4, "Ohm");
        row("no sub mode", "T  ", " 0", 3, "");
        row("frequency", "F  ", "00", 0, "Hz");
        row("amplitude", "F  ", "01", 0, "VP-P");
        row("count", "F  ", "02", 0, "Cycle");
        row("unknown pulse mode", "F  ", "03", 0, "");
        row("no pulse mode", "F  ", "0 ", 0, "");
    }

    void ShowsUnitsOfTheSource()
    {
        QFETCH(QString, code);
        QFETCH(QString, subModes);
        QFETCH(int, sourceFunction);
        QFETCH(QString, unit);
        QString reply(52, u'0');
        reply.replace(19, 1, QString::number(sourceFunction));
        reply.replace(22, 3, code);
        reply.replace(48, 2, subModes);
        QCOMPARE(DecodeCondition(reply, {}).sample.sourceUnit, unit);
        reply[50] = u'x'; // where noise has hit it, the function is that of the status before
        InstrumentStatus before;
        before.SourceFunction = sourceFunction;
        reply[19] = u'9';
        QCOMPARE(DecodeCondition(reply, before).sample.sourceUnit, unit);
    }

    void ChecksSaveRecords_data()
    {
        QTest::addColumn<QByteArray>("reply");
        QTest::addColumn<QString>("judgement");
        const auto row = [](const char *name, const char *reply, const QString &judgement) {
            QTest::newRow(name) << QByteArray(reply) << judgement;
        };
        const QString badData = u"Data error occurred."_qs;
        // "RS" is 82 + 83 = 165 = 0xA5; "CMD,ERR" is 67+77+68+44+69+82+82 = 489 = 0x1E9; "ABJ" is 205 = 0xCD.
        row("empty", "RS5", u"empty"_qs);
        row("refused", "CMD,ERR9", u"Command error occurred."_qs);
        row("filled", "ABJD", u"filled"_qs);
        row("small letter", "ABJd", badData);
        row("nothing", "", badData);
        row("nothing but the check character", "0", u"filled"_qs);
        row("codes above 0x7F count in full", "\xff\xfe\x44", u"filled"_qs);
    }

    void ChecksSaveRecords()
    {
        QFETCH(QByteArray, reply);
        QFETCH(QString, judgement);
        const Result<bool> filled = CheckSaveRecord(QString::fromLatin1(reply));
        QCOMPARE(!filled ? filled.error().text : *filled ? u"filled"_qs : u"empty"_qs, judgement);
    }
};

QTEST_GUILESS_MAIN(ReplyTest)
#include "reply_test.moc"
