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
        ended = WaitUntil([&] { return process.state() == QProcess::NotRunning; }, 60000) &&
                process.exitStatus() == QProcess::NormalExit;
        code = process.exitCode();
        said = QString::fromUtf8(process.readAllStandardError());
        printed = process.readAllStandardOutput();
    }

    bool ended = false;
    int code = -1;
    QString said;
    QByteArray printed;
};

using Output = std::tuple<QString, int, QString>;      // where it leads, how it ends, and what is said
using Refusal = std::tuple<QString, QString, QString>; // from where, to where, and what is said

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
            const QTemporaryDir folder;
            sim::PtyServer server(LinkRig::Unpaced());
            arguments.replace(u"PORT"_qs, QString::fromStdString(server.DevicePath()));
            const QString work = folder.filePath(u"WORK.~~~"_qs);
            const QString file = trouble == u"onto it" ? work : folder.filePath(u"readings.CSV"_qs);
            said.replace(u"FILE"_qs, file).replace(u"WORK"_qs, work);
            QVERIFY(Put(file, "old"));
            if (trouble == u"read-only") {
                QVERIFY(QFile::setPermissions(file, QFile::ReadOwner));
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
                QCOMPARE(run.printed, QByteArray("37 SAVE-mode records received, which hold no readings.\n"));
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

    void ExportedBookIsMadeAndGrows()
    {
        const QTemporaryDir folder;
        const QString book = folder.filePath(u"Größe 1.xlsx"_qs);
        const QString work = folder.filePath(u"WORK.~~~"_qs); // of a program that is open
        QVERIFY(Put(folder.filePath(u"three.CSV"_qs), SampleFile()) && Put(work, "theirs"));
        QVERIFY(Put(folder.filePath(u"memory.CSV"_qs), SampleFile("0")));
        const QByteArray row = "10:00:00,1,DCmA,2,V\r\n";
        QVERIFY(
            Put(folder.filePath(u"many.CSV"_qs), SampleFile() + row.repeated(20'000))); // beyond the memory
        const QStringList arguments = {u"--data-dir"_qs, folder.path(), u"--to"_qs, u"Größe 1.xlsx"_qs,
                                       u"--export"_qs};
        // Without a folder for temporary files.
        const auto forward = [&](const QStringList &rest) {
            return ProgramRun(folder.path(), arguments + rest, {}, ProgramRun::NoTemporary);
        };
        const ProgramRun made = forward({u"three.CSV"_qs, u"--title"_qs, u"Oven 3"_qs});
        const ProgramRun grown = forward({u"memory.CSV"_qs});
        const ProgramRun many = forward({u"many.CSV"_qs});
        for (const auto &[run, rows] : {std::pair(&made, 3), std::pair(&grown, 3), std::pair(&many, 20003)}) {
            QVERIFY2(run->ended && run->code == 0 && run->said.isEmpty(), qPrintable(run->said));
            QCOMPARE(QString::fromUtf8(run->printed),
                     u"%1 rows forwarded to "_qs.arg(rows) + book + u".\n"_qs);
        }
        QCOMPARE(SheetNames(book), QStringList({u"Oven 3"_qs, u"PX40 1"_qs, u"PX40 2"_qs}));
        const auto parts = ReadPackage(book);
        QVERIFY(parts["xl/worksheets/sheet1.xml"].text.contains(">TIME<"));
        QVERIFY(parts["xl/worksheets/sheet2.xml"].text.contains(">No.<")); // as after a download
        QCOMPARE(Contents(work), QByteArray("theirs"));
        QCOMPARE(QDir(folder.path()).entryList(QDir::Files | QDir::Hidden).size(), 5);
    }

    void ExportedBookGoesToTheStandardOutput_data()
    {
        AddRows<Output>({
            {"file", {u">out.xlsx"_qs, 0, QString()}},
            {"full", {u">/dev/full"_qs, 1, u"Standard output: No space left on device\n"_qs}},
            {"terminal", {u">TERMINAL"_qs, 2, Text(Str::WorkbookOnTerminal) + u'\n'}},
        });
    }

    void ExportedBookGoesToTheStandardOutput()
    {
        auto [output, code, said] = ThisRow<Output>();
        sim::PtyServer terminal;
        output.replace(u"TERMINAL"_qs, QString::fromStdString(terminal.DevicePath()));
        const QTemporaryDir folder;
        QVERIFY(Put(folder.filePath(u"three.CSV"_qs), SampleFile()));
        const ProgramRun run(folder.path(), {u"--export"_qs, u"three.CSV"_qs, u"--to"_qs, u"-"_qs}, output);
        QVERIFY(run.ended);
        QCOMPARE(run.said, said);
        QCOMPARE(run.code, code);
        if (code == 0)
            QCOMPARE(SheetNames(folder.filePath(u"out.xlsx"_qs)), QStringList(u"PX40 1"_qs));
    }

    void ExportedNoiseIsTold()
    {
        const QTemporaryDir folder;
        QByteArray noisy = SampleFile();
        QVERIFY(Put(folder.filePath(u"noisy.CSV"_qs), noisy.replace("2.5", "2.?")));
        const ProgramRun run(folder.path(), {u"--export"_qs, u"noisy.CSV"_qs, u"--to"_qs, u"book.xlsx"_qs},
                             u">/dev/full"_qs);
        QVERIFY(run.ended);
        QCOMPARE(run.code, 3);
        QVERIFY(run.said.startsWith(Text(Str::NotPrinted)));
        QVERIFY(run.said.contains(u"book.xlsx: Written, but with 1 unreadable of 3 readings"));
        QCOMPARE(SheetNames(folder.filePath(u"book.xlsx"_qs)).size(), 1);
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
        const QTemporaryDir folder;
        const QDir dir(folder.path());
        QVERIFY(Put(dir.filePath(u"three.CSV"_qs), SampleFile()) &&
                Put(dir.filePath(u"book.xlsx"_qs), "old"));
        QVERIFY(Put(dir.filePath(u".~lock.held.xlsx#"_qs), ",Ann,bench,01.01.2024 10:00,file:///x;") &&
                dir.mkdir(u"sub"_qs));
        const QStringList before = dir.entryList(QDir::AllEntries | QDir::Hidden);
        const ProgramRun run(folder.path(), {u"--export"_qs, from, u"--to"_qs, to});
        QVERIFY(run.ended && run.code == 1 && run.printed.isEmpty());
        QVERIFY2(run.said.startsWith(dir.filePath(error)), qPrintable(run.said));
        QCOMPARE(run.said.count(u'\n'), 1);
        QCOMPARE(dir.entryList(QDir::AllEntries | QDir::Hidden), before);
        QCOMPARE(Contents(dir.filePath(u"book.xlsx"_qs)), QByteArray("old"));
    }

    void RunIsLoggedUntilItsPeriodIsOver()
    {
        const QTemporaryDir folder;
        const sim::PtyServer server(LinkRig::Unpaced());
        const QStringList arguments = {
            u"--data-dir"_qs,    folder.path(),
            u"--port-device"_qs, u"1="_qs + QString::fromStdString(server.DevicePath()),
            u"--interval"_qs,    u"1"_qs,
            u"--period"_qs,      u"1s"_qs,
            u"--log"_qs};
        const QString file = folder.filePath(u"run.CSV"_qs);
        const ProgramRun run(folder.path(), arguments + QStringList(file));
        QVERIFY2(run.ended && run.code == 0 && run.said.isEmpty(), qPrintable(run.said));
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
        QVERIFY(QDir(folder.filePath(u"Unsaved"_qs)).isEmpty());

        const ProgramRun refused(folder.path(), arguments + QStringList(file));
        QVERIFY2(refused.code == 1 && refused.said == file + u": "_qs + Text(Str::FileIsThere) + u'\n',
                 qPrintable(refused.said));
        QCOMPARE(Contents(file), again);
        const ProgramRun printed(folder.path(), arguments + QStringList(u"-"_qs));
        QVERIFY(printed.code == 0 && printed.said.isEmpty());
        QCOMPARE(printed.printed.count('\n'), 2);
        const ProgramRun full(folder.path(), arguments + QStringList(u"-"_qs), u">/dev/full"_qs);
        QCOMPARE(full.code, 1);
        QCOMPARE(full.said, u"Standard output: No space left on device\n"_qs);
    }

    void RunEndsWhenItIsAskedTo()
    {
        const QTemporaryDir folder;
        const QDir out(folder.filePath(u"out"_qs));
        QVERIFY(QDir().mkdir(out.path()));
        const QStringList place = {u"--data-dir"_qs, folder.path()};
        const auto recover = [&](const QStringList &rest) {
            return ProgramRun(folder.path(), place + QStringList(u"--recover"_qs) + rest);
        };
        for (const int signal : {SIGTERM, SIGINT, SIGKILL}) {
            const QString file = folder.filePath(u"%1.CSV"_qs.arg(signal));
            const QStringList arguments = {u"--demo"_qs, u"--interval"_qs, u"1"_qs, u"--log"_qs, file};
            QProcess program;
            // As below nohup.
            program.start(u"/bin/sh"_qs,
                          QStringList{u"-c"_qs, u"trap '' HUP; exec \"$0\" \"$@\""_qs, Px40ap()} + place +
                              arguments);
            QTRY_VERIFY(Contents(file).contains("VDC"));
            ::kill(static_cast<pid_t>(program.processId()), SIGHUP);
            QCOMPARE(recover({}).printed, (Text(Str::NothingLeft) + u'\n').toUtf8()); // it is in use
            QCOMPARE(program.state(), QProcess::Running);
            ::kill(static_cast<pid_t>(program.processId()), signal);
            QTRY_COMPARE(program.state(), QProcess::NotRunning);
            const bool killed = signal == SIGKILL;
            QCOMPARE(program.exitStatus() == QProcess::CrashExit, killed);
            QCOMPARE(program.exitCode() == 0, !killed);
            QCOMPARE(Contents(file).endsWith(",,,,\r\n"), !killed);
            QVERIFY(recover({}).printed.startsWith(killed ? "9 (simulated) of 20" : "Nothing was left"));
        }
        const QString killed = folder.filePath(u"9.CSV"_qs);
        const ProgramRun saved = recover({out.path()});
        QVERIFY2(saved.code == 0, qPrintable(saved.said));
        const QStringList names = out.entryList(QDir::Files);
        QCOMPARE(names.size(), 1);
        // The file may lack what was on its way to it.
        QVERIFY(Contents(out.filePath(names.constFirst())).startsWith(Contents(killed)));
        QVERIFY(recover({}).printed.startsWith("Nothing was left"));
    }

    void RunThatCannotBeginMakesNoFile()
    {
        const QTemporaryDir folder;
        const sim::PtyServer server(LinkRig::Unpaced());
        const QString device = QString::fromStdString(server.DevicePath());
        SerialPort other;
        QVERIFY(other.Open(device).trouble == PortTrouble::None);
        const std::pair<QStringList, QString> rows[] = {
            {{u"--port-device"_qs, u"1="_qs + device}, Text(Str::PortBusy).arg(device)},
            {{u"--port"_qs, u"5"_qs}, u"No device is assigned to port 5."_qs},
        };
        for (const auto &[arguments, said] : rows) {
            const QStringList run = {u"--data-dir"_qs, folder.path(), u"--log"_qs, u"run.CSV"_qs};
            const ProgramRun refused(folder.path(), run + arguments);
            QVERIFY2(refused.said.startsWith(said), qPrintable(refused.said));
            QCOMPARE(refused.code, 1);
            QVERIFY(QDir(folder.path()).isEmpty());
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
