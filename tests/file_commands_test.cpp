#include "app/filecommands.h"
#include "document/dataset.h"
#include "platform/filenames.h"
#include "tests/support.h"

#include <QDir>
#include <QFile>

using namespace px40;

namespace {

const QString ReadOnlyText = QStringLiteral("This file is a read-only file; you cannot save data to it.\r\n"
                                            "Specify a different filename.\r\n");
const QString OpenText = QStringLiteral("This file is already open.\r\nSpecify a different filename.\r\n");

/// The File commands on data sets in a folder of their own.
struct Desk
{
    Desk() { shared.WorkPath = Path(u"work.tmp"_qs); }

    QString Path(const QString &name) const { return folder.filePath(name); }

    std::shared_ptr<DataSet> Make(const QString &name = QString())
    {
        const auto set = std::make_shared<DataSet>(state, shared);
        set->OpenNew(KindMemory);
        set->AddGridrow();
        set->AddData(u"12:34:56"_qs, u"1.5"_qs, u"mV"_qs, QString(), QString());
        if (!name.isEmpty() && !set->SaveFile(Path(name)))
            qFatal("%s", qPrintable(state.ErrorMessage));
        sets << set;
        return set;
    }

    /// A file that nobody may write.
    void Protect(const QString &name)
    {
        QFile file(Path(name));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write("kept");
        file.close();
        QVERIFY(file.setPermissions(QFile::ReadOwner | QFile::ReadGroup | QFile::ReadOther));
    }

    QByteArray Content(const QString &name) const { return Contents(Path(name)); }

    QString Question(const QString &name) const
    {
        return QStringLiteral("save:%1:CSV Files (*.CSV):CSV").arg(name.isEmpty() ? name : Path(name));
    }

    bool Run(QCoro::Task<bool> task)
    {
        const Running<bool> running(std::move(task));
        return running.Finish() && running.Value();
    }

    QTemporaryDir folder;
    LinkState state;
    DocumentShared shared;
    ScriptedPrompts prompts;
    QList<std::shared_ptr<DataSet>> sets;
    QList<bool> busy;
    FileCommands commands{state, prompts, [this] { return sets; }, [this](bool shown) { busy << shown; }};
};

} // namespace

class FileCommandsTest : public QObject
{
    Q_OBJECT

  private Q_SLOTS:
    void SaveAsksOnlyWhenItMust();
    void SaveOfAReadOnlyFileAsksForAnother();
    void SaveAsRefusesUntilANameCanBeUsed();
    void FailedSaveIsToldOnce();
    void SecondSaveDoesNotAskAgain();
    void OpenTellsWhatIsWrong();
    void NamesAreComparedByWhereTheyLead();
};

void FileCommandsTest::SaveAsksOnlyWhenItMust()
{
    Desk desk;
    const auto set = desk.Make();
    QVERIFY(!desk.Run(desk.commands.Save(set))); // cancelled
    QCOMPARE(set->GetFilename(), QString());
    desk.prompts.files = {desk.Path(u"a.CSV"_qs)};
    QVERIFY(desk.Run(desk.commands.Save(set)));
    QCOMPARE(desk.prompts.fileQuestions, QStringList({desk.Question({}), desk.Question({})}));
    QCOMPARE(set->GetFilename(), desk.Path(u"a.CSV"_qs));
    QVERIFY(set->Saved());
    QCOMPARE(desk.busy, QList<bool>({true, false}));

    const QByteArray first = desk.Content(u"a.CSV"_qs);
    set->AddGridrow();
    set->AddData(u"12:34:57"_qs, u"2.5"_qs, u"mV"_qs, QString(), QString());
    QVERIFY(desk.Run(desk.commands.Save(set)));
    QVERIFY(desk.Content(u"a.CSV"_qs) != first);
    QVERIFY(QFile::remove(desk.Path(u"a.CSV"_qs)));
    QVERIFY(desk.Run(desk.commands.Save(set)));
    QVERIFY(QFile::exists(desk.Path(u"a.CSV"_qs)));
    QCOMPARE(desk.prompts.fileQuestions.size(), 2);
    QCOMPARE(desk.prompts.warnings, QStringList());
}

