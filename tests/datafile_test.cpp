#include "document/datafile.h"
#include "document/dataset.h"
#include "link/linkstate.h"
#include "platform/files.h"
#include "tests/support.h"

#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#ifdef Q_OS_UNIX
#include <csignal>
#include <sys/resource.h>
#include <sys/stat.h>
#endif

using namespace px40;

namespace {

const QByteArray Realtime = "2\r\n"
                            "9600,5400,0\r\n"
                            "00,00,00,05\r\n"
                            "True,,,,\r\n"
                            "20\r\n"
                            "True,1,1\r\n"
                            "True,0,10,1,1\r\n"
                            "10:00:00,1.0023,,,\r\n"
                            "10:00:05,1.0031,,,\r\n"
                            "10:00:10,+OL,,,\r\n"
                            ",,,,\r\n";

std::optional<DataFile> Read(QByteArray bytes, QString *error = nullptr)
{
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    QString reason;
    std::optional<DataFile> file = ReadDataFile(buffer, &reason);
    if (error)
        *error = reason;
    return file;
}

QByteArray Written(const DataFile &file)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    QString error;
    return WriteDataFile(file.header, file.rows, file.tableRows, buffer, &error) ? bytes : QByteArray();
}

/// The example with one of its lines (from 1) replaced.
QByteArray WithLine(int number, const QByteArray &line)
{
    QList<QByteArray> lines = Realtime.split('\n');
    lines[number - 1] = line + '\r';
    return lines.join('\n');
}

#ifdef Q_OS_UNIX
/// While it lives no file grows beyond that size, as on a disk that is full.
class FullDisk
{
  public:
    explicit FullDisk(rlim_t bytes) : handler_(std::signal(SIGXFSZ, SIG_IGN))
    {
        ::getrlimit(RLIMIT_FSIZE, &before_);
        const rlimit little{bytes, before_.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &little);
    }
    ~FullDisk()
    {
        ::setrlimit(RLIMIT_FSIZE, &before_);
        std::signal(SIGXFSZ, handler_);
    }
    FullDisk(const FullDisk &) = delete;
    FullDisk &operator=(const FullDisk &) = delete;

  private:
    rlimit before_{};
    void (*handler_)(int);
};
#endif

/// Data sets that share a work file in a folder of their own.
struct FileRig
{
    FileRig() { shared.WorkPath = folder.filePath(u"WORK.~~~"_qs); }

    QString Put(const QByteArray &bytes)
    {
        const QString name = folder.filePath(u"given.CSV"_qs);
        QFile file(name);
        return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size() ? name : QString();
    }

    std::shared_ptr<DataSet> Set() { return std::make_shared<DataSet>(state, shared); }

    QTemporaryDir folder;
    LinkState state;
    DocumentShared shared;
};

} // namespace

class DataFileTest : public QObject
{
    Q_OBJECT

  private Q_SLOTS:
    void ReadsTheExample();
    void WritesWhatItRead_data();
    void WritesWhatItRead();
    void EmptyLinesAreRowsButNoSamples();
    void MissingFieldsBeginAgain();
    void HeaderIsChecked_data();
    void HeaderIsChecked();
    void TruncatedAnywhere();
    void OddContentsAreBounded_data();
    void OddContentsAreBounded();
    void DurationsAreValidated_data();
    void DurationsAreValidated();
    void SetsKeepEverything_data();
    void SetsKeepEverything();
    void NoiseStaysInItsField();
    void FailedReadingLeavesNothing_data();
    void FailedReadingLeavesNothing();
    void FailedSavingLeavesTheOldFile_data();
    void FailedSavingLeavesTheOldFile();
    void FullDiskLeavesTheOldFile();
    void WorkFileIsNoDataFile();
    void MemorySetsKeepTheirInterval();
};

