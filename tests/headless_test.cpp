#include "resources/strings.h"
#include "testing/files.h"
#include "testing/linkrig.h"
#include "testing/programrun.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <tuple>

using namespace px40;

/// Downloads without a window.
class HeadlessTest : public QObject
{
    Q_OBJECT

  private Q_SLOTS:
    void DownloadsReplaceAFileOrLeaveIt()
    {
        // Arguments, with PORT for the instrument; what is wrong; the exit code; the beginning of what is
        // said, nothing where it is empty.
        const std::tuple<QString, QString, int, QString> rows[] = {
            {u"--demo"_qs, {}, 0, {}},
            {u"--port-device 3=PORT --port 3"_qs, {}, 0, {}},
            {u"--port-device 1=PORT"_qs, u"silent-from=9"_qs, 1, u"Timeout error occurred."_qs},
            {u"--port 5"_qs, {}, 1, u"No device is assigned to port 5."_qs},
            {u"--port-device 1=/dev/ttyUSB99"_qs, {}, 1, u"There is no device /dev/ttyUSB99."_qs},
            {u"--port-device 1=PORT"_qs, u"hang-up=9"_qs, 1,
             u"The connection to the instrument was lost.\n"_qs},
            {u"--port-device 1=PORT"_qs, u"garbage=9"_qs, 3,
             u"FILE: Written, but with 44 unreadable of 50 readings"_qs},
            {u"--port-device 1=PORT"_qs, u"read-only"_qs, 1,
             u"FILE: This file is a read-only file; you cannot save data to it."_qs},
            {u"--port-device 1=PORT"_qs, u"work file"_qs, 0, u"WORK cannot be written ("_qs},
            {u"--port-device 1=PORT"_qs, u"onto it"_qs, 1,
             u"WORK: This name is the program's own work file. Nothing was saved; the file that was there"_qs},
            {u"--port-device 1=PORT"_qs, u">/dev/full"_qs, 0, Text(Str::NotPrinted)},
            {u"--port-device 1=PORT"_qs, u">&-"_qs, 0, Text(Str::NotPrinted)},
            {u"--port-device 1=PORT --data-dir gone"_qs, {}, 2, u"--data-dir may be given only once."_qs},
            {u"--port-device 1=PORT --save-mode"_qs, {}, 0, {}},
            {u"--save-mode --port-device 1=PORT"_qs, u"empty"_qs, 1,
             u"The instrument holds no SAVE-mode records."_qs},
            {u"--save-mode --port-device 1=PORT"_qs, u"wrong-check"_qs, 1, u"Data error occurred."_qs},
        };
        for (auto [arguments, trouble, code, said] : rows) {
            const QTemporaryDir folder;
            sim::PtyServer server(LinkRig::Unpaced());
            arguments.replace(u"PORT"_qs, QString::fromStdString(server.DevicePath()));
            const QString work = folder.filePath(u"WORK.~~~"_qs);
            const QString file = trouble == u"onto it" ? work : folder.filePath(u"readings.CSV"_qs);
            said.replace(u"FILE"_qs, file).replace(u"WORK"_qs, work);
            QFile old(file);
            QVERIFY(old.open(QIODevice::WriteOnly) && old.write("old") == 3);
            old.close();
            if (trouble == u"read-only") {
                QVERIFY(old.setPermissions(QFile::ReadOwner));
            } else if (trouble == u"work file") {
                QVERIFY(QDir().mkdir(work));
            } else if (trouble == u"empty") {
                for (int n = 1; n <= 50; ++n)
                    server.WithInstrument([n](sim::Instrument &i) { i.SetRecord(n, "RS"); });
            } else if (trouble.contains(u'=') || trouble == u"wrong-check") {
                sim::Faults faults;
                QVERIFY(sim::ApplyFault(trouble.toStdString(), faults, nullptr));
                server.SetFaults(faults);
            }
            const ProgramRun run(folder.path(),
                                 QStringList{u"--data-dir"_qs, folder.path(), u"--download"_qs, file} +
                                     arguments.split(u' '),
                                 trouble.startsWith(u'>') ? trouble : QString());
            QVERIFY(run.ended);
            QVERIFY2(said.isEmpty() ? run.said.isEmpty() : run.said.startsWith(said), qPrintable(run.said));
            QCOMPARE(run.said.count(u'\n'), said.isEmpty() ? 0 : code == 2 ? 2 : 1);
            QCOMPARE(run.code, code);
            const bool written = code == 0 || code == 3;
            const bool saveMode = arguments.contains(u"save-mode");
            QCOMPARE(Contents(file) == "old", !written);
            QCOMPARE(Contents(file).count("No."), written && !saveMode ? 50 : 0);
            if (trouble.startsWith(u'>'))
                continue;
            // What is said of it, and of noise as well.
            QCOMPARE(run.printed.count('\n'), !written ? 0 : saveMode ? 1 : 3);
            if (saveMode && written) {
                QCOMPARE(run.printed, QByteArray("37 SAVE-mode records received; they are no readings.\n"));
                QVERIFY(Contents(file).startsWith("4\r\n") && Contents(file).endsWith("1,1\r\n,,,,\r\n"));
            }
            const bool oddlyThere = trouble == u"work file" || trouble == u"onto it";
            QCOMPARE(QFile::exists(work), oddlyThere);
        }
    }

    void ReadingsGoToTheStandardOutput()
    {
        const QTemporaryDir folder;
        const sim::PtyServer server(LinkRig::Unpaced());
        const QString port = u"1="_qs + QString::fromStdString(server.DevicePath());
        const QStringList arguments = {u"--data-dir"_qs, folder.path(), u"--port-device"_qs, port,
                                       u"--download"_qs};
        const QString file = folder.filePath(u"readings.CSV"_qs);
        const ProgramRun before(folder.path(), arguments + QStringList(file));
        QVERIFY(before.ended && before.code == 0);
        // Where the standard output leads, how that ends and what is said.
        const std::tuple<QString, int, QString> rows[] = {
            {QString(), 0, {}},
            {u">/dev/full"_qs, 1, u"Standard output: No space left on device\n"_qs},
            {u">&-"_qs, 1, u"Standard output: Bad file descriptor\n"_qs},
            {u"| { exec <&-; exit 1; }"_qs, 1, u"Standard output: Broken pipe\n"_qs}, // nobody reads
        };
        for (const auto &[output, code, said] : rows) {
            const ProgramRun run(folder.path(), arguments + QStringList(u"-"_qs), output);
            QVERIFY(run.ended);
            QCOMPARE(run.said, said);
            QCOMPARE(run.code, code);
            QCOMPARE(run.printed, code == 0 ? Contents(file) : QByteArray());
        }
    }
};

QTEST_GUILESS_MAIN(HeadlessTest)
#include "headless_test.moc"
