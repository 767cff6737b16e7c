#include "resources/strings.h"
#include "simulator/ptyserver.h"
#include "testing/books.h"
#include "testing/programrun.h"
#include "testing/rows.h"

#include <QTemporaryDir>

using namespace px40;

namespace {
using Output = std::tuple<QString, int, QString>;      // where it leads, how it ends, and what is said
using Refusal = std::tuple<QString, QString, QString>; // from where, to where, and what is said
} // namespace

class ExportTest : public QObject
{
    Q_OBJECT

  private Q_SLOTS:
    void BookIsMadeAndGrows()
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

    void BookGoesToTheStandardOutput_data()
    {
        AddRows<Output>({
            {"file", {u">out.xlsx"_qs, 0, QString()}},
            {"full", {u">/dev/full"_qs, 1, u"Standard output: No space left on device\n"_qs}},
            {"terminal", {u">TERMINAL"_qs, 2, Text(Str::WorkbookOnTerminal) + u'\n'}},
        });
    }

    void BookGoesToTheStandardOutput()
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

    void NoiseIsTold()
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

    void RefusalsLeaveTheBook_data()
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

    void RefusalsLeaveTheBook()
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
};

QTEST_GUILESS_MAIN(ExportTest)
#include "export_test.moc"
