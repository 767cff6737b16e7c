#include "document/dataset.h"
#include "platform/files.h"
#include "platform/replacefile.h"
#include "testing/files.h"
#include "testing/rows.h"
#include "testing/wait.h"

#include <QDir>
#include <QScopeGuard>
#include <QTemporaryDir>

#include <cerrno>

#include <sys/stat.h>

using namespace px40;

namespace {

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
using Target = std::pair<QString, QString>; // where it is saved, and why that fails
using Held = std::tuple<int, int, int>;     // the error, how often it comes, and how often it is tried

} // namespace

/// Data sets on the disk: through the work file, and what is left when something fails.
class DataSetFileTest : public QObject
{
    Q_OBJECT

  private Q_SLOTS:
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
                          {"absent.CSV", u"No such file or directory"_qs},
                          {".", noFile},
                          {"/dev/zero", noFile},
                          {"pipe", noFile}});
    }

    void FailedReadingLeavesNothing()
    {
        FileRig rig;
        rig.Put("3\r\n");
        const QString path = QDir(rig.folder.path()).absoluteFilePath(QLatin1String(QTest::currentDataTag()));
        if (path.endsWith(u"pipe"))
            QCOMPARE(::mkfifo(QFile::encodeName(path).constData(), 0600), 0);
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
        FileRig rig;
        const QTemporaryDir other;
        const QDir dir(rig.folder.path());
        const auto restore = qScopeGuard([before = qgetenv("TMPDIR")] { qputenv("TMPDIR", before); });
        qputenv("TMPDIR", QFile::encodeName(temporary ? other.path() : other.filePath(u"gone"_qs)));
        QVERIFY(dir.mkdir(u"sub"_qs) && QFile::link(u"/dev/full"_qs, dir.filePath(u"full"_qs)));
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
        QVERIFY(QFile::exists(u"/dev/full"_qs));
    }

    void FailedSavingLeavesTheOldFile_data()
    {
        AddRows<Target>({
            {"full disk", {u"given.CSV"_qs, u"File too large"_qs}},
            {"no folder", {u"gone/other.CSV"_qs, u"No such file or directory"_qs}},
            {"a folder", {u"dir.CSV"_qs, u"Filename refers to a directory"_qs}},
        });
    }

    void FailedSavingLeavesTheOldFile()
    {
        const auto [target, error] = ThisRow<Target>();
        FileRig rig;
        const QString name = rig.Put(SampleFile());
        QVERIFY(QDir(rig.folder.path()).mkdir(u"dir.CSV"_qs));
        const std::shared_ptr<DataSet> set = rig.Set();
        QCOMPARE(Why(set->OpenFile(name)), QString());
        for (int i = 0; i < 1000; ++i) {
            QVERIFY(set->AddGridrow());
            set->AddData(u"10:00:00"_qs, u"1"_qs, {}, {}, {});
        }
        const FullDisk disk(target == u"given.CSV" ? 8192 : RLIM_INFINITY);
        QCOMPARE(Why(set->SaveFile(rig.folder.filePath(target))), error);
        QVERIFY(!set->Saved());
        QCOMPARE(set->GetFilename(), name);
        QCOMPARE(Contents(name), SampleFile());
        QCOMPARE(rig.Files(), QStringList{u"given.CSV"_qs}); // neither the work file nor a half-written one
    }

    /// Where only the last step finds no room.
    void FullDiskLeavesTheOldFile()
    {
        FileRig rig;
        const QString name = rig.Put(SampleFile());
        const QByteArray bytes(9000, 'x');
        const auto write = [&bytes](QIODevice &to) {
            return WriteBytes(to, bytes.constData(), bytes.size());
        };
        for (const rlim_t room : {rlim_t{0}, rlim_t{5000}}) {
            const FullDisk disk(room);
            QCOMPARE(Why(ReplaceFile(name, write)), u"File too large"_qs);
            QCOMPARE(Contents(name), SampleFile());
        }
        QCOMPARE(rig.Files().size(), 1);
    }

    void LinksAndPermissionsStay()
    {
        FileRig rig;
        const QString name = rig.Put(SampleFile());
        const QString link = rig.folder.filePath(u"link.CSV"_qs);
        const QFile::Permissions permissions = QFile::ReadOwner | QFile::WriteOwner | QFile::ReadGroup;
        QVERIFY(QFile::setPermissions(name, permissions) && QFile::link(u"given.CSV"_qs, link));
        const std::shared_ptr<DataSet> set = rig.Set();
        set->OpenNew(KindSave);
        QCOMPARE(Why(set->SaveFile(link)), QString());
        QVERIFY(QFileInfo(link).isSymbolicLink() && Contents(name).startsWith("4\r\n"));
        QCOMPARE(QFile::permissions(name) & ~(QFile::ReadUser | QFile::WriteUser), permissions);
    }

    void HeldFilesAreTriedAgain_data()
    {
        AddRows<Held>({
            {"free", {0, 0, 1}},
            {"held for a moment", {EBUSY, 3, 4}},
            {"held for ever", {EBUSY, 1000, 10}},
            {"forbidden", {EACCES, 1000, 1}},
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

QTEST_GUILESS_MAIN(DataSetFileTest)
#include "datasetfile_test.moc"
