#include "document/dataset.h"
#include "platform/serialport.h"
#include "resources/strings.h"
#include "testing/books.h"
#include "testing/linkrig.h"
#include "testing/rows.h"

#include <QBuffer>
#include <QDir>
#include <QProcess>

#include <csignal>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace px40;

namespace {

QString Px40ap()
{
    return QCoreApplication::applicationDirPath() + u"/px40ap"_qs;
}

/// A run of the program to its end, with nothing that leads to a display and as little as a script may have.
struct ProgramRun
{
    enum TemporaryFolder { HasTemporary, NoTemporary };

    /// In that folder. `redirection`: of the standard output, as a shell has it.
    ProgramRun(const QString &folder, const QStringList &arguments, const QString &redirection = {},
               TemporaryFolder temporary = HasTemporary)
    {
        const QTemporaryDir own;
        QProcess process;
        QProcessEnvironment environment;
        environment.insert(u"XDG_CONFIG_HOME"_qs, own.path());
        environment.insert(u"TMPDIR"_qs, temporary == HasTemporary ? own.path() : own.filePath(u"gone"_qs));
        environment.insert(u"LC_ALL"_qs, u"C.UTF-8"_qs);
        environment.insert(u"LSAN_OPTIONS"_qs, qEnvironmentVariable("LSAN_OPTIONS"));
        process.setProcessEnvironment(environment);
        process.setWorkingDirectory(folder);
        if (redirection.isEmpty())
            process.start(Px40ap(), arguments);
        else
            process.start(u"/bin/sh"_qs,
                          QStringList{u"-c"_qs, u"exec \"$0\" \"$@\" "_qs + redirection, Px40ap()} +
                              arguments);
        const bool ended = WaitUntil([&] { return process.state() == QProcess::NotRunning; }, 60000);
        Require(ended && process.exitStatus() == QProcess::NormalExit, u"The program does not end."_qs);
        code = process.exitCode();
        said = QString::fromUtf8(process.readAllStandardError());
        printed = process.readAllStandardOutput();
    }

    int code = -1;
    QString said;
    QByteArray printed;
};

/// A folder of the program's own, with a data file, and an instrument.
struct Rig
{
    Rig() { Require(Put(Path("three.CSV"), SampleFile()), u"The data file cannot be written."_qs); }

    QString Path(const char *name) const { return folder.filePath(QString::fromUtf8(name)); }

    /// Runs the program in the folder. `words`: its arguments, with PORT for the instrument's device.
    ProgramRun Run(QString words, const QString &redirection = {}) const
    {
        words.replace(u"PORT"_qs, device);
        return {folder.path(), words.split(u' '), redirection};
    }

    const QTemporaryDir folder;
    sim::PtyServer server{LinkRig::Unpaced()};
    const QString device = QString::fromStdString(server.DevicePath());
};

using Output = std::tuple<QString, QString, int, QString>; // what, to where, how it ends, and what is said
using Refusal = std::tuple<QString, QString, QString>;     // from where, to where, and what is said

} // namespace

