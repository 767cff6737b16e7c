// The status reply: every state in tests/status as the instrument sends it, and replies that are none.

#include "acquire/measuredisplay.h"
#include "link/condition.h"
#include "link/rangelists.h"
#include "resources/strings.h"
#include "simulator/statusfile.h"
#include "source/sourcedisplay.h"
#include "testing/files.h"
#include "testing/linkrig.h"

#include <QDir>
#include <QMap>
#include <QRegularExpression>
#include <QTest>
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

} // namespace

class StatusTest : public QObject
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
};

QTEST_GUILESS_MAIN(StatusTest)
#include "status_test.moc"
