// The instrument in software: what it answers, and what reaches a program through its pseudo-terminal.

#include "simulator/ptyserver.h"

#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QtTest>

#include <memory>

using namespace px40::sim;

namespace {

QByteArray Ask(Instrument &instrument, const QByteArray &command)
{
    return QByteArray::fromStdString(instrument.Answer({command.constData(), size_t(command.size())}));
}

// Columns as the protocol counts them, from 1.
QByteArray Columns(const QByteArray &reply, int first, int width)
{
    return reply.mid(first - 1, width);
}

// An unpaced server with the given faults, one text each.
std::unique_ptr<PtyServer> Serve(const QList<QByteArray> &faults = {}, const QString &link = {})
{
    ServerOptions options;
    options.line.paced = false;
    options.link = link.toStdString();
    for (const QByteArray &fault : faults) {
        if (!ApplyFault(fault.toStdString(), options.faults, nullptr))
            qFatal("bad fault %s", fault.constData());
    }
    return std::make_unique<PtyServer>(options);
}

} // namespace

class SimulatorTest : public QObject
{
    Q_OBJECT

  private Q_SLOTS:
    void StoredReadingsKeepTheirColumns();
    void RecordsCarryTheirCheckCharacter();
    void StatusFollowsTheState_data();
    void StatusFollowsTheState();
    void DigitsCarryAndStopAtTheLimits_data();
    void DigitsCarryAndStopAtTheLimits();
    void RefusedCommandsChangeNothing();
    void UnpluggedAndPluggedInAgain();
    void StopsInTheMiddleOfAReply();
};

void SimulatorTest::StoredReadingsKeepTheirColumns()
{
    Instrument instrument;
    static const QRegularExpression layout(QStringLiteral(
        "^(VDC|VAC|ADC|O  |T  |F  )([NOEB])[ -]( *\\d+\\.\\d+|-{6})E[-+][03] (VDC|ADC|O  |T  |F  )([NOE])[ -]"
        "( *\\d+\\.\\d+|-{6})E[-+][03]$"));
    QString measuredStates;
    QString sourceStates;
    bool negative = false;
    for (int n = 1; n <= MemorySize; ++n) {
        const QByteArray reply = Ask(instrument, "OM" + QByteArray::number(n));
        QCOMPARE(reply.size(), 29);
        const auto match = layout.match(QString::fromLatin1(reply));
        QVERIFY2(match.hasMatch(), reply.constData());
        QCOMPARE(Columns(reply, 6, 6) == "------", match.captured(2) == u'E' || match.captured(2) == u'B');
        measuredStates += match.captured(2);
        sourceStates += match.captured(5);
        negative = negative || Columns(reply, 4, 2) == "N-";
    }
    for (const QChar state : QStringLiteral("NOEB"))
        QVERIFY(measuredStates.contains(state));
    QVERIFY(sourceStates.contains(u'O') && sourceStates.contains(u'E'));
    QVERIFY(negative);
}

void SimulatorTest::RecordsCarryTheirCheckCharacter()
{
    Instrument instrument;
    QCOMPARE(Ask(instrument, "RS,01"), "CMD,ERR9");
    QCOMPARE(Ask(instrument, "PL,1"), "OK");
    int empty = 0;
    for (int n = 1; n <= MemorySize; ++n) {
        const QByteArray reply = Ask(instrument, "RS," + QByteArray::number(n).rightJustified(2, '0'));
        int sum = 0;
        for (const char c : reply.chopped(1))
            sum += static_cast<unsigned char>(c);
        QCOMPARE(reply.right(1), QByteArray::number(sum % 16, 16).toUpper());
        empty += reply.startsWith("RS") ? 1 : 0;
    }
    QVERIFY(empty > 0 && empty < MemorySize);
    // Bytes above 0x7F count with their full value.
    instrument.SetRecord(1, "\xFF\xFE");
    QCOMPARE(Ask(instrument, "RS,01"), "\xFF\xFE"
                                       "D");
    QCOMPARE(Ask(instrument, "RS,51"), "CMD,ERR9");
    QCOMPARE(Ask(instrument, "PL,0"), "OK");
    QCOMPARE(Ask(instrument, "RS,01"), "CMD,ERR9");
}

void SimulatorTest::StatusFollowsTheState_data()
{
    QTest::addColumn<int>("function");
    QTest::addColumn<int>("range");
    QTest::addColumn<QByteArrayList>("commands");
    QTest::addColumn<int>("column");
    QTest::addColumn<QByteArray>("expected");
    const auto row = [](const char *name, int function, int range, const QByteArrayList &commands, int column,
                        const char *expected) {
        QTest::newRow(name) << function << range << commands << column << QByteArray(expected);
    };
    row("measuring off", 3, 1, {"MO0"}, 1, "0100              ");
    row("output on", 3, 1, {"SO1"}, 19, "1301T  N 0100.0E+0");
    row("millivolts", 3, 0, {"SD-12.3"}, 19, "0300VDCN-012.30E-3");
    row("range of the list", 3, 0, {"SR10"}, 21, "10T  N 0100.0E+0");
    row("thermocouple voltage", 3, 1, {"TE1"}, 23, "T  N 04.000E-3");
    row("temperature sub mode", 4, 2, {"TE1"}, 49, "1 00");
    row("frequency", 5, 2, {"SD2.5"}, 23, "F  N 002.50E+3");
    row("ratio", 1, 0, {"ND0412", "NM1"}, 28, "01.667");
    row("ratio beyond the range", 1, 0, {"ND9901", "NM1"}, 26, "O");
    row("ratio off", 1, 0, {"ND0412", "NM1", "NM0"}, 28, "05.000");
}

