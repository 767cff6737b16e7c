#include "link/rangelists.h"
#include "link/reply.h"
#include "link/saverecord.h"

#include <QTest>

using namespace px40;

namespace {

/// A reply of 29 columns from its parts: unit, state, sign, number and exponent of both sides.
QString Reply(const char *measure, const char *source)
{
    return QString::fromLatin1(measure) + u',' + QString::fromLatin1(source);
}

} // namespace

class ReplyTest : public QObject
{
    Q_OBJECT

  private Q_SLOTS:
    void DecodesBothSides_data();
    void DecodesBothSides();
    void RefusalLeavesTheReadingAlone();
    void FormatsNumbers_data();
    void FormatsNumbers();
    void TranslatesUnits_data();
    void TranslatesUnits();
    void SurvivesShortReplies();
    void ChecksSaveRecords_data();
    void ChecksSaveRecords();
    void ListsRangesInTheOrderOfTheirCodes();
};

void ReplyTest::DecodesBothSides_data()
{
    QTest::addColumn<QString>("reply");
    QTest::addColumn<QStringList>("texts");
    const char *const plain = "VDC  001.23E+0";
    const char *const plainSource = "ADC -012.50E-3";
    QTest::newRow("normal") << Reply(plain, plainSource)
                            << QStringList{u"1.23"_qs, u"VDC"_qs, u"-12.50"_qs, u"mADC"_qs};
    QTest::newRow("over-range keeps the bare unit")
        << Reply("O  O 999999E+3", "O  O 999999E+3")
        << QStringList{u"-----"_qs, u"Ohm"_qs, u"-----"_qs, u"Ohm"_qs};
    QTest::newRow("error has no unit")
        << Reply("VDCE 000.00E+0", "VDCE 000.00E+0") << QStringList{u"-----"_qs, u""_qs, u"-----"_qs, u""_qs};
    QTest::newRow("burn-out on the measured side only")
        << Reply("T  B 000.00E+0", "T  B 0123.4E+0")
        << QStringList{u" -bo-"_qs, u"C."_qs, u"123.4"_qs, u"C."_qs};
    QTest::newRow("kilo and frequency") << Reply("O    1.2345E+3", "F    0500.0E+3")
                                        << QStringList{u"1.2345"_qs, u"kOhm"_qs, u"500.0"_qs, u"kHz"_qs};
    QTest::newRow("noise is shown as it came")
        << Reply("VDC -0\x81x.3\x7f   ", "VDC  0?1.23E*3")
        << QStringList{QString::fromLatin1("-\x81x.3\x7f"), u"VDC"_qs, u"?1.23"_qs, u"VDC"_qs};
}

void ReplyTest::DecodesBothSides()
{
    QFETCH(QString, reply);
    QFETCH(QStringList, texts);
    ReadingTexts reading;
    QString error = QStringLiteral("untouched");
    QVERIFY(DecodeMeasureReply(reply, &reading, &error));
    QCOMPARE(
        QStringList({reading.measureValue, reading.measureUnit, reading.sourceValue, reading.sourceUnit}),
        texts);
    QCOMPARE(error, QStringLiteral("untouched"));
}

void ReplyTest::RefusalLeavesTheReadingAlone()
{
    ReadingTexts reading{u"1"_qs, u"2"_qs, u"3"_qs, u"4"_qs};
    const ReadingTexts before = reading;
    QString error;
    QVERIFY(!DecodeMeasureReply(QStringLiteral("ERR and more"), &reading, &error));
    QCOMPARE(error, QStringLiteral("Command error occurred."));
    QVERIFY(reading == before);
}

void ReplyTest::FormatsNumbers_data()
{
    QTest::addColumn<QString>("field");
    QTest::addColumn<QString>("text");
    const std::pair<const char *, const char *> rows[] = {
        {" 001.23", "1.23"}, {"  12.34", "12.34"},   {" 000.00", "0.00"},   {" 0.0000", "0.0000"},
        {" 000001", "1"},    {" 000000", "0"},       {"-012.50", "-12.50"}, {"+0000.5", "0.5"},
        {" 00000.", "."},    {"- .1234", "- .1234"}, {" .00001", ".00001"}, {" 0 0 10", "10"},
    };
    for (const auto &[field, text] : rows)
        QTest::newRow(field) << QString::fromLatin1(field) << QString::fromLatin1(text);
}

void ReplyTest::FormatsNumbers()
{
    QFETCH(QString, field);
    QTEST(FormatReplyNumber(QStringLiteral("VDC ") + field, 6), "text");
}