void DataFileTest::ReadsTheExample()
{
    for (const bool lineFeedsAlone : {false, true}) {
        QByteArray bytes = Realtime;
        if (lineFeedsAlone)
            bytes.replace("\r\n", "\n");
        const std::optional<DataFile> file = Read(bytes);
        QVERIFY(file);
        QCOMPARE(file->header.kind, 2);
        QCOMPARE(file->header.shape.height, 5400);
        QCOMPARE(DurationSeconds(file->header.interval), 5);
        QVERIFY(file->header.periodNone && file->header.graph.xAuto && file->header.graph.yAuto);
        QCOMPARE(file->header.graph.count, 20);
        QCOMPARE(file->rows.Count(), 3);
        QCOMPARE(file->tableRows, 4);
        QCOMPARE(file->rows.Cell(2, 1), u"+OL"_qs);
        QCOMPARE(file->readings.statistics.validCount, 2);
        QCOMPARE(file->readings.statistics.maxRow, 2);
        QVERIFY(!file->readings.series.At(3).HasReading());
        QCOMPARE(file->readings.series.At(3).maximum, 1.0031F);
        QCOMPARE(file->readings.series.At(2).maximum, 1.0023F); // as it was before that sample
        QCOMPARE(Written(*file), Realtime);
    }
}

void DataFileTest::WritesWhatItRead_data()
{
    QTest::addColumn<QByteArray>("bytes");
    const QByteArray rest = "\r\n100,200,2\r\n,,,10\r\nTrue,,,,\r\n32767\r\nFalse,3,2\r\n"
                            "False,-60000,60000,5,2\r\nNo.1,1.5,VDC,2,mA\r\nNo.2,-----,,,\r\n,,,,\r\n";
    QTest::newRow("MEMORY-mode") << "0" + rest;
    QByteArray save = "4" + rest;
    QTest::newRow("SAVE-mode") << save.replace(",,,10", ",,,");
    QTest::newRow("custom period") << WithLine(4, "False,99,23,59,59");
    QTest::newRow("Latin-1") << WithLine(8, "10:00:00,1.0023,\xb0"
                                            "C,\xb5\xff,\x80 x ");
}

void DataFileTest::WritesWhatItRead()
{
    QFETCH(QByteArray, bytes);
    const std::optional<DataFile> file = Read(bytes);
    QVERIFY(file);
    QCOMPARE(Written(*file), bytes);
}

void DataFileTest::EmptyLinesAreRowsButNoSamples()
{
    const QByteArray rows = "a,1,,,\r\n\r\nlost,,x,,\r\nb,2,,,\r\n";
    for (const char *const kind : {"0", "2", "4"}) {
        const std::optional<DataFile> file = Read(WithLine(1, kind).chopped(4 + 2) + rows);
        QVERIFY(file);
        const bool samples = *kind == '4';
        QCOMPARE(file->rows.Count(), samples ? 7 : 5);
        QCOMPARE(file->tableRows, 7);
        QCOMPARE(file->readings.statistics.validCount, 4);
        QCOMPARE(file->readings.statistics.maxRow, samples ? 7 : 5);
        // From then on it stays as it is, also as samples that are empty.
        const QByteArray once = Written(*file);
        QVERIFY(once.endsWith(samples ? "b,2,,,\r\n,,,,\r\n" : "b,2,,,\r\n,,,,\r\n,,,,\r\n"));
        const std::optional<DataFile> again = Read(once);
        QVERIFY(again);
        QCOMPARE(Written(*again), once);
    }
}

void DataFileTest::MissingFieldsBeginAgain()
{
    const std::optional<DataFile> file = Read(Realtime + "A\r\n1,2\r\n1,2,3,4,5,6,7");
    QVERIFY(file);
    QCOMPARE(file->rows.Count(), 6);
    const auto row = [&](int number) {
        QStringList texts;
        for (int text = 0; text < RowStore::Texts; ++text)
            texts << file->rows.Cell(number, text);
        return texts.join(u'|');
    };
    QCOMPARE(row(3), u"A|A|A|A|A"_qs);
    QCOMPARE(row(4), u"1|2|1|2|1"_qs);
    QCOMPARE(row(5), u"1|2|3|4|5"_qs); // a last line without an end
}