void SimulatorTest::StatusFollowsTheState()
{
    QFETCH(int, function);
    QFETCH(int, range);
    QFETCH(QByteArrayList, commands);
    QFETCH(int, column);
    QFETCH(QByteArray, expected);
    Instrument instrument;
    instrument.SetSource(function, range);
    for (const QByteArray &command : commands)
        QCOMPARE(Ask(instrument, command), "OK");
    const QByteArray status = Ask(instrument, "OC");
    QCOMPARE(status.size(), 52);
    QCOMPARE(Columns(status, column, int(expected.size())), expected);

    instrument.SetOptionBit(7, true);
    instrument.SetCommMode(CommMode::TalkOnly);
    QCOMPARE(Columns(Ask(instrument, "OC"), 37, 8), "10000000");
    instrument.SetShortStatus(true);
    const QByteArray shortStatus = Ask(instrument, "OC");
    QCOMPARE(shortStatus.size(), 44);
    QVERIFY(shortStatus.endsWith('2'));
}

void SimulatorTest::DigitsCarryAndStopAtTheLimits_data()
{
    QTest::addColumn<int>("function");
    QTest::addColumn<int>("range");
    QTest::addColumn<int>("counts");
    QTest::addColumn<QByteArray>("command");
    QTest::addColumn<QByteArray>("reply");
    QTest::addColumn<QByteArray>("value");
    const auto row = [](const char *name, int function, int range, int counts, const char *command,
                        const char *reply, const char *value) {
        QTest::newRow(name) << function << range << counts << QByteArray(command) << QByteArray(reply)
                            << QByteArray(value);
    };
    row("rightmost digit", 3, 1, 1000, "UP5", "OK", " 0100.1");
    row("carry", 3, 1, 1999, "UP5", "OK", " 0200.0");
    row("up from below zero", 3, 1, -5, "UP4", "OK", " 0000.5");
    row("beyond the upper limit", 3, 1, 13720, "UP5", "ERR", " 1372.0");
    row("beyond the lower limit", 3, 1, -2000, "DW3", "ERR", "-0200.0");
    row("value", 1, 0, 0, "SD+5.1234", "OK", " 05.123");
    row("value beyond the limit", 1, 0, 0, "SD12.001", "ERR", " 00.000");
}

void SimulatorTest::DigitsCarryAndStopAtTheLimits()
{
    QFETCH(int, function);
    QFETCH(int, range);
    QFETCH(int, counts);
    QFETCH(QByteArray, command);
    QFETCH(QByteArray, reply);
    QFETCH(QByteArray, value);
    Instrument instrument;
    instrument.SetSource(function, range);
    instrument.SetSourceCounts(counts);
    QCOMPARE(Ask(instrument, command), reply);
    QCOMPARE(Columns(Ask(instrument, "OC"), 27, 7), value);
}

void SimulatorTest::RefusedCommandsChangeNothing()
{
    Instrument instrument;
    instrument.HoldMeasureField("VDCN 12.345E+0");
    const QByteArray before = Ask(instrument, "OC");
    for (const char *command :
         {"",     "XX",    "an1",  "OM0", "OM51", "OM1 ", "PL,2",    "MO2",   "UP",    "UP12",
          "SO11", "ND051", "SR11", "TE3", "PU0",  "SD",   "SD1.2.3", "SD1e2", "SD--1", "SDnan"})
        QCOMPARE(Ask(instrument, command), "ERR");
    QCOMPARE(Ask(instrument, "OC"), before);
}

void SimulatorTest::UnpluggedAndPluggedInAgain()
{
    const QTemporaryDir folder;
    const QString link = folder.filePath(QStringLiteral("px40"));
    auto server = Serve({}, link);
    QVERIFY(QFileInfo(link).isSymLink());
    server->HangUp();
    QVERIFY(server->DevicePath().empty());
    QVERIFY(!QFileInfo(link).isSymLink());
    server->HangUp();
    server->PlugIn();
    QCOMPARE(QFileInfo(link).symLinkTarget(), QString::fromStdString(server->DevicePath()));
    server.reset();
    QVERIFY(!QFileInfo(link).isSymLink());
}

// Without an end to its wait the server would hold up the test for many minutes.
void SimulatorTest::StopsInTheMiddleOfAReply()
{
    auto server = Serve({"late=1000000"});
    QFile program(QString::fromStdString(server->DevicePath()));
    QVERIFY(program.open(QIODevice::ReadWrite | QIODevice::Unbuffered));
    QCOMPARE(program.write("AN1\r\n"), qint64(5));
    QTRY_COMPARE(server->CommandCount(), 1U);
}

QTEST_GUILESS_MAIN(SimulatorTest)
#include "simulator_test.moc"
