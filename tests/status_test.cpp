// The status reply: every state in tests/status as the instrument sends it, and replies that are none.

#include "acquire/measuredisplay.h"
#include "acquire/status.h"
#include "link/rangelists.h"
#include "simulator/statusfile.h"
#include "tests/support.h"

#include <QDir>
#include <QMap>

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
    return {
        5, 6, 3, QStringLiteral("CPMN 01482.E+0"), 5, 9, 98, other, other, 9, other, bits, other, other, 9,
        9, 9, 9};
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

/// What the program makes of the reply in `link`, under the keys of the files.
Texts Understood(const LinkState &link, const RangeLists &ranges)
{
    const auto number = [](int n) { return QString::number(n); };
    const auto flag = [](bool on) { return on ? QStringLiteral("true") : QStringLiteral("false"); };
    const QString &reply = link.RecvBuffer;
    Texts texts{{u"reply"_qs, reply}, {u"mode"_qs, number(CheckCommMode(reply, link.ReplyLength))}};
    InstrumentStatus status = Before();
    if (!DecodeStatus(reply, &status))
        return texts;
    QString bits;
    for (const bool bit : status.OptionBits)
        bits.prepend(bit ? u'1' : u'0');
    const MeasureDisplay shown = ShowMeasure(status, ranges);
    texts.insert(Texts{{u"MeasureOn"_qs, number(status.MeasureOn)},
                       {u"MeasureFunction"_qs, number(status.MeasureFunction)},
                       {u"MeasureRange"_qs, number(status.MeasureRange)},
                       {u"MeasureValue"_qs, status.MeasureValue},
                       {u"SourceOn"_qs, number(status.SourceOn)},
                       {u"SourceFunction"_qs, number(status.SourceFunction)},
                       {u"SourceRange"_qs, number(status.SourceRange)},
                       {u"SourceField"_qs, status.SourceField},
                       {u"SourceValue"_qs, status.SourceValue},
                       {u"SourcePointPos"_qs, number(status.SourcePointPos)},
                       {u"OptionFlags"_qs, status.OptionFlags},
                       {u"OptionBits"_qs, bits},
                       {u"StatusFieldA"_qs, status.StatusFieldA},
                       {u"StatusFieldB"_qs, status.StatusFieldB},
                       {u"SourceSubMode"_qs, number(status.SourceSubMode)},
                       {u"PulseSubMode"_qs, number(status.PulseSubMode)},
                       {u"SourceMode"_qs, number(status.SourceMode)},
                       {u"CommMode"_qs, number(status.CommMode)},
                       {u"value"_qs, shown.value},
                       {u"unit"_qs, shown.unit},
                       {u"function"_qs, shown.function},
                       {u"symbol"_qs, number(shown.symbol)},
                       {u"on"_qs, flag(shown.on)},
                       {u"buttonEnabled"_qs, flag(shown.buttonEnabled)},
                       {u"indicators"_qs, Joined(shown.indicators)},
                       {u"options"_qs, Joined(ShowOptionIndicators(status))}});
    return texts;
}

/// Each key of which file and program do not say the same.
QStringList Differences(const QString &file, const Texts &expected, const Texts &understood)
{
    const QString none = QStringLiteral("nothing");
    QStringList differences;
    Texts keys = expected;
    keys.insert(understood);
    for (const QString &key : keys.keys()) {
        if (expected.contains(key) != understood.contains(key) || expected[key] != understood[key])
            differences << QStringLiteral("%1: %2 is \"%3\", expected \"%4\"")
                               .arg(file, key, understood.value(key, none), expected.value(key, none));
    }
    return differences;
}

/// What may stand in the columns of a status: d a digit, b a digit or a blank, f a flag, * anything.
bool IsStatus(const QString &reply)
{
    constexpr std::string_view off = "d*****************dddd**************ffffffff****bbdd";
    constexpr std::string_view on = "dddd**************dddd**************ffffffff****bbdd";
    const std::string_view columns = reply.startsWith(u'0') ? off : on;
    if (reply.size() < qsizetype(columns.size()))
        return false;
    for (std::size_t i = 0; i < columns.size(); ++i) {
        const QChar c = reply[qsizetype(i)];
        const char kind = columns[i];
        const bool digit = c >= u'0' && c <= u'9';
        if ((kind == 'd' && !digit) || (kind == 'b' && !digit && c != u' ') ||
            (kind == 'f' && c != u'0' && c != u'1'))
            return false;
    }
    return true;
}