void DataFileTest::HeaderIsChecked_data()
{
    QTest::addColumn<int>("line");
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QString>("error"); // empty: accepted
    const QString type = u"This file is a different data type."_qs;
    const auto add = [](int line, const char *text, const QString &error) {
        QTest::addRow("line %d: %s", line, text) << line << QByteArray(text) << error;
    };
    for (const char *const text : {"1", "3", "", " 2", "02", "9", "PNG"})
        add(1, text, type);
    add(2, "32768,1,0", u"Line 2 of the file: \"32768\" is not a whole number from -32768 to 32767."_qs);
    add(2, "1,,0", u"Line 2 of the file: \"\" is not a whole number from -32768 to 32767."_qs);
    add(2, "0,-5,7", QString());
    for (const char *const text : {"00,00,00,00", "100,0,0,0", "0,24,0,0", "0,0,60,0", "0,0,0,60", "a,0,0,1",
                                   ",,,5", "-1,0,0,5", "0,0,0,1.5", "5"})
        add(3, text, text == QByteArray("5") ? QString() : type); // "5" is read as 5,5,5,5
    add(3, "99,23,59,59", QString());
    add(4, "False,0,0,0,0", type);
    add(4, "False,,,,", type);
    add(4, "0,0,0,1,0", QString());
    add(4, "Maybe,0,0,1,0", u"Line 4 of the file: \"Maybe\" is neither True nor False."_qs);
    add(4, "-1,x,y,z,", QString());
    for (const char *const text : {"1", "32768", "", "x", "2.5", "-20"})
        add(5, text, type);
    for (const char *const text : {"2", "32767", " 20 ", "2e1"})
        add(5, text, QString());
    for (const char *const text : {"True,0,1", "True,1,32768", "Maybe,0,1", "False,1"})
        add(6, text, type);
    add(6, "Maybe,1,1", u"Line 6 of the file: \"Maybe\" is neither True nor False."_qs);
    add(6, "TRUE,32767,1", QString());
    for (const char *const text : {"True,-60000.5,10,1,1", "True,0,60001,1,1", "False,0,10,0,1",
                                   "False,0,10,1,32768", "False,a,10,1,1", "False,nan,inf,1,1"})
        add(7, text, type);
    add(7, "False,-60000,60000,32767,32767", QString());
    add(7, "False,10,0,1,1", QString()); // the order of the limits is the graph's concern
}

void DataFileTest::HeaderIsChecked()
{
    QFETCH(int, line);
    QFETCH(QByteArray, text);
    QFETCH(QString, error);
    QString reason;
    const std::optional<DataFile> file = Read(WithLine(line, text), &reason);
    QCOMPARE(reason, error);
    QCOMPARE(file.has_value(), error.isEmpty());
    if (file) {
        const QByteArray once = Written(*file);
        const std::optional<DataFile> again = Read(once);
        QVERIFY(again);
        QCOMPARE(Written(*again), once);
    }
}

void DataFileTest::TruncatedAnywhere()
{
    const qsizetype header = Realtime.indexOf("10:00:00");
    for (qsizetype length = 0; length < Realtime.size(); ++length) {
        QString reason;
        const std::optional<DataFile> file = Read(Realtime.left(length), &reason);
        QVERIFY2(file || !reason.isEmpty(), qPrintable(QString::number(length)));
        if (length >= header)
            QVERIFY(file);
        if (length == 0)
            QCOMPARE(reason, u"The file ends before its line 1."_qs);
    }
}

void DataFileTest::OddContentsAreBounded_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("error");
    const qsizetype much = 3 * DataFile::LongestLine;
    const QString type = u"This file is a different data type."_qs;
    QTest::newRow("zeros") << QByteArray(much, '\0') << type;
    QTest::newRow("picture") << QByteArray("\x89PNG\r\n\x1a\n\0\0\0\rIHDR", 16) << type;
    QTest::newRow("header without an end")
        << WithLine(2, QByteArray(much, '1')) << u"Line 2 of the file is too long."_qs;
    QTest::newRow("data without an end")
        << Realtime + QByteArray(much, 'x') << u"Line 12 of the file is too long."_qs;
    QTest::newRow("many fields") << Realtime + QByteArray("1,").repeated(much) + "\r\n" << QString();
    QTest::newRow("many fields in the header")
        << WithLine(3, "00,00,00,05" + QByteArray(",").repeated(much)) << QString();
    QTest::newRow("line as long as may be")
        << Realtime + "x," + QByteArray(DataFile::LongestLine - 2, '1') + "\n"
        << QString();
}

void DataFileTest::OddContentsAreBounded()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QString, error);
    QString reason;
    const std::optional<DataFile> file = Read(bytes, &reason);
    QCOMPARE(reason, error);
    QCOMPARE(file.has_value(), error.isEmpty());
    if (file)
        QVERIFY(file->rows.Count() >= 3);
}

