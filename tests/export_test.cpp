#include "tests/bookrig.h"
#include "tests/support.h"

#include <QProcess>

#include <tuple>

using namespace px40;

namespace {

/// A run of the program, with nothing that leads to a display.
struct Run
{
    Run(const QString &folder, const QStringList &arguments)
    {
        const QTemporaryDir own;
        QProcess process;
        QProcessEnvironment environment;
        for (const char *const name : {"TMPDIR", "XDG_CONFIG_HOME"})
            environment.insert(QString::fromLatin1(name), own.path());
        environment.insert(u"LC_ALL"_qs, u"C.UTF-8"_qs);
        environment.insert(u"LSAN_OPTIONS"_qs, qEnvironmentVariable("LSAN_OPTIONS"));
        process.setProcessEnvironment(environment);
        process.setWorkingDirectory(folder);
        process.start(QCoreApplication::applicationDirPath() + u"/px40ap"_qs, arguments);
        ended = WaitUntil([&] { return process.state() == QProcess::NotRunning; }, 60000) &&
                process.exitStatus() == QProcess::NormalExit;
        code = process.exitCode();
        said = QString::fromUtf8(process.readAllStandardError());
        printed = QString::fromUtf8(process.readAllStandardOutput());
    }

    bool ended = false;
    int code = -1;
    QString said;
    QString printed;
};

} // namespace

class ExportTest : public QObject
{
    Q_OBJECT

  private Q_SLOTS:
    void BookIsMadeAndGrows();
    void RefusalsLeaveTheBook();
};

void ExportTest::BookIsMadeAndGrows()
{
    const QTemporaryDir folder;
    const QString book = folder.filePath(u"Größe 1.xlsx"_qs);
    const QString work = folder.filePath(u"WORK.~~~"_qs); // of a program that is open
    QVERIFY(Put(folder.filePath(u"three.CSV"_qs), SampleFile()) && Put(work, "theirs"));
    QVERIFY(Put(folder.filePath(u"memory.CSV"_qs), SampleFile("0")));
    const QStringList arguments = {u"--data-dir"_qs, folder.path(), u"--to"_qs, u"Größe 1.xlsx"_qs,
                                   u"--export"_qs};
    const Run made(folder.path(), arguments + QStringList{u"three.CSV"_qs, u"--title"_qs, u"Oven 3"_qs});
    const Run grown(folder.path(), arguments + QStringList{u"memory.CSV"_qs});
    for (const Run *const run : {&made, &grown}) {
        QVERIFY2(run->ended && run->code == 0 && run->said.isEmpty(), qPrintable(run->said));
        QCOMPARE(run->printed, u"3 rows forwarded to "_qs + book + u".\n"_qs);
    }
    QCOMPARE(SheetNames(book), QStringList({u"Oven 3"_qs, u"PX40 1"_qs}));
    const auto parts = ReadPackage(book);
    QVERIFY(parts["xl/worksheets/sheet1.xml"].text.contains(">TIME<"));
    QVERIFY(parts["xl/worksheets/sheet2.xml"].text.contains(">No.<")); // as after a download
    QCOMPARE(Contents(work), QByteArray("theirs"));
    QCOMPARE(QDir(folder.path()).entryList(QDir::Files | QDir::Hidden).size(), 4);
}

void ExportTest::RefusalsLeaveTheBook()
{
    // From where to where, and what is said.
    const std::tuple<const char *, const char *, QString> rows[] = {
        {"gone.CSV", "book.xlsx", u"gone.CSV: No such file"_qs},
        {"book.xlsx", "new.xlsx", u"book.xlsx: This file is a different data type."_qs},
        {"three.CSV", "book.xlsx", u"book.xlsx: This file is no Excel workbook."_qs},
        {"three.CSV", "held.xlsx", u"held.xlsx: Ann on bench has this workbook open."_qs},
        {"three.CSV", "new.xls", u"new.xls: The name of a new workbook ends in .xlsx."_qs},
        {"three.CSV", "gone/new.xlsx", u"gone: This folder does not exist."_qs},
        {"three.CSV", "sub", u"sub: This is not a file."_qs},
    };
    const QTemporaryDir folder;
    const QDir dir(folder.path());
    QVERIFY(Put(dir.filePath(u"three.CSV"_qs), SampleFile()) && Put(dir.filePath(u"book.xlsx"_qs), "old"));
    QVERIFY(Put(dir.filePath(u".~lock.held.xlsx#"_qs), ",Ann,bench,01.01.2024 10:00,file:///x;") &&
            dir.mkdir(u"sub"_qs));
    const QStringList before = dir.entryList(QDir::AllEntries | QDir::Hidden);
    for (const auto &[from, to, error] : rows) {
        const Run run(folder.path(),
                      {u"--export"_qs, QString::fromLatin1(from), u"--to"_qs, QString::fromLatin1(to)});
        QVERIFY(run.ended && run.code == 1 && run.printed.isEmpty());
        QVERIFY2(run.said.startsWith(dir.filePath(error)), qPrintable(run.said));
        QCOMPARE(run.said.count(u'\n'), 1);
        QCOMPARE(dir.entryList(QDir::AllEntries | QDir::Hidden), before);
        QCOMPARE(Contents(dir.filePath(u"book.xlsx"_qs)), QByteArray("old"));
    }
}

QTEST_GUILESS_MAIN(ExportTest)
#include "export_test.moc"