void FileCommandsTest::SaveOfAReadOnlyFileAsksForAnother()
{
    Desk desk;
    const auto set = desk.Make(u"a.CSV"_qs);
    desk.Protect(u"a.CSV"_qs);
    desk.prompts.files = {desk.Path(u"b.CSV"_qs)};
    QVERIFY(desk.Run(desk.commands.Save(set)));
    QCOMPARE(desk.prompts.warnings, QStringList(ReadOnlyText + desk.Path(u"a.CSV"_qs)));
    QCOMPARE(desk.prompts.fileQuestions, QStringList(desk.Question(u"a.CSV"_qs)));
    QCOMPARE(desk.Content(u"a.CSV"_qs), "kept");
    QCOMPARE(set->GetFilename(), desk.Path(u"b.CSV"_qs));
}

void FileCommandsTest::SaveAsRefusesUntilANameCanBeUsed()
{
    Desk desk;
    desk.Make(u"other.CSV"_qs);
    const auto set = desk.Make(u"mine.CSV"_qs);
    const QByteArray other = desk.Content(u"other.CSV"_qs);
    desk.Protect(u"locked.CSV"_qs);
    QVERIFY(QFile::link(desk.Path(u"other.CSV"_qs), desk.Path(u"link.CSV"_qs)));
    desk.prompts.files = {desk.Path(u"link.CSV"_qs), desk.Path(u"locked.CSV"_qs), desk.folder.path(), {}};
    QVERIFY(!desk.Run(desk.commands.SaveAs(set)));
    QCOMPARE(desk.prompts.warnings,
             QStringList({OpenText + desk.Path(u"link.CSV"_qs), ReadOnlyText + desk.Path(u"locked.CSV"_qs),
                          ReadOnlyText + desk.folder.path()}));
    // A name that was refused is proposed again, to be changed.
    for (const auto &[question, name] :
         {std::pair(0, u"mine.CSV"_qs), {1, u"link.CSV"_qs}, {2, u"locked.CSV"_qs}})
        QCOMPARE(desk.prompts.fileQuestions.value(question), desk.Question(name));
    QCOMPARE(desk.prompts.fileQuestions.size(), 4);
    QCOMPARE(desk.Content(u"other.CSV"_qs), other);
    QCOMPARE(desk.Content(u"locked.CSV"_qs), "kept");
    QCOMPARE(set->GetFilename(), desk.Path(u"mine.CSV"_qs));

    // What is its own, or left by a window since closed, is no refusal.
    QVERIFY(QFile::link(desk.Path(u"mine.CSV"_qs), desk.Path(u"own.CSV"_qs)));
    desk.sets.removeFirst();
    for (const QString &name : {u"mine.CSV"_qs, u"own.CSV"_qs, u"other.CSV"_qs}) {
        desk.prompts.files = {desk.Path(name)};
        QVERIFY(desk.Run(desk.commands.SaveAs(set)));
    }
    QCOMPARE(desk.prompts.warnings.size(), 3);
}

void FileCommandsTest::FailedSaveIsToldOnce()
{
    Desk desk;
    const auto set = desk.Make(u"a.CSV"_qs);
    const QByteArray old = desk.Content(u"a.CSV"_qs);
    set->AddGridrow();
    set->AddData(u"12:34:57"_qs, u"2.5"_qs, u"mV"_qs, QString(), QString());
    const QString gone = desk.Path(u"gone/b.CSV"_qs); // its folder went after the dialog had looked
    desk.prompts.files = {gone, desk.Path(u"never asked"_qs)};
    QVERIFY(!desk.Run(desk.commands.SaveAs(set)));
    QCOMPARE(desk.prompts.warnings.size(), 1);
    QCOMPARE(desk.prompts.warnings.first(), desk.state.ErrorMessage + u"\r\n"_qs + gone);
    QVERIFY(!desk.state.ErrorMessage.isEmpty());
    QCOMPARE(desk.prompts.fileQuestions.size(), 1);
    QVERIFY(!set->Saved());
    QCOMPARE(set->GetFilename(), desk.Path(u"a.CSV"_qs));

    desk.shared.WorkPath = gone;
    QVERIFY(!desk.Run(desk.commands.Save(set)));
    QCOMPARE(desk.prompts.warnings.size(), 2);
    QVERIFY(!set->Saved());
    QCOMPARE(desk.Content(u"a.CSV"_qs), old);
}

