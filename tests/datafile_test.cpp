#include "document/dataset.h"
#include "document/journal.h"
#include "platform/filenames.h"
#include "platform/files.h"
#include "platform/replacefile.h"
#include "testing/datafiles.h"
#include "testing/files.h"
#include "testing/rows.h"
#include "testing/wait.h"

#include <QDir>
#include <QTemporaryDir>

#include <cerrno>

#ifdef Q_OS_UNIX
#include <sys/stat.h>
#endif

using namespace px40;

namespace {

const QByteArray Realtime =
    "2\r\n9600,5400,0\r\n00,00,00,05\r\nTrue,,,,\r\n20\r\nTrue,1,1\r\nTrue,0,10,1,1\r\n"
    "10:00:00,1.0023,,,\r\n10:00:05,1.0031,,,\r\n10:00:10,+OL,,,\r\n,,,,\r\n";

/// Whether what is read from then on is written as it was.
bool StaysAsWritten(const DataFile &file)
{
    const QByteArray once = Written(file);
    const Result<DataFile> again = Read(once);
    return again && Written(*again) == once;
}

/// The example with one of its lines (from 1) replaced.
QByteArray WithLine(int number, const QByteArray &line)
{
    QList<QByteArray> lines = Realtime.split('\n');
    lines[number - 1] = line + '\r';
    return lines.join('\n');
}

/// Data sets that share a work file in a folder of their own.
struct FileRig
{
    FileRig() { shared.WorkPath = folder.filePath(u"WORK.~~~"_qs); }

    QString Put(const QByteArray &bytes)
    {
        const QString name = folder.filePath(u"given.CSV"_qs);
        Require(px40::Put(name, bytes), u"The file cannot be written."_qs);
        return name;
    }

    std::shared_ptr<DataSet> Set() { return std::make_shared<DataSet>(shared); }

    /// What lies in the folder, hidden files as well.
    QStringList Files() const { return QDir(folder.path()).entryList(QDir::Files | QDir::Hidden); }

    QTemporaryDir folder;
    DocumentShared shared;
};

/// Why it failed; empty where it did not.
QString Why(const Result<> &result)
{
    return result ? QString() : result.error().text;
}

/// The work file; whether there is a folder for temporary files; the end of what is said.
using WorkPlace = std::tuple<QString, bool, QString>;
/// Where it is saved, how many rows, how large files may become, and why that fails.
using Target = std::tuple<QString, int, quint64, QString>;
using Held = std::tuple<int, int, int>; // the error, how often it comes, and how often it is tried

} // namespace

/// What a data file may hold, and data sets on the disk: through the work file, and what is left when
/// something fails.
class DataFileTest : public QObject
{
    Q_OBJECT

  private Q_SLOTS:
    void ReadsTheExample()
    {
        for (const bool lineFeedsAlone : {false, true}) {
            QByteArray bytes = Realtime;
            if (lineFeedsAlone)
                bytes.replace("\r\n", "\n");
            const Result<DataFile> file = Read(bytes);
            QVERIFY(file);
            QCOMPARE(file->readings.statistics.validCount, 2);
            QCOMPARE(file->readings.statistics.maxRow, 2);
            QVERIFY(!file->readings.series.At(3).HasReading());
            QCOMPARE(file->readings.series.At(3).maximum, 1.0031F);
            QCOMPARE(file->readings.series.At(2).maximum, 1.0023F); // as it was before that sample
            QCOMPARE(Written(*file), Realtime);
        }
    }

    void WritesWhatItRead()
    {
        const QByteArray rest = "\r\n100,200,2\r\n,,,%\r\nTrue,,,,\r\n32767\r\nFalse,3,2\r\n"
                                "False,-60000,60000,5,2\r\nNo.1,1.5,VDC,2,mA\r\nNo.2,-----,,,\r\n,,,,\r\n";
        for (const QByteArray &bytes :
             {"0" + QByteArray(rest).replace('%', "10"), // with its interval
              "4" + QByteArray(rest).replace('%', ""), WithLine(4, "False,99,23,59,59"),
              WithLine(8, "10:00:00,1.0023,\xb0"
                          "C,\xb5\xff,\x80 x ")}) {
            const Result<DataFile> file = Read(bytes);
            QVERIFY2(file, bytes.constData());
            QCOMPARE(Written(*file), bytes);
        }
    }

