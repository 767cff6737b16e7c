#include "app/maincommands.h"
#include "document/dataset.h"
#include "resources/strings.h"
#include "testing/files.h"
#include "testing/program.h"

#include <QDir>
#include <QTest>

using namespace px40;

namespace {

struct UnsavedProgram : StartedProgram
{
    QString Unsaved() const { return services.journals.Folder(); }

    /// A real-time set with so many rows more.
    std::shared_ptr<DataSet> Take(int rows, std::shared_ptr<DataSet> set = nullptr)
    {
        if (!set)
            set = window->Commands().AddDataSet(KindRealtime);
        for (int i = 0; i < rows; ++i) {
            Require(set->AddGridrow().has_value(), u"There is no room for a row."_qs);
            const QString value = QString::number(set->GetDatacount() + 1);
            set->AddRealtimedata(u"10:00:00"_qs, value, u"DCmA"_qs, {}, {}, true);
        }
        return set;
    }

    /// The files of journals, when the disk has everything.
    QStringList Files()
    {
        Require(services.journals.WaitForDisk(5000), u"The journals are not written."_qs);
        return QDir(Unsaved()).entryList(QDir::Files, QDir::Name);
    }
};

/// Starts where another program was killed: on a copy of what the disk had then. `damagedAt`: a byte of the
/// -wal that is another one by now, as a share of its size.
struct NextProgram : ScriptedProgram
{
    explicit NextProgram(UnsavedProgram &killed, double damagedAt = -1)
    {
        const QString unsaved = services.journals.Folder();
        QDir().mkpath(unsaved);
        const QStringList files = killed.Files();
        for (const QString &file : files)
            QFile::copy(killed.Unsaved() + u'/' + file, unsaved + u'/' + file);
        for (const QString &file : files.filter(u"-wal"_qs)) {
            QByteArray bytes = Contents(unsaved + u'/' + file);
            const auto at = static_cast<qsizetype>(damagedAt * static_cast<double>(bytes.size()));
            if (at >= 0)
                bytes[at] = static_cast<char>(bytes.at(at) ^ 1);
            Require(Put(unsaved + u'/' + file, bytes), u"A journal cannot be damaged."_qs);
        }
        StartUp();
    }

    QString Title(int index) const { return DataWindows().at(index)->windowTitle(); }
};

} // namespace

/// What comes back after a program that ended with unsaved rows, and what does not.
class RecoveryTest : public QObject
{
    Q_OBJECT

  private Q_SLOTS:
    void WhatIsUnsavedComesBack()
    {
        UnsavedProgram killed;
        killed.StartDownload();
        QVERIFY(killed.NoJobLeft());
        killed.services.shared.MemoryNumbers = false;
        const auto run = killed.Take(3);
        run->SetPeriod(false, {u"00"_qs, u"01"_qs, u"00"_qs, u"00"_qs});
        run->SetAxisY(false, u"-5"_qs, u"5"_qs, 2, 3);
        killed.services.simulated = true;
        const auto simulated = killed.Take(1);
        killed.window->Commands().AddDataSet(KindRealtime); // holds nothing
        QCOMPARE(killed.DataWindows().size(), 4);

        NextProgram next(killed);
        QCOMPARE(next.DataWindows().size(), 3);
        QCOMPARE(next.Title(0), u"1New (recovered)[*]"_qs);
        QCOMPARE(next.Title(2), u"3New (simulated) (recovered)[*]"_qs);
        const auto readings = next.DataWindows().at(0)->Data();
        const auto again = next.DataWindows().at(1)->Data();
        QCOMPARE(readings->GetDatacount(), 50);
        QCOMPARE(readings->Table().Heading(1), Text(Str::HeadingNumber));
        QCOMPARE(again->Table().Heading(1), Text(Str::HeadingTime));
        QCOMPARE(again->PanelText(Panel::Period), run->PanelText(Panel::Period));
        QVERIFY(again->Graph().Settings() == run->Graph().Settings());
        QCOMPARE(again->GetDispmax(true), run->GetDispmax(true));
        QCOMPARE(again->GetDispavg(), run->GetDispavg());
        for (const auto &set : {readings, again})
            QVERIFY(!set->Saved() && set->Protected());
        QVERIFY2(next.Message().startsWith(u"Recovered: 1New of ") &&
                     next.Message().contains(u"50 rows; 2New of "),
                 qPrintable(next.Message()));
        // The next new one is not another "2New".
        QCOMPARE(next.window->Commands().AddDataSet(KindRealtime)->Caption(), u"4New"_qs);
    }

    void JournalGoesWhenItIsSavedOrNotWanted()
    {
        UnsavedProgram program;
        const QString file = program.folder.filePath(u"run.CSV"_qs);
        const auto set = program.Take(3);
        QCOMPARE(program.Files().filter(u".journal"_qs).size(), 2); // and its -wal
        QVERIFY(set->SaveFile(file).has_value());
        QVERIFY(program.Files().isEmpty());

        // Taken up again by one more row; the user cancels, and then wants no more of it.
        program.Take(1, set);
        QVERIFY(!program.Files().isEmpty());
        for (const Answer answer : {Answer::Cancel, Answer::No}) {
            program.prompts.answers = {answer};
            program.DataWindows().constFirst()->close();
            QVERIFY(program.NoJobLeft());
            QCOMPARE(program.Files().isEmpty(), answer == Answer::No);
        }
    }