void DataFileTest::DurationsAreValidated_data()
{
    QTest::addColumn<QStringList>("given");
    QTest::addColumn<QStringList>("normal"); // empty: not valid
    QTest::newRow("two digits") << QStringList{u"1"_qs, u"2"_qs, u"03"_qs, u"59"_qs}
                                << QStringList{u"01"_qs, u"02"_qs, u"03"_qs, u"59"_qs};
    QTest::newRow("longest") << QStringList{u"99"_qs, u"23"_qs, u"59"_qs, u"59"_qs}
                             << QStringList{u"99"_qs, u"23"_qs, u"59"_qs, u"59"_qs};
    QTest::newRow("nothing") << QStringList{u"0"_qs, u"0"_qs, u"0"_qs, u"0"_qs} << QStringList();
    QTest::newRow("no number") << QStringList{u"0"_qs, u"0"_qs, u"0"_qs, u"a"_qs} << QStringList();
    QTest::newRow("beyond 16 bits") << QStringList{u"0"_qs, u"0"_qs, u"0"_qs, u"65537"_qs} << QStringList();
}

void DataFileTest::DurationsAreValidated()
{
    QFETCH(QStringList, given);
    QFETCH(QStringList, normal);
    const Duration before{given[0], given[1], given[2], given[3]};
    Duration duration = before;
    QCOMPARE(ValidateDuration(&duration, false), !normal.isEmpty());
    QCOMPARE(duration, before);
    QCOMPARE(ValidateDuration(&duration, true), !normal.isEmpty());
    const Duration after = normal.isEmpty() ? before : Duration{normal[0], normal[1], normal[2], normal[3]};
    QCOMPARE(duration, after);
}

void DataFileTest::SetsKeepEverything_data()
{
    QTest::addColumn<int>("kind");
    QTest::newRow("MEMORY-mode") << int(KindMemory);
    QTest::newRow("real-time") << int(KindRealtime);
    QTest::newRow("SAVE-mode") << int(KindSave);
}

void DataFileTest::SetsKeepEverything()
{
    QFETCH(int, kind);
    FileRig rig;
    const std::shared_ptr<DataSet> set = rig.Set();
    set->OpenNew(kind);
    for (const char *const reading : {"1.5", "+OL", "x\xb9", "-3", "2"}) {
        QVERIFY(set->AddGridrow());
        set->AddData(u"10:00:00"_qs, QString::fromLatin1(reading), u"VDC"_qs, u"1"_qs, u"mA"_qs);
    }
    if (kind == KindRealtime) {
        set->SetInterval({u"00"_qs, u"01"_qs, u"00"_qs, u"00"_qs});
        set->SetPeriod(false, {u"07"_qs, u"00"_qs, u"00"_qs, u"00"_qs});
    }
    set->SetGraphcount(3);
    set->SetAxisX(false, 5, 7);
    set->SetAxisX(true, 1, 1); // the divisions stay behind
    set->SetAxisY(false, u"-1.5"_qs, u"1e-05"_qs, 4, 2);
    set->SetShape({4000, 3000, WindowShape::Maximised});
    const QString name = rig.folder.filePath(u"first.CSV"_qs);
    QVERIFY2(set->SaveFile(name), qPrintable(rig.state.ErrorMessage));
    QVERIFY(set->Saved());
    QCOMPARE(set->Caption(), name);
    QCOMPARE(set->GetFilename(), name);

    const std::shared_ptr<DataSet> opened = rig.Set();
    QVERIFY2(opened->OpenFile(name), qPrintable(rig.state.ErrorMessage));
    QVERIFY(opened->Saved());
    QCOMPARE(opened->Caption(), name);
    QCOMPARE(opened->Kind(), set->Kind());
    QCOMPARE(opened->GetDatacount(), kind == KindSave ? 6 : 5); // its spare row becomes a sample
    QCOMPARE(opened->Table().TableRows(), 6);
    QCOMPARE(opened->Table().Cell(3, 2), QString::fromLatin1("x\xb9"));
    QCOMPARE(opened->UnreadableCount(), 1);
    QCOMPARE(opened->PanelText(Panel::Max), set->GetDispmax(true));
    QCOMPARE(opened->PanelText(Panel::Interval), set->PanelText(Panel::Interval));
    QCOMPARE(opened->PanelText(Panel::Period), set->PanelText(Panel::Period));
    QCOMPARE(opened->GetPeriodcount(), set->GetPeriodcount());
    QCOMPARE(opened->GetAxisX(), set->GetAxisX());
    QCOMPARE(opened->GetAxisY(), set->GetAxisY());
    QCOMPARE(opened->GetGraphcount(), u"3"_qs);
    QCOMPARE(opened->Scroll().maximum, opened->GetDatacount() - 3);
    QCOMPARE(opened->Shape().width, 4000);
    QCOMPARE(opened->Shape().state, WindowShape::Maximised);

    const QString second = rig.folder.filePath(u"second.CSV"_qs);
    QVERIFY(opened->SaveFile(second));
    QCOMPARE(Contents(second), Contents(name));
    QVERIFY(!QFile::exists(rig.shared.WorkPath));

    // New samples go on behind the last one, in the spare row first.
    QVERIFY(opened->AddGridrow());
    opened->AddRealtimedata(u"11:00:00"_qs, u"7"_qs, {}, {}, {}, true);
    QCOMPARE(opened->Table().TableRows(), kind == KindSave ? 7 : 6);
    QCOMPARE(opened->Calculation().maxRow, opened->GetDatacount());
    QVERIFY(!opened->Saved());
}

