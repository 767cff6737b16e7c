#include "app/filecommands.h"
#include "app/services.h"
#include "document/dataset.h"
#include "link/linkstate.h"
#include "platform/filenames.h"
#include "testing/files.h"
#include "testing/heldclock.h"
#include "testing/prompts.h"
#include "testing/wait.h"
#include "tests/fakeviews.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <tuple>

using namespace px40;

namespace {

/// The File commands on data sets in a folder of their own.
struct Desk : FakeViews
{
    QString Path(const QString &name) const { return folder.filePath(name); }

    std::shared_ptr<DataSet> Make(const QString &name = QString())
    {
        const auto set = std::make_shared<DataSet>(services.shared);
        set->OpenNew(KindMemory);
        static_cast<void>(set->AddGridrow());
        set->AddData(u"12:34:56"_qs, u"1.5"_qs, u"mV"_qs, {}, {});
        const Result<> saved = name.isEmpty() ? Result<>() : set->SaveFile(Path(name));
        if (!saved)
            qFatal("%s", qPrintable(saved.error().text));
        sets << set;
        return set;
    }

    static QString Question(const QString &name) { return u"save:%1:CSV Files (*.CSV)"_qs.arg(name); }

    QTemporaryDir folder;
    ScriptedPrompts prompts;
    HeldClock clock;
    Services services{UserStore::InFile(Path(u"user.ini"_qs)), PathsIn(folder.path()), prompts,
                      Comm::DefaultReplyTimeoutMs, &clock};
    FileCommands commands{services, *this};
};

} // namespace

class FileCommandsTest : public QObject
{
    Q_OBJECT

  private Q_SLOTS:
    void SaveAsksOnlyWhenItMust()
    {
        Desk desk;
        const auto set = desk.Make();
        const QString name = desk.Path(u"a.CSV"_qs);
        const QString gone = desk.Path(u"gone/b.CSV"_qs); // its folder went after the dialog had looked
        desk.prompts.files = {gone, name};
        QVERIFY(!Finish(desk.commands.Save(set))); // told once
        QCOMPARE(desk.prompts.warnings,
                 QStringList(desk.services.state.ErrorMessage + u"\r\n"_qs + QDir::toNativeSeparators(gone) +
                             u"\r\nNothing was saved."_qs));
        QVERIFY(!set->Saved());
        QCOMPARE(set->GetFilename(), QString());
        QVERIFY(Finish(desk.commands.Save(set)));
        QCOMPARE(set->GetFilename(), QDir::toNativeSeparators(name));
        QVERIFY(set->Saved());
        QVERIFY(QFile::remove(name));
        QVERIFY(Finish(desk.commands.Save(set)));
        QVERIFY(QFile::exists(name));
        const QString proposed = Desk::Question(ProposedName(u"1New"_qs, desk.clock, u"CSV"_qs));
        QCOMPARE(desk.prompts.fileQuestions, QStringList({proposed, proposed}));
        QCOMPARE(desk.prompts.warnings.size(), 1);
        if (!IsUnix)
            QSKIP("Nothing makes a disk full here.");
        // A set with a name keeps it. What was saved before is whole when there is no room for the new.
        const QByteArray before = Contents(name);
        const auto disk = FullDisk(10);
        desk.prompts.files = {name};
        QVERIFY(!Finish(desk.commands.Save(set, true)));
        QCOMPARE(desk.prompts.fileQuestions.last(), Desk::Question(name));
        QCOMPARE(desk.prompts.warnings.last(),
                 u"File too large\r\n"_qs + name +
                     u"\r\nNothing was saved; the file that was there is whole."_qs);
        QCOMPARE(Contents(name), before);
    }

    void ProposedNamesAreNames()
    {
        const QString cut = QString(80, u'x');
        const QString wide(80, QChar(0x6e2c));
        const std::pair<QString, QString> rows[] = {
            {u"1New"_qs, u"1New"_qs},
            {u"Loop/7: \"a\\b\" <c>|d?*"_qs, u"Loop 7 a b c d"_qs},
            {u" .. .hidden"_qs, u"hidden"_qs},
            {u"a\tb\u202e\nc"_qs, u"a b c"_qs},
            {u"/"_qs, u"PX40"_qs},
            {QString(), u"PX40"_qs},
            {cut + u'y', cut},
            {wide, wide.left(66)}, // a name may have so many bytes
            {u"aux.1"_qs, u"_aux.1"_qs},
            {u"Com7 .x"_qs, u"_Com7 .x"_qs},
            {u"CONTROL.1"_qs, u"CONTROL.1"_qs},
        };
        HeldClock clock;
        clock.utcMs = QDateTime(QDate(2026, 3, 5), QTime(7, 8, 9)).toMSecsSinceEpoch();
        const QTemporaryDir folder;
        for (const auto &[title, name] : rows) {
            const QString proposed = ProposedName(title, clock, u"CSV"_qs);
            QCOMPARE(proposed, name + u" 2026-03-05 070809.CSV"_qs);
            QVERIFY(Put(folder.filePath(proposed), {}));
        }
    }

