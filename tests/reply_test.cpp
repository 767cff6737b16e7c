#include "link/condition.h"
#include "link/saverecord.h"
#include "testing/rows.h"

using namespace px40;

namespace {

QString Joined(const ReadingTexts &texts)
{
    return QStringList({texts.measureValue, texts.measureUnit, texts.sourceValue, texts.sourceUnit})
        .join(u'|');
}

using Sides = std::tuple<const char *, const char *>; // value and unit of both sides; empty: refused
using Unit = std::tuple<const char *, const char *, int, const char *>; // code, columns 49 and 50, function
using Judged = std::tuple<const char *, const char *>;

} // namespace

class ReplyTest : public QObject
{
    Q_OBJECT

  private Q_SLOTS:
    void DecodesStoredReadings_data()
    {
        AddRows<Sides>({
            {"plain", {"VDC  001.23E+0,ADC -012.50E-3", "1.23|VDC|-12.50|mADC"}},
            {"over-range keeps the bare unit", {"O  O 999999E+3,O  O 999999E+3", "-----|Ohm|-----|Ohm"}},
            {"cut off", {"VDC  001", "1|VDC||"}},
            {"nothing", {"", "|||"}},
            {"no reading", {"VDCE 000.00E+0,VDCE 000.00E+0", "-----||-----|"}},
            {"burn-out measured only", {"T  B 000.00E+0,T  B 0123.4E+0", " -bo-|C.|123.4|C."}},
            {"prefixes", {"O    1.2345E+3,F    0500.0E+3", "1.2345|kOhm|500.0|kHz"}},
            {"noise as it came", {"VDC -0\x81x.3\x7f   ,VDC  0?1.23E*3", "-\x81x.3\x7f|VDC|?1.23|VDC"}},
            {"refused", {"ERR and more", ""}},
        });
    }

    void DecodesStoredReadings()
    {
        const auto [reply, texts] = ThisRow<Sides>();
        const Result<ReadingTexts> reading = DecodeMeasureReply(QString::fromLatin1(reply));
        QCOMPARE(reading ? Joined(*reading) : QString(), QString::fromLatin1(texts));
        QCOMPARE(reading ? QString() : reading.error().text,
                 reading ? QString() : u"Command error occurred."_qs);
    }

    void DecodesSamplesOfARun_data()
    {
        AddRows<Sides>({
            {"plain", {"1100VDCN-001.23E-30301VDCN 012.50E+3", "-1.23|mVDC|12.50|kVDC"}},
            {"over-range", {"1500O  O 999.99E-30401O  O 100.00E+0", "-----|Ohm|100.00|Ohm"}},
            {"no reading", {"1100VDCE------ E+00600ADCE-04.000E-3", "-----||-4.000|mADC"}},
            {"burn-out", {"1401T  B------ E-30301T  N 0100.0E+0", " -bo-|C.|100.0|C."}},
            {"off", {"0401T  N 0042.1E+00500F  N 0050.0E+0", "||50.0|Hz"}},
            {"refused", {"ERR", "ERROR|||"}},
        });
    }

    void DecodesSamplesOfARun()
    {
        const auto [columns, texts] = ThisRow<Sides>();
        const QString reply = QString::fromLatin1(columns);
        const QString whole = reply == u"ERR" ? reply : reply.leftJustified(52, u'0');
        QCOMPARE(Joined(DecodeCondition(whole, {}).sample), QString::fromLatin1(texts));
    }

    void FormatsNumbers()
    {
        const QString rows =
            u" 001.23>1.23|  12.34>12.34| 000.00>0.00| 0.0000>0.0000| 000001>1| 000000>0|"
            "-012.50>-12.50|+0000.5>0.5| 00000.>.|- .1234>- .1234| .00001>.00001| 0 0 10>10"_qs;
        for (const QString &row : rows.split(u'|'))
            QCOMPARE(row.left(8) + FormatReplyNumber(SplitValue(u"VDC "_qs + row.left(7))), row);
    }

    void ShowsUnitsOfTheSource_data()
    {
        AddRows<Unit>({
            {"resistance", {"O  ", "00", 0, "Ohm"}},
            {"other codes keep their blanks", {"V  ", "00", 0, "V  "}},
            {"temperature", {"T  ", "00", 3, "C."}},
            {"ambient", {"T  ", "20", 3, "C."}},
            {"thermocouple as voltage", {"T  ", "10", 3, "VDC"}},
            {"thermometer as resistance", {"T  ", "10", 4, "Ohm"}},
            {"no sub mode", {"T  ", " 0", 3, ""}},
            {"frequency", {"F  ", "00", 0, "Hz"}},
            {"amplitude", {"F  ", "01", 0, "VP-P"}},
            {"count", {"F  ", "02", 0, "Cycle"}},
            {"unknown pulse mode", {"F  ", "03", 0, ""}},
            {"no pulse mode", {"F  ", "0 ", 0, ""}},
        });
    }

    void ShowsUnitsOfTheSource()
    {
        const auto [code, subModes, function, unit] = ThisRow<Unit>();
        QString reply(52, u'0');
        reply.replace(19, 1, QString::number(function));
        reply.replace(22, 3, QString::fromLatin1(code));
        reply.replace(48, 2, QString::fromLatin1(subModes));
        QCOMPARE(DecodeCondition(reply, {}).sample.sourceUnit, QString::fromLatin1(unit));
        reply[50] = u'x'; // where noise has hit it, the function is that of the status before
        InstrumentStatus before;
        before.SourceFunction = function;
        reply[19] = u'9';
        QCOMPARE(DecodeCondition(reply, before).sample.sourceUnit, QString::fromLatin1(unit));
    }

    void ChecksSaveRecords_data()
    {
        const char *const badData = "Data error occurred.";
        // "RS" is 82 + 83 = 165 = 0xA5; "CMD,ERR" is 67+77+68+44+69+82+82 = 489 = 0x1E9; "ABJ" is 205 = 0xCD.
        AddRows<Judged>({
            {"empty", {"RS5", "empty"}},
            {"refused", {"CMD,ERR9", "Command error occurred."}},
            {"filled", {"ABJD", "filled"}},
            {"small letter", {"ABJd", badData}},
            {"nothing", {"", badData}},
            {"nothing but the check character", {"0", "filled"}},
            {"codes above 0x7F count in full", {"\xff\xfe\x44", "filled"}},
        });
    }

    void ChecksSaveRecords()
    {
        const auto [reply, judgement] = ThisRow<Judged>();
        const Result<bool> filled = CheckSaveRecord(QString::fromLatin1(reply));
        QCOMPARE(!filled   ? filled.error().text
                 : *filled ? u"filled"_qs
                           : u"empty"_qs,
                 QString::fromLatin1(judgement));
    }
};

QTEST_GUILESS_MAIN(ReplyTest)
#include "reply_test.moc"