void DataFileTest::NoiseStaysInItsField()
{
    FileRig rig;
    const std::shared_ptr<DataSet> set = rig.Set();
    set->OpenNew(KindMemory);
    QVERIFY(set->AddGridrow());
    set->AddData(u"No.1"_qs, u"1,5"_qs, u"V\r\nDC"_qs, u"\u03a9,"_qs, QString(QChar(0)));
    const QString name = rig.folder.filePath(u"noise.CSV"_qs);
    QVERIFY(set->SaveFile(name));
    QCOMPARE(Contents(name).mid(Contents(name).indexOf("No.1")),
             QByteArray("No.1,1 5,V  DC,? ,\0\r\n,,,,\r\n", 27));
}

void DataFileTest::FailedReadingLeavesNothing_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("error"); // empty: the system's own words
    QTest::newRow("other type") << u"given.CSV"_qs << u"This file is a different data type."_qs;
    QTest::newRow("absent") << u"absent.CSV"_qs << QString();
    QTest::newRow("folder") << u"."_qs << u"This is not a file."_qs;
    QTest::newRow("device") << u"/dev/zero"_qs << u"This is not a file."_qs;
    QTest::newRow("pipe") << u"pipe"_qs << u"This is not a file."_qs;
    QTest::newRow("work file in the way") << u"blocked"_qs << QString();
}

void DataFileTest::FailedReadingLeavesNothing()
{
    QFETCH(QString, name);
    QFETCH(QString, error);
    FileRig rig;
    QString path = QDir(rig.folder.path()).absoluteFilePath(name);
    rig.Put("3\r\n");
    if (name == u"pipe") {
#ifdef Q_OS_UNIX
        QCOMPARE(::mkfifo(QFile::encodeName(path).constData(), 0600), 0);
#endif
    } else if (name == u"blocked") {
        path = rig.Put(Realtime);
        rig.shared.WorkPath = rig.folder.filePath(u"no such folder/WORK.~~~"_qs);
    }
    const std::shared_ptr<DataSet> set = rig.Set();
    QVERIFY(!set->OpenFile(path));
    QVERIFY(!rig.state.ErrorMessage.isEmpty());
    if (!error.isEmpty())
        QCOMPARE(rig.state.ErrorMessage, error);
    else if (name == u"blocked")
        QVERIFY(rig.state.ErrorMessage.startsWith(rig.shared.WorkPath)); // which the user knows nothing of
    QVERIFY(!QFile::exists(rig.shared.WorkPath));
    QCOMPARE(set->GetDatacount(), 0);
}

void DataFileTest::FailedSavingLeavesTheOldFile_data()
{
    QTest::addColumn<QString>("fault");
    QTest::newRow("disk full") << u"full"_qs;
    QTest::newRow("folder away") << u"folder"_qs;
    QTest::newRow("a folder of that name") << u"name"_qs;
}