    void EmptyLinesAreRowsButNoSamples()
    {
        const QByteArray rows = "a,1,,,\r\n\r\nlost,,x,,\r\nb,2,,,\r\n";
        for (const char *const kind : {"0", "2", "4"}) {
            const Result<DataFile> file = Read(WithLine(1, kind).chopped(4 + 2) + rows);
            QVERIFY(file);
            const bool samples = *kind == '4';
            QCOMPARE(file->rows.Count(), samples ? 7 : 5);
            QCOMPARE(file->readings.statistics.maxRow, samples ? 7 : 5);
            QVERIFY(Written(*file).endsWith(samples ? "b,2,,,\r\n,,,,\r\n" : "b,2,,,\r\n,,,,\r\n,,,,\r\n"));
            QVERIFY(StaysAsWritten(*file)); // also as samples that are empty
        }
    }

    void MissingFieldsBeginAgain()
    {
        const Result<DataFile> file = Read(Realtime + "A\r\n1,2\r\n1,2,3,4,5,6,7");
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

    void HeaderIsChecked()
    {
        const QString type = u"This file is a different data type."_qs;
        // A line, texts for it, and the error; none where they are accepted.
        const std::tuple<int, QByteArrayList, QString> rows[] = {
            {1, {"1", "3", "", " 2", "02", "9", "PNG"}, type},
            {2,
             {"32768,1,0"},
             u"Line 2 of the file: \"32768\" is not a whole number from -32768 to 32767."_qs},
            {2, {"1,,0"}, u"Line 2 of the file: \"\" is not a whole number from -32768 to 32767."_qs},
            {2, {"0,-5,7"}, {}},
            {3,
             {"00,00,00,00", "100,0,0,0", "0,24,0,0", "0,0,60,0", "0,0,0,60", "a,0,0,1", ",,,5", "-1,0,0,5",
              "0,0,0,1.5"},
             type},
            {3, {"99,23,59,59", "5"}, {}}, // which is read as 5,5,5,5
            {4, {"False,0,0,0,0", "False,,,,"}, type},
            {4, {"Maybe,0,0,1,0"}, u"Line 4 of the file: \"Maybe\" is neither True nor False."_qs},
            {4, {"0,0,0,1,0", "-1,x,y,z,"}, {}},
            {5, {"1", "32768", "", "x", "2.5", "-20"}, type},
            {5, {"2", "32767", " 20 ", "2e1"}, {}},
            {6, {"True,0,1", "True,1,32768", "Maybe,0,1", "False,1"}, type},
            {6, {"Maybe,1,1"}, u"Line 6 of the file: \"Maybe\" is neither True nor False."_qs},
            {6, {"TRUE,32767,1"}, {}},
            {7,
             {"True,-60000.5,10,1,1", "True,0,60001,1,1", "False,0,10,0,1", "False,0,10,1,32768",
              "False,a,10,1,1", "False,nan,inf,1,1"},
             type},
            {7,
             {"False,-60000,60000,32767,32767", "False,10,0,1,1"},
             {}}, // the limits' order is the graph's concern
        };
        for (const auto &[line, texts, error] : rows) {
            for (const QByteArray &text : texts) {
                const Result<DataFile> file = Read(WithLine(line, text));
                const QString reason = file ? QString() : file.error().text;
                QVERIFY2(reason == error, (text + ": " + reason.toUtf8()).constData());
                QVERIFY2(file.has_value() == error.isEmpty(), text.constData());
                if (file)
                    QVERIFY2(StaysAsWritten(*file), text.constData());
            }
        }
    }

    void TruncatedAnywhere()
    {
        const qsizetype header = Realtime.indexOf("10:00:00");
        for (qsizetype length = 0; length < Realtime.size(); ++length) {
            const Result<DataFile> file = Read(Realtime.left(length));
            QVERIFY2(file || !file.error().text.isEmpty(), qPrintable(QString::number(length)));
            QVERIFY(file || length < header);
        }
        QCOMPARE(Read({}).error().text, u"The file ends before its line 1."_qs);
    }

    void OddContentsAreBounded()
    {
        const qsizetype much = 3 * DataFile::LongestLine;
        const QString type = u"This file is a different data type."_qs;
        const std::pair<QByteArray, QString> rows[] = {
            {QByteArray(much, '\0'), type},
            {QByteArray("\x89PNG\r\n\x1a\n\0\0\0\rIHDR", 16), type},
            {WithLine(2, QByteArray(much, '1')), u"Line 2 of the file is too long."_qs},
            {Realtime + QByteArray(much, 'x'), u"Line 12 of the file is too long."_qs},
            {Realtime + QByteArray("1,").repeated(much) + "\r\n", {}},
            {WithLine(3, "00,00,00,05" + QByteArray(",").repeated(much)), {}},
            {Realtime + "x," + QByteArray(DataFile::LongestLine - 2, '1') + "\n", {}}, // as long as may be
        };
        for (const auto &[bytes, error] : rows) {
            const Result<DataFile> file = Read(bytes);
            QCOMPARE(file ? QString() : file.error().text, error);
            QCOMPARE(file.has_value(), error.isEmpty());
            QVERIFY(!file || file->rows.Count() >= 3);
        }
    }

    void SetsKeepEverything()
    {
        for (const int kind : {KindMemory, KindRealtime, KindSave}) {
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
            QCOMPARE(Why(set->SaveFile(name)), QString());
            QVERIFY(set->Saved());

            const std::shared_ptr<DataSet> opened = rig.Set();
            QCOMPARE(Why(opened->OpenFile(name)), QString());
            QVERIFY(opened->Saved());
            QCOMPARE(opened->GetDatacount(), kind == KindSave ? 6 : 5); // its spare row becomes a sample
            QCOMPARE(opened->Table().TableRows(), 6);
            QCOMPARE(opened->Table().Cell(3, 2), QString::fromLatin1("x\xb9"));
            QCOMPARE(opened->UnreadableCount(), 1);
            QCOMPARE(opened->PanelText(Panel::Max), set->GetDispmax(true));
            QCOMPARE(opened->PanelText(Panel::Interval), set->PanelText(Panel::Interval));
            QCOMPARE(opened->GetPeriodcount(), set->GetPeriodcount());
            QCOMPARE(opened->Graph().Settings(), set->Graph().Settings());
            QCOMPARE(opened->Graph().Scroll().maximum, opened->GetDatacount() - 3);
            QCOMPARE(opened->Shape().state, WindowShape::Maximised);

            const QString second = rig.folder.filePath(u"second.CSV"_qs);
            const bool linked = IsUnix && QFile::link(u"target.CSV"_qs, second); // a link stays one
            QVERIFY(opened->SaveFile(second));
            QCOMPARE(QFileInfo(second).isSymbolicLink(), linked);
            QCOMPARE(Contents(second), Contents(name));
            QVERIFY(!QFile::exists(rig.shared.WorkPath));

            // New samples go on behind the last one, in the spare row first.
            QVERIFY(opened->AddGridrow());
            opened->AddRealtimedata(u"11:00:00"_qs, u"7"_qs, {}, {}, {}, true);
            QCOMPARE(opened->Table().TableRows(), kind == KindSave ? 7 : 6);
            QCOMPARE(opened->Calculation().maxRow, opened->GetDatacount());
            QVERIFY(!opened->Saved());
        }
    }

    void NoiseStaysInItsField()
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

    void FailedReadingLeavesNothing_data()
    {
        const QString noFile = u"This is not a file."_qs;
        AddRows<QString>({{"given.CSV", u"This file is a different data type."_qs},
                          {"absent.CSV", qt_error_string(ENOENT)},
                          {".", noFile}});
#ifdef Q_OS_UNIX
        QTest::newRow("/dev/zero") << noFile;
        QTest::newRow("pipe") << noFile;
#endif
    }

    void FailedReadingLeavesNothing()
    {
        FileRig rig;
        rig.Put("3\r\n");
        const QString path = QDir(rig.folder.path()).absoluteFilePath(QLatin1String(QTest::currentDataTag()));
#ifdef Q_OS_UNIX
        if (path.endsWith(u"pipe"))
            QCOMPARE(::mkfifo(QFile::encodeName(path).constData(), 0600), 0);
#endif
        const std::shared_ptr<DataSet> set = rig.Set();
        QCOMPARE(Why(set->OpenFile(path)), ThisRow<QString>());
        QVERIFY(!QFile::exists(rig.shared.WorkPath));
        QCOMPARE(set->GetDatacount(), 0);
    }

    void WorkFileMayBeElsewhere_data()
    {
        const QString elsewhere = u"the folder for temporary files is used instead."_qs;
        const QString nowhere = u"nor can the folder for temporary files; it goes without."_qs;
        AddRows<WorkPlace>({
            {"as usual", {u"WORK.~~~"_qs, true, QString()}},
            {"as usual, no temporary files", {u"WORK.~~~"_qs, false, QString()}},
            {"no folder", {u"gone/WORK.~~~"_qs, true, elsewhere}},
            {"no folder at all", {u"gone/WORK.~~~"_qs, false, nowhere}},
            {"below a file", {u"given.CSV/WORK"_qs, true, elsewhere}},
            {"a folder", {u"sub"_qs, false, nowhere}},
            {"full disk", {u"full"_qs, true, elsewhere}},
            {"full disk, no temporary files", {u"full"_qs, false, nowhere}},
            {"none", {QString(), true, QString()}},
            {"none, no temporary files", {QString(), false, QString()}},
        });
    }

    void WorkFileMayBeElsewhere()
    {
        const auto [work, temporary, note] = ThisRow<WorkPlace>();
        if (work == u"full")
            PX40_NEEDS_UNIX();
        FileRig rig;
        const QTemporaryDir other;
        const QDir dir(rig.folder.path());
        const char *const variable = IsUnix ? "TMPDIR" : "TMP";
        const auto restore = qScopeGuard([=, before = qgetenv(variable)] { qputenv(variable, before); });
        qputenv(variable, QFile::encodeName(temporary ? other.path() : other.filePath(u"gone"_qs)));
        QVERIFY(dir.mkdir(u"sub"_qs));
        QVERIFY(work != u"full" || QFile::link(u"/dev/full"_qs, dir.filePath(work)));
        rig.shared.WorkPath = work.isEmpty() ? work : dir.filePath(work);
        const QString name = rig.Put(SampleFile("0"));
        const QString saved = dir.filePath(u"saved.CSV"_qs);
        const std::shared_ptr<DataSet> set = rig.Set();
        QCOMPARE(Why(set->OpenFile(name)), QString());
        QCOMPARE(set->PanelText(Panel::Interval), u"05s"_qs); // which is written again
        const QString said = std::exchange(rig.shared.WorkNote, QString());
        QVERIFY2(said.endsWith(note) && said.isEmpty() == note.isEmpty(), qPrintable(said));
        QVERIFY(said.isEmpty() || said.startsWith(rig.shared.WorkPath + u" cannot be written ("_qs));
        QCOMPARE(Why(set->SaveFile(saved)), QString());
        QVERIFY(rig.shared.WorkNote.isEmpty()); // once is enough
        QCOMPARE(Contents(saved), Contents(name));
        // What is wrong with the user's file is not taken for the work file's fault.
        QVERIFY(!rig.Set()->OpenFile(dir.filePath(u"sub"_qs)));
        QVERIFY(!set->SaveFile(dir.filePath(u"gone/saved.CSV"_qs)));
        QVERIFY(QDir(other.path()).isEmpty());
        QVERIFY(work != u"full" || QFile::exists(u"/dev/full"_qs));
    }

    void FailedSavingLeavesTheOldFile_data()
    {
        const QString full = u"File too large"_qs;
        AddRows<Target>({
            {"full disk", {u"given.CSV"_qs, 20'000, 8192, full}},
            {"full at the last step", {u"given.CSV"_qs, 1000, 8192, full}}, // until which they wait in memory
            {"no room at all", {u"given.CSV"_qs, 1000, 0, full}},
            {"no folder", {u"gone/other.CSV"_qs, 1, NoLimit, qt_error_string(IsUnix ? ENOENT : 3)}},
            {"a folder", {u"dir.CSV"_qs, 1, NoLimit, u"Filename refers to a directory"_qs}},
        });
    }

    void FailedSavingLeavesTheOldFile()
    {
        const auto [target, rows, room, error] = ThisRow<Target>();
        if (room != NoLimit && !IsUnix)
            QSKIP("Nothing makes a disk full here.");
        FileRig rig;
        const QString name = rig.Put(SampleFile());
        QVERIFY(QDir(rig.folder.path()).mkdir(u"dir.CSV"_qs));
        const std::shared_ptr<DataSet> set = rig.Set();
        QCOMPARE(Why(set->OpenFile(name)), QString());
        for (int i = 0; i < rows; ++i) {
            QVERIFY(set->AddGridrow());
            set->AddData(u"10:00:00"_qs, u"1"_qs, {}, {}, {});
        }
        const auto disk = FullDisk(room);
        QCOMPARE(Why(set->SaveFile(rig.folder.filePath(target))), error);
        QVERIFY(!set->Saved());
        QCOMPARE(set->GetFilename(), name);
        QCOMPARE(Contents(name), SampleFile());
        QCOMPARE(rig.Files(), QStringList{u"given.CSV"_qs}); // neither the work file nor a half-written one
    }

    void HeldFilesAreTriedAgain_data()
    {
        constexpr int SharingViolation = 32;
        constexpr int IsHeldElsewhere = IsUnix ? EBUSY : SharingViolation;
        AddRows<Held>({
            {"free", {0, 0, 1}},
            {"held for a moment", {IsHeldElsewhere, 3, 4}},
            {"held for ever", {IsHeldElsewhere, 1000, 10}},
            {"forbidden", {IsUnix ? EACCES : 19, 1000, 1}}, // Windows: the disk is protected
        });
    }

    void HeldFilesAreTriedAgain()
    {
        const auto [error, failures, tries] = ThisRow<Held>();
        FileRig rig;
        const QString name = rig.Put(SampleFile());
        int tried = 0;
        int pauses = 0;
        Renaming renaming = Renaming::OfTheSystem();
        renaming.pause = [&pauses](int) { ++pauses; };
        renaming.rename = [&tried, code = error, most = failures](const QString &from, const QString &to,
                                                                  bool mayReplace) {
            return ++tried > most ? Renaming::OfTheSystem().rename(from, to, mayReplace) : code;
        };
        {
            Replacement file(name, renaming);
            QCOMPARE(Why(file.Open()), QString());
            QCOMPARE(Why(WriteBytes(file.File(), "new", 3)), QString());
            QCOMPARE(Why(file.Finish()), QString());
            const QString why = Why(file.TakePlace(true));
            QCOMPARE(why, tried > failures ? QString() : qt_error_string(error));
        }
        QCOMPARE(tried, tries);
        QCOMPARE(pauses, tries - 1);
        QCOMPARE(Contents(name), tried > failures ? QByteArray("new") : SampleFile());
        QCOMPARE(rig.Files().size(), 1);
    }

    /// Of any letters, and longer than Windows' functions take by themselves.
    void LongNames()
    {
        const FileRig rig;
        const QString folder = rig.folder.path() + QString(u"/\u6e2c"_qs + QString(48, u'x')).repeated(6);
        QVERIFY(QDir().mkpath(folder));
        const QString name = folder + u"/\u03b1.CSV"_qs;
        QVERIFY(Put(name, "old"));
        for (const char *const content : {"new", "newer"}) {
            QVERIFY(MayBeWritten(name));
            const auto write = [&](QIODevice &to) {
                return WriteBytes(to, content, qint64(qstrlen(content)));
            };
            QCOMPARE(Why(ReplaceContents(name, write)), QString());
            QCOMPARE(Contents(name), QByteArray(content));
        }
        QVERIFY(SameFile(name, folder + u"/../"_qs + QDir(folder).dirName() + u"/\u03b1.CSV"_qs));
        const QString journal = folder + u"/00112233445566778899aabbccddeeff-1.journal"_qs;
        QVERIFY(JournalFile::Create(journal));
        QVERIFY(JournalFile::Open(journal));
    }

    void WorkFileIsNoDataFile()
    {
        FileRig rig;
        const QString name = rig.Put(SampleFile());
        QVERIFY(QFile::rename(name, rig.shared.WorkPath)); // left by a crash: it holds somebody's readings
        const std::shared_ptr<DataSet> set = rig.Set();
        QCOMPARE(Why(set->OpenFile(rig.shared.WorkPath)), u"This name is the program's own work file."_qs);
        QCOMPARE(Contents(rig.shared.WorkPath), SampleFile());
        set->AddData({}, u"1"_qs, {}, {}, {});
        QVERIFY(!set->SaveFile(rig.shared.WorkPath));
        QVERIFY(!set->Saved());
    }
};

QTEST_GUILESS_MAIN(DataFileTest)
#include "datafile_test.moc"
