// What the program reads from the replies: every state in tests/status as the instrument sends it, readings,
// records, and replies that are none of these.

#include "acquire/measuredisplay.h"
#include "link/condition.h"
#include "link/rangelists.h"
#include "link/saverecord.h"
#include "resources/strings.h"
#include "simulator/statusfile.h"
#include "source/sourcedisplay.h"
#include "testing/files.h"
#include "testing/linkrig.h"
#include "testing/rows.h"

#include <QDir>
#include <QMap>
#include <QRegularExpression>
#include <QVariant>

using namespace px40;

namespace {

using Texts = QMap<QString, QString>;

/// A status of which no field is what a reply of these tests says; only what is kept while the instrument
/// does not measure is sensible.
InstrumentStatus Before()
{
    const QString other = QStringLiteral("?");
    std::array<bool, 8> bits{};
    bits.fill(true);
    return {5, 6, 3, QStringLiteral("CPMN 01482.E+0"), 5, 9, 98, other, other, bits, 9, 9, 9, 9};
}

/// The lines "key: value" of a file; a line of another kind is a key that nobody knows.
Texts ReadLines(const QString &path)
{
    Texts texts;
    const QStringList lines = QString::fromLatin1(Contents(path)).split(u'\n', Qt::SkipEmptyParts);
    for (const QString &line : lines) {
        if (line.startsWith(u'#'))
            continue;
        const qsizetype colon = line.indexOf(u':');
        const qsizetype value = line.mid(colon + 1, 1) == u" " ? colon + 2 : colon + 1;
        texts.insert(colon < 0 ? line : line.left(colon), line.mid(value));
    }
    return texts;
}

QString Joined(const OptionIndicators &indicators)
{
    return QStringList(indicators.begin(), indicators.end()).join(u'|');
}

template <typename... Fields>
QStringList AsTexts(const Fields &...fields)
{
    return {QVariant(fields).toString()...};
}

/// The SOURCE window in one line: sign and digits with the points lit, then unit, function, symbol and lamp.
QString Picture(const SourceDisplay &shown)
{
    QStringList digits(shown.digits.begin(), shown.digits.end());
    for (std::size_t k = 0; k < shown.points.size(); ++k) {
        if (shown.points.at(k))
            digits[static_cast<qsizetype>(k) + 1] += u'.';
    }
    const QString lamp = shown.on ? u"on"_qs : u"off"_qs;
    const QStringList captions = AsTexts(shown.unit, shown.function, shown.symbol, lamp);
    return u"%1 = %2"_qs.arg(digits.join(u'|'), captions.join(u'|'));
}

/// What it says of its lists and buttons: each position, the signal entry, and what is obeyed.
QString ListsAndButtons(const SourceDisplay &shown)
{
    QStringList texts;
    for (const int position : shown.positions)
        texts << (position == SourceDisplay::KeepPosition ? u"-"_qs : QString::number(position));
    texts << shown.signalEntry << (shown.mayStepUp ? u"up"_qs : u"-"_qs)
          << (shown.mayChooseRange ? u"range"_qs : u"-"_qs);
    return texts.join(u' ');
}

/// What the program makes of a reply, under the keys of the files.
Texts Understood(const QString &reply, const RangeLists &ranges)
{
    const Result<> usable = CheckCommMode(reply);
    Texts texts{{u"reply"_qs, reply}, {u"mode"_qs, usable ? u"usable"_qs : FirstLine(usable.error().text)}};
    const std::optional<InstrumentStatus> decoded = DecodeCondition(reply, Before()).status;
    if (!decoded)
        return texts;
    const InstrumentStatus &s = *decoded;
    QString bits;
    for (const bool bit : s.OptionBits)
        bits.prepend(bit ? u'1' : u'0');
    const MeasureDisplay shown = ShowMeasure(s, ranges);
    const SourceDisplay source = ShowSource(s, ranges, false);
    const QStringList keys =
        u"MeasureOn MeasureFunction MeasureRange MeasureValue SourceOn SourceFunction SourceRange "
        "SourceField SourceValue OptionBits "
        "SourceSubMode PulseSubMode SourceMode CommMode "
        "value unit function symbol on buttonEnabled indicators options source lists"_qs.split(u' ');
    // In the same order.
    const QStringList fields = AsTexts(
        s.MeasureOn, s.MeasureFunction, s.MeasureRange, s.MeasureValue, s.SourceOn, s.SourceFunction,
        s.SourceRange, s.SourceField, s.SourceValue, bits, s.SourceSubMode, s.PulseSubMode, s.SourceMode,
        s.CommMode, shown.value, shown.unit, shown.function, shown.symbol, shown.on, shown.buttonEnabled,
        Joined(shown.indicators), Joined(source.indicators), Picture(source), ListsAndButtons(source));
    for (qsizetype i = 0; i < keys.size(); ++i)
        texts.insert(keys[i], fields[i]);
    return texts;
}

/// Each key of which file and program do not say the same.
QStringList Differences(const QString &file, const Texts &expected, const Texts &understood)
{
    QStringList differences;
    Texts keys = expected;
    keys.insert(understood);
    for (const QString &key : keys.keys()) {
        const QString is = understood.value(key, u"nothing"_qs);
        const QString should = expected.value(key, u"nothing"_qs);
        if (is != should)
            differences << u"%1: %2 is \"%3\", expected \"%4\""_qs.arg(file, key, is, should);
    }
    return differences;
}

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
    void EveryStateIsUnderstood()
    {
        const RangeLists ranges = BuildRangeLists();
        const QDir folder(QStringLiteral(PX40_STATUS_FILES));
        const QStringList files = folder.entryList({u"*.txt"_qs}, QDir::Files);
        QVERIFY(!files.isEmpty());
        LinkRig rig;
        rig.Open();
        QStringList differences;
        for (const QString &file : files) {
            std::string error;
            const auto reply = sim::ReadStatusFile(folder.filePath(file).toStdString(), &error);
            QVERIFY2(reply, error.c_str());
            rig.server.WithInstrument([&](sim::Instrument &i) { i.HoldStatus(reply); });
            const Running asked(rig.comm.SendCommand(AskCondition().back()));
            QVERIFY(asked.Finish() && asked.Value());
            differences +=
                Differences(file, ReadLines(folder.filePath(file)), Understood(*asked.Value(), ranges));
        }
        QVERIFY2(differences.isEmpty(), qPrintable(differences.join(u'\n')));

        InstrumentStatus lit;
        lit.OptionBits.fill(true);
        QCOMPARE(Joined(ShowSource(lit, ranges, false).indicators), u"||||AUTO OFF||"_qs);
        QCOMPARE(Joined(ShowSource(lit, ranges, true).indicators), u"||||||"_qs);
    }