    void SavingRefusesUntilANameCanBeUsed()
    {
        PX40_NEEDS_UNIX();
        Desk desk;
        const QString mine = desk.Path(u"mine.CSV"_qs);
        const QString other = desk.Path(u"other.CSV"_qs);
        const QString link = desk.Path(u"link.CSV"_qs);
        const QString own = desk.Path(u"own.CSV"_qs);
        desk.Make(u"other.CSV"_qs);
        const auto set = desk.Make(u"mine.CSV"_qs);
        const QByteArray before = Contents(mine); // and those of the other
        set->AddData(u"12:34:57"_qs, u"2.5"_qs, u"mV"_qs, {}, {});
        QVERIFY(QFile::link(other, link));
        QVERIFY(QFile::link(mine, own));
        QVERIFY(QFile::setPermissions(mine, QFile::ReadOwner));
        desk.prompts.files = {link, own, {}};
        QVERIFY(!Finish(desk.commands.Save(set)));
        const QString readOnly = u"This file is a read-only file; you cannot save data to it.\r\n"
                                 "Specify a different filename.\r\n"_qs;
        const QString open = u"This file is already open.\r\nSpecify a different filename.\r\n"_qs;
        QCOMPARE(desk.prompts.warnings, QStringList({readOnly + mine, open + link, readOnly + own}));
        // A name that was refused is proposed again, to be changed.
        QCOMPARE(desk.prompts.fileQuestions,
                 QStringList({Desk::Question(mine), Desk::Question(link), Desk::Question(own)}));
        QCOMPARE(Contents(other), before);
        QCOMPARE(Contents(mine), before);
        QCOMPARE(set->GetFilename(), mine);

        // What is its own, or left by a window since closed, is no refusal.
        QVERIFY(QFile::setPermissions(mine, QFile::ReadOwner | QFile::WriteOwner));
        desk.sets.removeFirst();
        for (const QString &name : {mine, own, other}) {
            desk.prompts.files = {name};
            QVERIFY(Finish(desk.commands.Save(set, true)));
        }
        QCOMPARE(desk.prompts.warnings.size(), 3);
    }

    void SecondSaveDoesNotAskAgain()
    {
        Desk desk;
        const auto set = desk.Make();
        desk.prompts.files = {desk.Path(u"a.CSV"_qs), desk.Path(u"b.CSV"_qs)};
        const Running<bool> first(desk.commands.Save(set));
        desk.sets.clear(); // the window may go meanwhile
        QVERIFY(!first.Done());
        QVERIFY(!Finish(desk.commands.Save(set)));
        QVERIFY(!Finish(desk.commands.Save(set, true)));
        QVERIFY(first.Finish() && first.Value());
        QCOMPARE(desk.prompts.fileQuestions.size(), 1);
        QVERIFY(Finish(desk.commands.Save(set, true))); // and afterwards it asks again
        QCOMPARE(set->GetFilename(), QDir::toNativeSeparators(desk.Path(u"b.CSV"_qs)));
    }

    void NamesAreComparedByWhereTheyLead()
    {
        Desk desk;
        desk.Make(); // without a name
        desk.Make(u"a.CSV"_qs);
        QVERIFY(QDir(desk.folder.path()).mkdir(u"sub"_qs));
        if (IsUnix) {
            QVERIFY(QFile::link(desk.Path(u"sub"_qs), desk.Path(u"way"_qs)));
            QVERIFY(QFile::link(desk.Path(u"a.CSV"_qs), desk.Path(u"sub/link.CSV"_qs)));
        }
        QVERIFY(desk.commands.IsFileOpen(QDir::current().relativeFilePath(desk.Path(u"a.CSV"_qs))));
        QVERIFY(!desk.commands.IsFileOpen(QString()));
        const std::tuple<QString, QString, bool> rows[] = {
            {u"a.CSV"_qs, u"sub/../a.CSV"_qs, true},      {u"a.CSV"_qs, u"way/link.CSV"_qs, true},
            {u"a.CSV"_qs, u"sub/a.CSV"_qs, false},        {u"a.CSV"_qs, u"new.CSV"_qs, false},
            {u"sub/new.CSV"_qs, u"way/new.CSV"_qs, true}, {u"sub/new.CSV"_qs, u"new.CSV"_qs, false},
            {u"no/../new.CSV"_qs, u"new.CSV"_qs, true},   {QString(300, u'a'), QString(300, u'b'), false},
        };
        for (const auto &[one, other, same] : rows)
            QVERIFY2((!IsUnix && other.startsWith(u"way")) ||
                         SameFile(desk.Path(one), desk.Path(other)) == same,
                     qPrintable(other));
        const QString deep = QString(250, u'd') + u'/' + QString(250, u'e');
        const QString native = QDir::cleanPath(deep).replace(u'/', u'\\');
        const std::pair<QString, QString> names[] = {
            {u"C:/a/../b.CSV"_qs, u"C:\\b.CSV"_qs},
            {u"C:/./"_qs + deep, u"\\\\?\\C:\\"_qs + native},
            {u"//server/share/x/.."_qs, u"\\\\server\\share"_qs},
            {u"\\\\server\\share/"_qs + deep, u"\\\\?\\UNC\\server\\share\\"_qs + native},
            {u"\\\\?\\C:\\"_qs + native, u"\\\\?\\C:\\"_qs + native},
        };
        for (const auto &[name, expected] : names)
            QCOMPARE(NativeName(name), expected);
    }
};

QTEST_GUILESS_MAIN(FileCommandsTest)

#include "file_commands_test.moc"