/// What is wrong with the treatment of a reply; empty when nothing is.
const char *Fault(const QString &reply, const RangeLists &ranges)
{
    InstrumentStatus status = Before();
    const bool decoded = DecodeStatus(reply, &status);
    const bool usable = CheckCommMode(reply, int(reply.size())) == CommModeUsable;
    if (usable != (reply.size() == 52 && reply.endsWith(u'0')))
        return "wrong communication mode";
    if (decoded != IsStatus(reply))
        return decoded ? "taken for a status" : "not taken for a status";
    if (!decoded)
        return status == Before() ? "" : "changed something";
    const MeasureDisplay shown = ShowMeasure(status, ranges);
    const QChar mode = reply[50];
    const bool hidden = mode == u'1' || mode == u'3';
    if (shown.on != (reply[0] != u'0' && !hidden))
        return "wrong lamp";
    if (!shown.on && shown.value + shown.unit + shown.function != QString())
        return "a dark display shows something";
    if (shown.indicators[4] != (hidden && reply[36] == u'1' ? u"AUTO OFF" : u""))
        return "wrong indicator";
    return "";
}

} // namespace

class StatusTest : public QObject
{
    Q_OBJECT

  private Q_SLOTS:
    void EveryStateIsUnderstood();
    void HostileReplies_data();
    void HostileReplies();
};

void StatusTest::EveryStateIsUnderstood()
{
    const RangeLists ranges = BuildRangeLists();
    const QDir folder(QStringLiteral(PX40_STATUS_FILES));
    const QStringList files = folder.entryList({u"*.txt"_qs}, QDir::Files);
    QVERIFY(!files.isEmpty());
    LinkRig rig;
    rig.Open();
    rig.state.LinkActivity = ActivityStatusCheck;
    QStringList differences;
    for (const QString &file : files) {
        std::string error;
        const auto reply = sim::ReadStatusFile(folder.filePath(file).toStdString(), &error);
        QVERIFY2(reply, error.c_str());
        rig.server.WithInstrument([&](sim::Instrument &i) { i.HoldStatus(reply); });
        const Running<bool> asked(rig.comm.SendCommand(u"OC"_qs, 3));
        QVERIFY(asked.Finish() && asked.Value());
        differences += Differences(file, ReadLines(folder.filePath(file)), Understood(rig.state, ranges));
    }
    QVERIFY2(differences.isEmpty(), qPrintable(differences.join(u'\n')));
    QCOMPARE(MeasureValueText(u"ERROR"_qs), u"ERROR"_qs); // no reading in real-time receive
}

void StatusTest::HostileReplies_data()
{
    QTest::addColumn<QString>("good");
    QTest::newRow("measuring") << u"1603CPMN 01482.E+01301T  N 0100.0E+0100000001234  10"_qs;
    QTest::newRow("not measuring") << u"0603CPMN 01482.E+01301T  N 0100.0E+0100000001234  00"_qs;
}

void StatusTest::HostileReplies()
{
    QFETCH(const QString, good);
    const RangeLists ranges = BuildRangeLists();
    QString trouble; // the first that is met
    const auto check = [&](const QString &reply) {
        const char *const fault = Fault(reply, ranges);
        if (trouble.isEmpty() && *fault != '\0')
            trouble = QLatin1String(fault) + QStringLiteral(": ") + reply;
    };
    for (int length = 0; length <= 200; ++length)
        check(good.leftJustified(length, u'0', true));
    for (const int length : {44, 51, 52, 53}) {
        const QString whole = good.leftJustified(length, u'0', true);
        for (QString reply = whole; QChar & c : reply) {
            const QChar right = c;
            for (char16_t code = 0; code < 256; ++code) {
                c = QChar(code);
                check(reply);
            }
            c = right;
        }
    }
    QVERIFY2(trouble.isEmpty(), qPrintable(trouble));
}

QTEST_GUILESS_MAIN(StatusTest)
#include "status_test.moc"
