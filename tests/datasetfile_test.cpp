#include "document/dataset.h"
#include "link/linkstate.h"
#include "platform/files.h"
#include "tests/support.h"

#include <QDir>
#include <QScopeGuard>

#ifdef Q_OS_UNIX
#include <csignal>
#include <sys/resource.h>
#include <sys/stat.h>
#endif

using namespace px40;

namespace {

#ifdef Q_OS_UNIX
/// While what it returns lives no file grows beyond that size, as on a disk that is full.
[[nodiscard]] auto FullDisk(rlim_t bytes)
{
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    rlimit before{};
    ::getrlimit(RLIMIT_FSIZE, &before);
    const rlimit little{bytes, before.rlim_max};
    ::setrlimit(RLIMIT_FSIZE, &little);
    return qScopeGuard([before, handler] {
        ::setrlimit(RLIMIT_FSIZE, &before);
        std::signal(SIGXFSZ, handler);
    });
}
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

/// Data sets on the disk: through the work file, and what is left when something fails.
class DataSetFileTest : public QObject
{
    Q_OBJECT

  private Q_SLOTS:
    void SetsKeepEverything();
    void NoiseStaysInItsField();
    void FailedReadingLeavesNothing();
    void FailedSavingLeavesTheOldFile();
    void FullDiskLeavesTheOldFile();
    void WorkFileIsNoDataFile();
    void MemorySetsKeepTheirInterval();
};

void DataSetFileTest::SetsKeepEverything()
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
        QVERIFY2(set->SaveFile(name), qPrintable(rig.state.ErrorMessage));
        QVERIFY(set->Saved());