/// What the program does without a window: downloads, and exports to workbooks.
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
            Rig rig;
            const QString work = rig.Path("WORK.~~~");
            const QString file = trouble == u"onto it" ? work : rig.Path("readings.CSV");
            said.replace(u"FILE"_qs, file).replace(u"WORK"_qs, work);
            QVERIFY(Put(file, "old"));
            if (trouble == u"read-only") {
                QVERIFY(QFile::setPermissions(file, QFile::ReadOwner));
            } else if (trouble == u"work file") {
                QVERIFY(QDir().mkdir(work));
            } else if (trouble == u"empty") {
                for (int n = 1; n <= 50; ++n)
                    rig.server.WithInstrument([n](sim::Instrument &i) { i.SetRecord(n, "RS"); });
            } else if (trouble.contains(u'=') || trouble == u"wrong-check") {
                sim::Faults faults;
                QVERIFY(sim::ApplyFault(trouble.toStdString(), faults, nullptr));
                rig.server.SetFaults(faults);
            }
            const QString words = u"--data-dir %1 --download %2 "_qs.arg(rig.folder.path(), file) + arguments;
            const ProgramRun run = rig.Run(words, trouble.startsWith(u'>') ? trouble : QString());
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
                QCOMPARE(run.printed, QByteArray("37 SAVE-mode records received, which hold no readings.\n"));
                QVERIFY(Contents(file).startsWith("4\r\n") && Contents(file).endsWith("1,1\r\n,,,,\r\n"));
            }
            const bool oddlyThere = trouble == u"work file" || trouble == u"onto it";
            QCOMPARE(QFile::exists(work), oddlyThere);
        }
    }

    void StandardOutputTakesIt_data()
    {
        const QString readings = u"--download - --port-device 1=PORT"_qs;
        const QString book = u"--export three.CSV --to -"_qs;
        const QString rows = u"--log - --port-device 1=PORT --interval 1 --period 1s"_qs;
        const QString full = u"Standard output: No space left on device\n"_qs;
        AddRows<Output>({
            {"readings", {readings, {}, 0, {}}},
            {"readings, full", {readings, u">/dev/full"_qs, 1, full}},
            {"readings, closed", {readings, u">&-"_qs, 1, u"Standard output: Bad file descriptor\n"_qs}},
            {"readings, nobody reads",
             {readings, u"| { exec <&-; exit 1; }"_qs, 1, u"Standard output: Broken pipe\n"_qs}},
            {"workbook", {book, u">out.xlsx"_qs, 0, {}}},
            {"workbook, full", {book, u">/dev/full"_qs, 1, full}},
            {"workbook, terminal", {book, u">PORT"_qs, 2, Text(Str::WorkbookOnTerminal) + u'\n'}},
            {"run", {rows, {}, 0, {}}},
            {"run, full", {rows, u">/dev/full"_qs, 1, full}},
        });
    }

    void StandardOutputTakesIt()
    {
        auto [words, output, code, said] = ThisRow<Output>();
        const Rig rig;
        const QByteArray what = QTest::currentDataTag();
        const ProgramRun run = rig.Run(u"--data-dir . "_qs + words, output.replace(u"PORT"_qs, rig.device));
        QCOMPARE(run.said, said);
        QCOMPARE(run.code, code);
        QCOMPARE(run.printed.isEmpty(), what != "readings" && what != "run");
        if (what == "workbook") {
            QCOMPARE(SheetNames(rig.Path("out.xlsx")), QStringList(u"PX40 1"_qs));
        } else if (what == "run") {
            QCOMPARE(run.printed.count('\n'), 2);
        } else if (what == "readings") {
            QCOMPARE(rig.Run(u"--data-dir . --port-device 1=PORT --download a.CSV"_qs).code, 0);
            QCOMPARE(run.printed, Contents(rig.Path("a.CSV")));
        }
    }

    void ExportedBookIsMadeAndGrows()
    {
        const Rig rig;
        const QString book = rig.Path("Größe 1.xlsx");
        const QString work = rig.Path("WORK.~~~"); // of a program that is open
        QVERIFY(Put(work, "theirs") && Put(rig.Path("memory.CSV"), SampleFile("0")));
        const QByteArray row = "10:00:00,1,DCmA,2,V\r\n";
        QVERIFY(Put(rig.Path("many.CSV"), SampleFile() + row.repeated(20'000))); // beyond the memory
        const auto forward = [&](const QStringList &rest) {
            const QStringList arguments = {u"--data-dir"_qs, u"."_qs, u"--to"_qs, book, u"--export"_qs};
            return ProgramRun(rig.folder.path(), arguments + rest, {}, ProgramRun::NoTemporary);
        };
        const ProgramRun made = forward({u"three.CSV"_qs, u"--title"_qs, u"Oven 3"_qs});
        const ProgramRun grown = forward({u"memory.CSV"_qs});
        const ProgramRun many = forward({u"many.CSV"_qs});
        for (const auto &[run, rows] : {std::pair(&made, 3), std::pair(&grown, 3), std::pair(&many, 20003)}) {
            QVERIFY2(run->code == 0 && run->said.isEmpty(), qPrintable(run->said));
            QCOMPARE(QString::fromUtf8(run->printed),
                     u"%1 rows forwarded to "_qs.arg(rows) + book + u".\n"_qs);
        }
        QCOMPARE(SheetNames(book), QStringList({u"Oven 3"_qs, u"PX40 1"_qs, u"PX40 2"_qs}));
        const auto parts = ReadPackage(book);
        QVERIFY(parts["xl/worksheets/sheet1.xml"].text.contains(">TIME<"));
        QVERIFY(parts["xl/worksheets/sheet2.xml"].text.contains(">No.<")); // as after a download
        QCOMPARE(Contents(work), QByteArray("theirs"));
        QCOMPARE(QDir(rig.folder.path()).entryList(QDir::Files | QDir::Hidden).size(), 5);
    }

    void ExportedNoiseIsTold()
    {
        const Rig rig;
        QVERIFY(Put(rig.Path("noisy.CSV"), SampleFile().replace("2.5", "2.?")));
        const ProgramRun run = rig.Run(u"--export noisy.CSV --to book.xlsx"_qs, u">/dev/full"_qs);
        QCOMPARE(run.code, 3);
        QVERIFY(run.said.startsWith(Text(Str::NotPrinted)));
        QVERIFY(run.said.contains(u"book.xlsx: Written, but with 1 unreadable of 3 readings"));
        QCOMPARE(SheetNames(rig.Path("book.xlsx")).size(), 1);
    }

    void RefusedExportsLeaveTheBook_data()
    {
        AddRows<Refusal>({
            {"no data", {u"gone.CSV"_qs, u"book.xlsx"_qs, u"gone.CSV: No such file"_qs}},
            {"other data",
             {u"book.xlsx"_qs, u"new.xlsx"_qs, u"book.xlsx: This file is a different data type."_qs}},
            {"no workbook",
             {u"three.CSV"_qs, u"book.xlsx"_qs, u"book.xlsx: This file is no Excel workbook."_qs}},
            {"held",
             {u"three.CSV"_qs, u"held.xlsx"_qs, u"held.xlsx: Ann on bench has this workbook open."_qs}},
            {"kind",
             {u"three.CSV"_qs, u"new.xls"_qs, u"new.xls: The name of a new workbook ends in .xlsx."_qs}},
            {"no folder", {u"three.CSV"_qs, u"gone/new.xlsx"_qs, u"gone: This folder does not exist."_qs}},
            {"a folder", {u"three.CSV"_qs, u"sub"_qs, u"sub: This is not a file."_qs}},
        });
    }

    void RefusedExportsLeaveTheBook()
    {
        const auto [from, to, error] = ThisRow<Refusal>();
        const Rig rig;
        const QDir dir(rig.folder.path());
        QVERIFY(Put(rig.Path("book.xlsx"), "old") && dir.mkdir(u"sub"_qs));
        QVERIFY(Put(rig.Path(".~lock.held.xlsx#"), ",Ann,bench,01.01.2024 10:00,file:///x;"));
        const QStringList before = dir.entryList(QDir::AllEntries | QDir::Hidden);
        const ProgramRun run = rig.Run(u"--export %1 --to %2"_qs.arg(from, to));
        QVERIFY(run.code == 1 && run.printed.isEmpty());
        QVERIFY2(run.said.startsWith(dir.filePath(error)), qPrintable(run.said));
        QCOMPARE(run.said.count(u'\n'), 1);
        QCOMPARE(dir.entryList(QDir::AllEntries | QDir::Hidden), before);
        QCOMPARE(Contents(rig.Path("book.xlsx")), QByteArray("old"));
    }

    void RunIsLoggedUntilItsPeriodIsOver()
    {
        const Rig rig;
        const QString file = rig.Path("run.CSV");
        const QString words = u"--data-dir . --port-device 1=PORT --interval 1 --period 1s --log "_qs + file;
        const ProgramRun run = rig.Run(words);
        QVERIFY2(run.code == 0 && run.said.isEmpty(), qPrintable(run.said));
        QVERIFY(run.printed.startsWith("run.CSV has ended: 00:00:01 elapsed, 2 rows"));
        DocumentShared shared;
        DataSet saved(shared);
        QVERIFY(saved.OpenFile(file).has_value());
        QCOMPARE(saved.GetDatacount(), 2);
        QCOMPARE(saved.GetPeriodcount(), 1);
        QByteArray again;
        QBuffer buffer(&again);
        QVERIFY(buffer.open(QIODevice::WriteOnly) && saved.Write(buffer).has_value());
        QCOMPARE(Contents(file), again); // as a window writes it
        QVERIFY(QDir(rig.Path("Unsaved")).isEmpty());

        const ProgramRun refused = rig.Run(words);
        QVERIFY2(refused.code == 1 && refused.said == file + u": "_qs + Text(Str::FileIsThere) + u'\n',
                 qPrintable(refused.said));
        QCOMPARE(Contents(file), again);
    }

    void RunEndsWhenItIsAskedTo()
    {
        const Rig rig;
        const QDir out(rig.Path("out"));
        QVERIFY(QDir().mkdir(out.path()));
        const QString recover = u"--data-dir . --recover"_qs;
        for (const int signal : {SIGTERM, SIGINT, SIGKILL}) {
            const QString file = rig.folder.filePath(u"%1.CSV"_qs.arg(signal));
            const QString words =
                u"--data-dir %1 --demo --interval 1 --log %2"_qs.arg(rig.folder.path(), file);
            QProcess program;
            // As below nohup.
            program.start(u"/bin/sh"_qs, {u"-c"_qs, u"trap '' HUP; exec %1 %2"_qs.arg(Px40ap(), words)});
            QTRY_VERIFY(Contents(file).contains("VDC"));
            ::kill(static_cast<pid_t>(program.processId()), SIGHUP);
            QCOMPARE(rig.Run(recover).printed, (Text(Str::NothingLeft) + u'\n').toUtf8()); // it is in use
            QCOMPARE(program.state(), QProcess::Running);
            ::kill(static_cast<pid_t>(program.processId()), signal);
            QTRY_COMPARE(program.state(), QProcess::NotRunning);
            const bool killed = signal == SIGKILL;
            QCOMPARE(program.exitStatus() == QProcess::CrashExit, killed);
            QCOMPARE(program.exitCode() == 0, !killed);
            QCOMPARE(Contents(file).endsWith(",,,,\r\n"), !killed);
            QVERIFY(rig.Run(recover).printed.startsWith(killed ? "9 (simulated) of 20" : "Nothing was left"));
        }
        const ProgramRun saved = rig.Run(recover + u" out"_qs);
        QVERIFY2(saved.code == 0, qPrintable(saved.said));
        const QStringList names = out.entryList(QDir::Files);
        QCOMPARE(names.size(), 1);
        // The file may lack what was on its way to it.
        QVERIFY(Contents(out.filePath(names.constFirst())).startsWith(Contents(rig.Path("9.CSV"))));
        QVERIFY(rig.Run(recover).printed.startsWith("Nothing was left"));
    }

    void RunThatCannotBeginMakesNoFile()
    {
        const Rig rig;
        SerialPort other;
        QVERIFY(other.Open(rig.device).trouble == PortTrouble::None);
        const std::pair<QString, QString> rows[] = {
            {u"--port-device 1=PORT"_qs, Text(Str::PortBusy).arg(rig.device)},
            {u"--port 5"_qs, u"No device is assigned to port 5."_qs},
        };
        for (const auto &[words, said] : rows) {
            const ProgramRun refused = rig.Run(u"--data-dir . --log run.CSV "_qs + words);
            QVERIFY2(refused.said.startsWith(said), qPrintable(refused.said));
            QCOMPARE(refused.code, 1);
            QCOMPARE(QDir(rig.folder.path()).entryList(QDir::NoDotAndDotDot | QDir::AllEntries).size(), 1);
        }
    }

    void FullDiskEndsNoRun_data() { AddRows<bool>({{"full to the end", false}, {"emptied again", true}}); }

    void FullDiskEndsNoRun()
    {
        const bool emptied = ThisRow<bool>();
        const QTemporaryDir folder;
        const QString file = folder.filePath(u"run.CSV"_qs);
        QProcess program;
        program.start(Px40ap(), {u"--data-dir"_qs, folder.path(), u"--demo"_qs, u"--interval"_qs, u"1"_qs,
                                 u"--log"_qs, file});
        const auto limit = [&program](rlim_t bytes) { // of each file
            const rlimit soft = {bytes, RLIM_INFINITY};
            return ::prlimit(static_cast<pid_t>(program.processId()), RLIMIT_FSIZE, &soft, nullptr) == 0;
        };
        QTRY_VERIFY(Contents(file).contains("VDC"));
        const QByteArray before = Contents(file);
        QVERIFY(limit(static_cast<rlim_t>(before.size()) + 5));
        QByteArray said;
        QTRY_VERIFY((said += program.readAllStandardError()).contains("The rows wait in memory"));
        QTRY_VERIFY((said += program.readAllStandardError()).contains("(not protected"));
        QVERIFY(!emptied || limit(RLIM_INFINITY));
        program.terminate();
        QTRY_COMPARE(program.state(), QProcess::NotRunning);
        QCOMPARE(program.exitStatus() == QProcess::NormalExit ? program.exitCode() : -1, emptied ? 0 : 1);
        QCOMPARE(program.readAllStandardError().endsWith("they are lost.\n"), !emptied);
        const QByteArray after = Contents(file);
        QVERIFY(after.startsWith(before) && after.endsWith("\r\n")); // whole rows
        QCOMPARE(after.endsWith("\r\n,,,,\r\n"), emptied);
        QCOMPARE(after.count("VDC") > before.count("VDC"), emptied);
    }

    void ReaderThatStopsHoldsNothingUp()
    {
        const QTemporaryDir folder;
        const QString pipe = folder.filePath(u"pipe"_qs);
        const QByteArray name = QFile::encodeName(pipe);
        QVERIFY(::mkfifo(name.constData(), 0600) == 0);
        const int ends = ::open(name.constData(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
        while (::write(ends, name.constData(), 1) == 1) {
        }
        QProcess program;
        program.setStandardOutputFile(pipe);
        program.start(Px40ap(), {u"--data-dir"_qs, folder.path(), u"--demo"_qs, u"--log"_qs, u"-"_qs});
        const QString journals = folder.filePath(u"Unsaved"_qs);
        QTRY_VERIFY(QDir(journals).exists() && !QDir(journals).isEmpty()); // a row has come
        program.terminate();
        QTRY_COMPARE(program.state(), QProcess::NotRunning);
        ::close(ends);
        QVERIFY(program.readAllStandardError().contains("Nobody takes the rows. They are kept"));
        QVERIFY(!QDir(journals).isEmpty());
    }
};

QTEST_GUILESS_MAIN(HeadlessTest)
#include "headless_test.moc"