    void SaveDuringARunIsMarked()
    {
        UnsavedProgram killed;
        const QString file = killed.folder.filePath(u"run.CSV"_qs);
        const auto set = killed.Take(3);
        set->SetRunning(true);
        QVERIFY(set->SaveFile(file).has_value());
        QVERIFY(!killed.Files().isEmpty());
        {
            const NextProgram next(killed); // everything is in the file
            QVERIFY(next.DataWindows().isEmpty());
            QVERIFY(QDir(next.services.journals.Folder()).isEmpty());
        }
        killed.Take(2, set);
        {
            const NextProgram next(killed);
            const auto again = next.DataWindows().constFirst()->Data();
            QCOMPARE(again->GetDatacount(), 5);
            QCOMPARE(again->GetFilename(), file);
            QVERIFY(again->SaveFile(file).has_value());
            QVERIFY(!next.Title(0).contains(u"recovered"));
        }
        set->SetRunning(false);
        QVERIFY(!killed.Files().isEmpty());
        QVERIFY(set->SaveFile(file).has_value());
        QVERIFY(killed.Files().isEmpty());
    }

    /// What SQLite takes for the end of its -wal, because a loss of power ends it like that.
    void DamageBeforeTheEndIsTold()
    {
        UnsavedProgram killed;
        const auto set = killed.Take(1);
        for (int row = 2; row <= 20; ++row) {
            QVERIFY(!killed.Files().isEmpty()); // each is on the disk by itself
            killed.Take(1, set);
        }
        NextProgram whole(killed);
        QVERIFY(!whole.Message().contains(u"damaged"));
        NextProgram cut(killed, 0.7);
        QVERIFY(cut.Message().contains(u"are damaged: what is right of them is shown"));
        const int rows = cut.DataWindows().constFirst()->Data()->GetDatacount();
        QVERIFY(rows > 5 && rows < 20);
        const NextProgram headless(killed, 0); // not even its beginning can be read
        QVERIFY(headless.DataWindows().isEmpty());
        QVERIFY(headless.Message().contains(u"cannot be read (its -wal is damaged)"));
        QCOMPARE(QDir(headless.services.journals.Folder()).entryList(QDir::Files).size(), 2);
    }

    void RecoveredSetGoesOnInItsJournal()
    {
        UnsavedProgram killed;
        killed.Take(3);
        NextProgram next(killed);
        const auto set = next.DataWindows().constFirst()->Data();
        killed.Take(1, set);
        QVERIFY(next.services.journals.WaitForDisk(5000));
        const QDir unsaved(next.services.journals.Folder());
        QCOMPARE(unsaved.entryList({u"*.journal"_qs}).size(), 1);
        set->MarkSaved();
        QVERIFY(next.services.journals.WaitForDisk(5000));
        QVERIFY(unsaved.isEmpty());
    }

    void DiskTroubleIsToldAndEnds()
    {
        UnsavedProgram program;
        QVERIFY(Put(program.Unsaved(), "in its place"));
        const auto set = program.Take(3);
        const QString notProtected = Text(Str::NotProtected);
        QTRY_VERIFY(program.window->windowTitle().contains(notProtected));
        QVERIFY(program.DataWindows().constFirst()->windowTitle().contains(notProtected));
        QVERIFY(program.Message().startsWith(u"The rows of 1New are not on the disk (unable to open"));
        QVERIFY(QFile::remove(program.Unsaved()));
        QTRY_VERIFY(set->Protected());
        QVERIFY(!program.window->windowTitle().contains(notProtected));
        QVERIFY(!program.DataWindows().constFirst()->windowTitle().contains(notProtected));
        const NextProgram next(program);
        QCOMPARE(next.DataWindows().constFirst()->Data()->GetDatacount(), 3);
    }

    void SystemEndsTheProgramDuringARun()
    {
        UnsavedProgram program;
        const auto set = program.Take(3);
        program.prompts.answers = {Answer::No}; // not to be forwarded
        program.Action("Start")->trigger();
        QTRY_VERIFY(program.services.state.RealtimeRun);
        const qsizetype questions = program.prompts.questions.size();
        program.window->Commands().LeaveNow();
        QVERIFY(!program.services.comm.IsOpen());
        QTRY_VERIFY(program.hasLeft);
        QCOMPARE(program.prompts.questions.size(), questions);
        QVERIFY(!set->Saved());
        const NextProgram next(program);
        QVERIFY(next.DataWindows().constFirst()->Data()->GetDatacount() >= 3);
    }
};

QTEST_MAIN(RecoveryTest)
#include "recovery_test.moc"