        const std::shared_ptr<DataSet> opened = rig.Set();
        QVERIFY2(opened->OpenFile(name), qPrintable(rig.state.ErrorMessage));
        QVERIFY(opened->Saved());
        QCOMPARE(opened->GetDatacount(), kind == KindSave ? 6 : 5); // its spare row becomes a sample
        QCOMPARE(opened->Table().TableRows(), 6);
        QCOMPARE(opened->Table().Cell(3, 2), QString::fromLatin1("x\xb9"));
        QCOMPARE(opened->UnreadableCount(), 1);
        QCOMPARE(opened->PanelText(Panel::Max), set->GetDispmax(true));
        QCOMPARE(opened->PanelText(Panel::Interval), set->PanelText(Panel::Interval));
        QCOMPARE(opened->GetPeriodcount(), set->GetPeriodcount());
        QCOMPARE(opened->GetAxisX(), set->GetAxisX());
        QCOMPARE(opened->GetAxisY(), set->GetAxisY());
        QCOMPARE(opened->Scroll().maximum, opened->GetDatacount() - 3);
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

void DataSetFileTest::NoiseStaysInItsField()
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

void DataSetFileTest::FailedReadingLeavesNothing()
{
    // A name in the folder; the error, in the system's own words where it is empty.
    const std::pair<QString, QString> rows[] = {
        {u"given.CSV"_qs, u"This file is a different data type."_qs},
        {u"absent.CSV"_qs, {}},
        {u"."_qs, u"This is not a file."_qs},
        {u"/dev/zero"_qs, u"This is not a file."_qs},
        {u"pipe"_qs, u"This is not a file."_qs},
    };
    for (const auto &[name, error] : rows) {
        FileRig rig;
        rig.Put("3\r\n");
        const QString path = QDir(rig.folder.path()).absoluteFilePath(name);
#ifdef Q_OS_UNIX
        if (name == u"pipe")
            QCOMPARE(::mkfifo(QFile::encodeName(path).constData(), 0600), 0);
#endif
        const std::shared_ptr<DataSet> set = rig.Set();
        QVERIFY(!set->OpenFile(path));
        QVERIFY(error.isEmpty() ? !rig.state.ErrorMessage.isEmpty() : rig.state.ErrorMessage == error);
        QVERIFY(!QFile::exists(rig.shared.WorkPath));
        QCOMPARE(set->GetDatacount(), 0);
    }
    // The user knows nothing of the work file that is in the way.
    FileRig rig;
    rig.shared.WorkPath = rig.folder.filePath(u"no such folder/WORK.~~~"_qs);
    QVERIFY(!rig.Set()->OpenFile(rig.Put(SampleFile())));
    QVERIFY(rig.state.ErrorMessage.startsWith(rig.shared.WorkPath));
}

void DataSetFileTest::FailedSavingLeavesTheOldFile()
{
    FileRig rig;
    const QString name = rig.Put(SampleFile());
    QVERIFY(QDir(rig.folder.path()).mkdir(u"dir.CSV"_qs));
    for (const QString &target : {u"given.CSV"_qs, u"gone/other.CSV"_qs, u"dir.CSV"_qs}) {
        const std::shared_ptr<DataSet> set = rig.Set();
        QVERIFY(set->OpenFile(name));
        for (int i = 0; i < 1000; ++i) {
            QVERIFY(set->AddGridrow());
            set->AddData(u"10:00:00"_qs, u"1"_qs, {}, {}, {});
        }
        rig.state.ErrorMessage.clear();
        bool saved = false;
        if (target != u"given.CSV") {
            saved = set->SaveFile(rig.folder.filePath(target));
        } else {
#ifdef Q_OS_UNIX
            const auto disk = FullDisk(8192);
            saved = set->SaveFile(name);
#else
            continue; // there is no limit for the size of a file here
#endif
        }
        QVERIFY(!saved);
        QVERIFY(!rig.state.ErrorMessage.isEmpty() && !rig.state.ErrorMessage.contains(u"Unknown"));
        QVERIFY(!set->Saved());
        QCOMPARE(set->GetFilename(), name);
        QCOMPARE(Contents(name), SampleFile());
        const QStringList left = QDir(rig.folder.path()).entryList(QDir::Files | QDir::Hidden);
        QCOMPARE(left, QStringList{u"given.CSV"_qs}); // neither the work file nor a half-written one
    }
}

/// Where only the last step finds no room.
void DataSetFileTest::FullDiskLeavesTheOldFile()
{
#ifdef Q_OS_UNIX
    FileRig rig;
    const QString name = rig.Put(SampleFile());
    const QByteArray bytes(20000, 'x');
    const QString large = rig.folder.filePath(u"large"_qs);
    QString error;
    QVERIFY(ReplaceFile(bytes, large, &error));
    QCOMPARE(Contents(large), bytes);
    for (const rlim_t room : {0, 5000}) {
        const auto disk = FullDisk(room);
        for (const bool fromFile : {false, true}) {
            error.clear();
            QVERIFY(
                !(fromFile ? ReplaceFile(large, name, &error) : ReplaceFile(bytes.left(9000), name, &error)));
            QCOMPARE(error, u"File too large"_qs);
            QCOMPARE(Contents(name), SampleFile());
        }
    }
    QCOMPARE(QDir(rig.folder.path()).entryList(QDir::Files).size(), 2);
#else
    QSKIP("There is no limit for the size of a file here.");
#endif
}

void DataSetFileTest::WorkFileIsNoDataFile()
{
    FileRig rig;
    const QString name = rig.Put(SampleFile());
    QVERIFY(QFile::rename(name, rig.shared.WorkPath)); // left by a crash: it holds somebody's readings
    const std::shared_ptr<DataSet> set = rig.Set();
    QVERIFY(!set->OpenFile(rig.shared.WorkPath));
    QCOMPARE(rig.state.ErrorMessage, u"This name is the program's own work file."_qs);
    QCOMPARE(Contents(rig.shared.WorkPath), SampleFile());
    set->AddData({}, u"1"_qs, {}, {}, {});
    QVERIFY(!set->SaveFile(rig.shared.WorkPath));
    QVERIFY(!set->Saved());
}

void DataSetFileTest::MemorySetsKeepTheirInterval()
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

QTEST_GUILESS_MAIN(DataSetFileTest)
#include "datasetfile_test.moc"