void ReplyTest::TranslatesUnits_data()
{
    QTest::addColumn<QString>("code");
    QTest::addColumn<int>("column");
    QTest::addColumn<QString>("subModes"); // columns 49 and 50
    QTest::addColumn<int>("sourceFunction");
    QTest::addColumn<QString>("unit");
    QTest::newRow("resistance") << u"O  "_qs << 23 << u"00"_qs << 0 << u"Ohm"_qs;
    QTest::newRow("other codes keep their blanks") << u"V  "_qs << 5 << u"00"_qs << 0 << u"V  "_qs;
    QTest::newRow("temperature measured") << u"T  "_qs << 5 << u"10"_qs << 3 << u"C."_qs;
    QTest::newRow("temperature set") << u"T  "_qs << 23 << u"00"_qs << 3 << u"C."_qs;
    QTest::newRow("ambient") << u"T  "_qs << 23 << u"20"_qs << 3 << u"C."_qs;
    QTest::newRow("thermocouple as voltage") << u"T  "_qs << 23 << u"10"_qs << 3 << u"VDC"_qs;
    QTest::newRow("thermometer as resistance") << u"T  "_qs << 23 << u"10"_qs << 4 << u"Ohm"_qs;
    QTest::newRow("unknown sub mode") << u"T  "_qs << 23 << u" 0"_qs << 3 << u""_qs;
    QTest::newRow("frequency measured") << u"F  "_qs << 1 << u"02"_qs << 0 << u"Hz"_qs;
    QTest::newRow("frequency") << u"F  "_qs << 23 << u"00"_qs << 0 << u"Hz"_qs;
    QTest::newRow("amplitude") << u"F  "_qs << 23 << u"01"_qs << 0 << u"VP-P"_qs;
    QTest::newRow("count") << u"F  "_qs << 23 << u"02"_qs << 0 << u"Cycle"_qs;
    QTest::newRow("unknown pulse mode") << u"F  "_qs << 23 << u"03"_qs << 0 << u""_qs;
}

void ReplyTest::TranslatesUnits()
{
    QFETCH(QString, code);
    QFETCH(int, column);
    QFETCH(QString, subModes);
    QFETCH(int, sourceFunction);
    QString reply(52, u'0');
    reply.replace(column - 1, 3, code);
    reply.replace(48, 2, subModes);
    QTEST(UnitText(reply, column, sourceFunction), "unit");
}

void ReplyTest::SurvivesShortReplies()
{
    const QString whole = Reply("VDC  001.23E+0", "ADC -012.50E-3");
    for (int length = 0; length <= whole.size(); ++length) {
        ReadingTexts reading;
        QString error;
        QVERIFY(DecodeMeasureReply(whole.left(length), &reading, &error));
    }
    ReadingTexts cut;
    QString error;
    QVERIFY(DecodeMeasureReply(whole.left(8), &cut, &error));
    QCOMPARE(cut.measureValue, QStringLiteral("1")); // "001" without its point drops its zeros
    QCOMPARE(cut.sourceValue, QString());
}

void ReplyTest::ChecksSaveRecords_data()
{
    QTest::addColumn<QString>("reply");
    QTest::addColumn<bool>("ok");
    QTest::addColumn<QString>("error");
    QTest::addColumn<QString>("output");
    const QString kept = QStringLiteral("kept");
    const QString data = QStringLiteral("Data error occurred.");
    // "RS" is 82 + 83 = 165 = 0xA5; "CMD,ERR" is 67+77+68+44+69+82+82 = 489 = 0x1E9; "ABJ" is 205 = 0xCD.
    QTest::newRow("empty record") << u"RS5"_qs << true << QString() << QString();
    QTest::newRow("command error") << u"CMD,ERR9"_qs << false << u"Command error occurred."_qs << kept;
    QTest::newRow("record") << u"ABJD"_qs << true << QString() << kept;
    QTest::newRow("lower-case digit") << u"ABJd"_qs << false << data << kept;
    QTest::newRow("wrong digit") << u"RS6"_qs << false << data << kept;
    QTest::newRow("empty") << QString() << false << data << kept;
    QTest::newRow("check digit alone") << u"0"_qs << true << QString() << kept;
    QTest::newRow("codes above 0x7F") << QString::fromLatin1("\xff\xfe") + u'F' << false << data << kept;
    QTest::newRow("sum past 16 bits") << QString(400, QChar(0xF0)) + u'0' << true << QString() << kept;
}

void ReplyTest::ChecksSaveRecords()
{
    QFETCH(QString, reply);
    QString value = QStringLiteral("kept");
    QString unit = value;
    QString error;
    QTEST(CheckSaveRecord(reply, &value, &unit, &error), "ok");
    QTEST(error, "error");
    QTEST(value, "output");
    QCOMPARE(unit, value);
    QString digits = reply;
    const bool accepted = CheckDigitOk(&digits);
    QCOMPARE(digits, accepted ? reply.chopped(1) : reply);
}

void ReplyTest::ListsRangesInTheOrderOfTheirCodes()
{
    const RangeLists lists = BuildRangeLists();
    QCOMPARE(lists.TcSourceList.join(u' '), u"100mV K E J T R B S N L U"_qs);
    QCOMPARE(lists.TcMeasureList.join(u' '), u"DC K E J T R B S N L U"_qs);
    QCOMPARE(lists.RtdList.join(u' '), u"400Ohm PT100 JPT100"_qs);
    QCOMPARE(lists.TempSetList.join(u'|'), u"Set value|mV|Ambient-temp"_qs);
    QCOMPARE(lists.PulseFreqList.join(u' '), u"500.0Hz 1000Hz 10kHz"_qs);
    QCOMPARE(lists.PulseKindList.join(u' '), u"Freq. Amp. Count"_qs);
}

QTEST_GUILESS_MAIN(ReplyTest)
#include "reply_test.moc"