void FileCommandsTest::SecondSaveDoesNotAskAgain()
{
    Desk desk;
    const auto set = desk.Make();
    desk.prompts.files = {desk.Path(u"a.CSV"_qs), desk.Path(u"b.CSV"_qs)};
    const Running<bool> first(desk.commands.Save(set));
    desk.sets.clear(); // the window may go meanwhile
    QVERIFY(!first.Done());
    QVERIFY(!desk.Run(desk.commands.Save(set)));
    QVERIFY(!desk.Run(desk.commands.SaveAs(set)));
    QVERIFY(first.Finish() && first.Value());
    QCOMPARE(desk.prompts.fileQuestions.size(), 1);
    QVERIFY(desk.Run(desk.commands.SaveAs(set))); // and afterwards it asks again
    QCOMPARE(set->GetFilename(), desk.Path(u"b.CSV"_qs));
}

void FileCommandsTest::OpenTellsWhatIsWrong()
{
    Desk desk;
    desk.Make(u"a.CSV"_qs);
    desk.prompts.files = {desk.Path(u"a.CSV"_qs)};
    const Running<QString> asked(desk.commands.AskOpen());
    QVERIFY(asked.Finish());
    QCOMPARE(asked.Value(), desk.Path(u"a.CSV"_qs));
    QCOMPARE(desk.prompts.fileQuestions, QStringList(u"open:CSV Files (*.CSV)"_qs));

    const auto set = std::make_shared<DataSet>(desk.state, desk.shared);
    QVERIFY(desk.Run(desk.commands.Load(set, asked.Value())));
    QCOMPARE(set->GetDatacount(), 1);
    const QString absent = desk.Path(u"absent.CSV"_qs);
    QVERIFY(!desk.Run(desk.commands.Load(std::make_shared<DataSet>(desk.state, desk.shared), absent)));
    QVERIFY(!desk.state.ErrorMessage.isEmpty());
    QCOMPARE(desk.prompts.warnings, QStringList(desk.state.ErrorMessage + u"\r\n"_qs + absent));
}

void FileCommandsTest::NamesAreComparedByWhereTheyLead()
{
    Desk desk;
    desk.Make(); // without a name
    desk.Make(u"a.CSV"_qs);
    QVERIFY(QDir(desk.folder.path()).mkdir(u"sub"_qs));
    QVERIFY(QFile::link(desk.Path(u"sub"_qs), desk.Path(u"way"_qs)));
    QVERIFY(QFile::link(desk.Path(u"a.CSV"_qs), desk.Path(u"sub/link.CSV"_qs)));
    for (const char *const name : {"a.CSV", "sub/../a.CSV", "sub/link.CSV", "way/link.CSV", "./a.CSV"})
        QVERIFY2(desk.commands.IsFileOpen(desk.Path(QString::fromLatin1(name))), name);
    QVERIFY(desk.commands.IsFileOpen(QDir::current().relativeFilePath(desk.Path(u"a.CSV"_qs))));
    for (const char *const name : {"b.CSV", "sub/a.CSV", "a.CSVX"})
        QVERIFY2(!desk.commands.IsFileOpen(desk.Path(QString::fromLatin1(name))), name);
    QVERIFY(!desk.commands.IsFileOpen(QString()));
    // The same for names under which nothing lies yet.
    QVERIFY(SameFile(desk.Path(u"sub/new.CSV"_qs), desk.Path(u"way/new.CSV"_qs)));
    QVERIFY(SameFile(desk.Path(u"no/../new.CSV"_qs), desk.Path(u"new.CSV"_qs)));
    QVERIFY(!SameFile(desk.Path(u"sub/new.CSV"_qs), desk.Path(u"new.CSV"_qs)));
    QVERIFY(!SameFile(desk.Path(u"a.CSV"_qs), desk.Path(u"new.CSV"_qs)));
}

QTEST_GUILESS_MAIN(FileCommandsTest)

#include "file_commands_test.moc"