void DataFileTest::FailedSavingLeavesTheOldFile()
{
    QFETCH(QString, fault);
    FileRig rig;
    const QString name = rig.Put(Realtime);
    const std::shared_ptr<DataSet> set = rig.Set();
    QVERIFY(set->OpenFile(name));
    for (int i = 0; i < 1000; ++i) {
        QVERIFY(set->AddGridrow());
        set->AddData(u"10:00:00"_qs, u"1"_qs, {}, {}, {});
    }
    bool saved = true;
    if (fault == u"full") {
#ifdef Q_OS_UNIX
        const FullDisk disk(8192);
        saved = set->SaveFile(name);
#else
        QSKIP("There is no limit for the size of a file here.");
#endif
    } else if (fault == u"folder") {
        saved = set->SaveFile(rig.folder.filePath(u"gone/other.CSV"_qs));
    } else {
        QVERIFY(QDir(rig.folder.path()).mkdir(u"dir.CSV"_qs));
        saved = set->SaveFile(rig.folder.filePath(u"dir.CSV"_qs));
    }
    QVERIFY(!saved);
    QVERIFY(!rig.state.ErrorMessage.isEmpty());
    QVERIFY(!rig.state.ErrorMessage.contains(u"Unknown"));
    QVERIFY(!set->Saved());
    QCOMPARE(set->GetFilename(), name);
    QCOMPARE(Contents(name), Realtime);
    const QStringList left = QDir(rig.folder.path()).entryList(QDir::Files | QDir::Hidden);
    QCOMPARE(left, QStringList{u"given.CSV"_qs}); // neither the work file nor a half-written one
}

/// Where only the last step finds no room.
void DataFileTest::FullDiskLeavesTheOldFile()
{
#ifdef Q_OS_UNIX
    FileRig rig;
    const QString name = rig.Put(Realtime);
    const QByteArray bytes(20000, 'x');
    const QString large = rig.folder.filePath(u"large"_qs);
    QString error;
    QVERIFY(ReplaceFile(bytes, large, &error));
    QCOMPARE(Contents(large), bytes);
    for (const rlim_t room : {0, 5000}) {
        const FullDisk disk(room);
        for (const bool fromFile : {false, true}) {
            error.clear();
            QVERIFY(
                !(fromFile ? ReplaceFile(large, name, &error) : ReplaceFile(bytes.left(9000), name, &error)));
            QCOMPARE(error, u"File too large"_qs);
            QCOMPARE(Contents(name), Realtime);
        }
    }
    QCOMPARE(QDir(rig.folder.path()).entryList(QDir::Files).size(), 2);
#else
    QSKIP("There is no limit for the size of a file here.");
#endif
}

void DataFileTest::WorkFileIsNoDataFile()
{
    FileRig rig;
    const QString name = rig.Put(Realtime);
    QVERIFY(QFile::rename(name, rig.shared.WorkPath)); // left by a crash: it holds somebody's readings
    const std::shared_ptr<DataSet> set = rig.Set();
    QVERIFY(!set->OpenFile(rig.shared.WorkPath));
    QCOMPARE(rig.state.ErrorMessage, u"This name is the program's own work file."_qs);
    QCOMPARE(Contents(rig.shared.WorkPath), Realtime);
    set->OpenNew(KindMemory);
    set->AddData({}, u"1"_qs, {}, {}, {});
    QVERIFY(!set->SaveFile(rig.shared.WorkPath));
    QVERIFY(!set->Saved());
}

void DataFileTest::MemorySetsKeepTheirInterval()
{
    FileRig rig;
    const QByteArray bytes = "0\r\n9600,5400,0\r\n00,00,00,10\r\nTrue,,,,\r\n20\r\nTrue,1,1\r\n"
                             "True,0,10,1,1\r\nNo.1,1,VDC,,\r\n,,,,\r\n";
    const QString name = rig.Put(bytes);
    const std::shared_ptr<DataSet> set = rig.Set();
    QVERIFY(set->OpenFile(name));
    QCOMPARE(set->PanelText(Panel::Interval), u"10s"_qs);
    QVERIFY(set->SaveFile(name));
    QCOMPARE(Contents(name), bytes);
    QByteArray without = bytes;
    const std::shared_ptr<DataSet> other = rig.Set();
    QVERIFY(other->OpenFile(rig.Put(without.replace("00,10", "00,"))));
    QCOMPARE(other->PanelText(Panel::Interval), QString());
}

QTEST_GUILESS_MAIN(DataFileTest)
#include "datafile_test.moc"