    void HostileReplies()
    {
        // A measurement that is off may hold anything.
        const QRegularExpression columns(
            u"^(0.{17}|[1-9][0-9]{3}.{14})[0-9]{4}.{14}[01]{8}.{4}[0-9 ]{2}[0-9]{2}"_qs,
            QRegularExpression::DotMatchesEverythingOption);
        QStringList wrong; // taken or not taken for a status
        const auto check = [&](const QString &reply) {
            if (DecodeCondition(reply, Before()).status.has_value() != columns.match(reply).hasMatch())
                wrong << reply;
        };
        for (const QString &good : {u"1603CPMN 01482.E+01301T  N 0100.0E+0100000001234  10"_qs,
                                    u"0603CPMN 01482.E+01301T  N 0100.0E+0100000001234  00"_qs}) {
            for (int length = 0; length <= 200; ++length)
                check(good.leftJustified(length, u'0', true));
            for (const int length : {44, 51, 52, 53}) {
                const QString whole = good.leftJustified(length, u'0', true);
                for (int column = 0; column < length; ++column) {
                    for (char16_t code = 0; code < 256; ++code)
                        check(QString(whole).replace(column, 1, QChar(code)));
                }
            }
        }
        QVERIFY2(wrong.isEmpty(), qPrintable(wrong.value(0)));
    }

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
