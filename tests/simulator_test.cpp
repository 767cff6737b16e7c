// The instrument in software: what it answers, and what reaches a program through its pseudo-terminal.

#include "simulator/keyorders.h"
#include "simulator/ptyserver.h"
#include "simulator/statusfile.h"
#include "testing/rows.h"

#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <optional>

using namespace px40;
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

/// The source's function and range, commands, a column of the status and what stands there.
using Column = std::tuple<int, int, QByteArrayList, int, QByteArray>;
/// The source and its digits, a command, its reply and the value afterwards.
using Digits = std::tuple<int, int, int, QByteArray, QByteArray, QByteArray>;

} // namespace

class SimulatorTest : public QObject
{
    Q_OBJECT

  private Q_SLOTS:
    void StatusFollowsTheState_data()
    {
        AddRows<Column>({
            {"measuring off", {3, 1, {"MO0"}, 1, "0100              "}},
            {"output on", {3, 1, {"SO1"}, 19, "1301T  N 0100.0E+0"}},
            {"millivolts", {3, 0, {"SD-12.3"}, 19, "0300VDCN-012.30E-3"}},
            {"range of the list", {3, 0, {"SR10"}, 21, "10T  N 0100.0E+0"}},
            {"thermocouple as voltage", {3, 1, {"TE1"}, 23, "T  N 04.000E-3"}},
            {"thermometer as resistance", {4, 2, {"TE1"}, 49, "1 00"}},
            {"frequency", {5, 2, {"SD2.5"}, 23, "F  N 002.50E+3"}},
            {"ratio", {1, 0, {"ND0412", "NM1"}, 28, "01.667"}},
            {"ratio beyond the range", {1, 0, {"ND9901", "NM1"}, 26, "O"}},
            {"ratio off again", {1, 0, {"ND0412", "NM1", "NM0"}, 28, "05.000"}},
        });
    }

    void StatusFollowsTheState()
    {
        const auto [function, range, commands, column, expected] = ThisRow<Column>();
        Instrument instrument;
        instrument.SetSource(function, range);
        for (const QByteArray &command : commands)
            QCOMPARE(Ask(instrument, command), "OK");
        const QByteArray status = Ask(instrument, "OC");
        QCOMPARE(status.size(), 52);
        QCOMPARE(Columns(status, column, int(expected.size())), expected);
    }

    void KeysAreObeyedOrChangeNothing()
    {
        Instrument instrument;
        instrument.HoldMeasureField("VDCN 12.345E+0");
        std::string error;
        // An order, a column of the status and what stands there.
        const std::tuple<const char *, int, QByteArray> rows[] = {
            {"source 4 02", 20, "402"}, {" measure  6\t4", 2, "604"},         {"mode 9", 51, "9"},
            {"source 6 0", 20, "600"},  {"options 01000001", 37, "01000001"}, {"mode 0", 51, "0"},
        };
        for (const auto &[order, column, expected] : rows) {
            QVERIFY2(IsKeyOrder(order) && ObeyKeys(order, instrument, &error), error.c_str());
            QCOMPARE(Columns(Ask(instrument, "OC"), column, int(expected.size())), expected);
        }
        const QByteArray before = Ask(instrument, "OC");
        for (const char *const order : {"", "sources 6 0", "source", "source 6", "source 6 0 0", "source 6 1",
                                        "source 9 0", "source -1 0", "measure 8 0", "measure 1 x", "mode 10",
                                        "mode 1.0", "options 0000000", "options 00000002"}) {
            error.clear();
            QVERIFY2(!ObeyKeys(order, instrument, &error), order);
            QVERIFY2(error.ends_with('.'), order);
        }
        QCOMPARE(Ask(instrument, "OC"), before);
    }

    void HeldStatusesTakeTurns()
    {
        Instrument instrument;
        instrument.HoldMeasureField("VDCN 12.345E+0");
        const QByteArray live = Ask(instrument, "OC");
        instrument.HoldStatuses({"first", "  second \xB2"});
        for (const char *const held : {"first", "  second \xB2", "  second \xB2"})
            QCOMPARE(Ask(instrument, "OC"), held);
        instrument.HoldStatus(std::nullopt);
        QCOMPARE(Ask(instrument, "OC"), live);

        const QTemporaryDir folder;
        QFile file(folder.filePath(u"status.txt"_qs));
        std::string error;
        QVERIFY(!ReadStatusFile(file.fileName().toStdString(), &error));
        QVERIFY(error.ends_with("cannot be read."));
        QVERIFY(file.open(QIODevice::ReadWrite | QIODevice::Unbuffered));
        QVERIFY(file.write("# reply: no\nmode: 0\n") > 0);
        QVERIFY(!ReadStatusFile(file.fileName().toStdString(), &error));
        QVERIFY(error.find("reply:") != std::string::npos);
        QVERIFY(file.write("reply:  1 \r\nreply: 2\n") > 0);
        QCOMPARE(ReadStatusFile(file.fileName().toStdString(), &error), std::string(" 1 "));
    }

    void DigitsCarryAndStopAtTheLimits_data()
    {
        AddRows<Digits>({
            {"rightmost digit", {3, 1, 1000, "UP5", "OK", " 0100.1"}},
            {"carry", {3, 1, 1999, "UP5", "OK", " 0200.0"}},
            {"up from below zero", {3, 1, -5, "UP4", "OK", " 0000.5"}},
            {"beyond the upper limit", {3, 1, 13720, "UP5", "ERR", " 1372.0"}},
            {"beyond the lower limit", {3, 1, -2000, "DW3", "ERR", "-0200.0"}},
            {"value", {1, 0, 0, "SD+5.1234", "OK", " 05.123"}},
            {"value beyond the limit", {1, 0, 0, "SD12.001", "ERR", " 00.000"}},
        });
    }

    void DigitsCarryAndStopAtTheLimits()
    {
        const auto [function, range, counts, command, reply, value] = ThisRow<Digits>();
        Instrument instrument;
        instrument.SetSource(function, range);
        instrument.SetSourceCounts(counts);
        QCOMPARE(Ask(instrument, command), reply);
        QCOMPARE(Columns(Ask(instrument, "OC"), 27, 7), value);
    }

    void RefusedCommandsChangeNothing()
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

    void StoppedWhileReplying()
    {
        const QTemporaryDir folder;
        const QString link = folder.filePath(u"px40"_qs);
        ServerOptions options;
        options.link = link.toStdString();
        QVERIFY(ApplyFault("late=1000000", options.faults, nullptr));
        std::optional<PtyServer> server(std::in_place, options);
        QFile program(link);
        QVERIFY(program.open(QIODevice::ReadWrite | QIODevice::Unbuffered));
        QCOMPARE(program.write("AN1\r\n"), qint64(5));
        QTRY_COMPARE(server->CommandCount(), 1U);
        server.reset(); // without an end to its wait it would hold up the test for many minutes
        QVERIFY(!QFileInfo(link).isSymLink());
    }
};

QTEST_GUILESS_MAIN(SimulatorTest)
#include "simulator_test.moc"
