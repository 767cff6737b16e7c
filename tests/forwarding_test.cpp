// Forwarding as the user of the whole program has it: after a download, from the menu, during a run.

#include "forward/frmforward.h"
#include "testing/books.h"
#include "testing/liveprogram.h"
#include "testing/operatedprogram.h"

#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QTest>

namespace px40 {

namespace {

struct ForwardingProgram : LiveProgram
{
    /// Asks for a forwarding and fills in the dialog, without a file for a new workbook; then waits for the
    /// end.
    void Forward(const char *action, const QString &title, const QString &file = {},
                 const char *button = "btOk")
    {
        Action(action)->trigger();
        QVERIFY(WaitUntil([this] { return window->findChild<frmForward *>() != nullptr; }));
        const QPointer<frmForward> dialog = window->findChild<frmForward *>();
        dialog->findChild<QLineEdit *>(u"tbTitle"_qs)->setText(title);
        dialog->findChild<QLineEdit *>(u"tbFile"_qs)->setText(file);
        if (file.isEmpty())
            dialog->findChild<QRadioButton *>(u"obNew"_qs)->setChecked(true);
        dialog->findChild<QPushButton *>(QLatin1StringView(button))->click();
        QVERIFY(WaitUntil([&] { return !dialog; }));
        if (whileForwarding)
            whileForwarding();
        QVERIFY(NoJobLeft());
    }

    /// A run that goes to a new workbook.
    void StartRun(const QString &title, const QString &file)
    {
        prompts.answers = {Answer::Yes};
        prompts.files = {file};
        Forward("Start", title);
        QVERIFY(WaitUntil([this] { return services.state.RealtimeRun; }) && NoJobLeft());
    }

    const QString book = folder.filePath(u"book.xlsx"_qs);
    std::function<void()> whileForwarding;
    Desktop desktop;
};

} // namespace

class ForwardingTest : public QObject
{
    Q_OBJECT

  private Q_SLOTS:
    void DownloadAndCommandAddSheets()
    {
        ForwardingProgram program;
        program.prompts.answers = {Answer::Yes, Answer::Yes};
        program.Forward("Mdata", u"Loop/7"_qs, QString(), "btCancel");
        QVERIFY(program.DataWindows().isEmpty());
        program.prompts.files = {program.book};
        program.Forward("Mdata", u"Loop/7"_qs);
        QVERIFY(program.prompts.fileQuestions.constFirst().startsWith(u"save:Loop 7 "));
        QCOMPARE(program.Message(), u"50 rows forwarded to book.xlsx in "_qs +
                                        QDir::toNativeSeparators(program.folder.path()) + u'.');
        QTRY_COMPARE(program.desktop.Shown(), QStringList(program.book));
        const frmData *const data = program.DataWindows().first();
        QVERIFY(!IsUnix || WaitUntil([&] { return data->isAncestorOf(QApplication::focusWidget()); }));
        const std::shared_ptr<DataSet> dataSet = data->Data();
        QCOMPARE(dataSet->GetDatacount(), 50);
        QCOMPARE(program.services.settings.ForwardTitleText, u"Loop/7"_qs); // for the next time
        program.Forward("Forward", u"Loop/7"_qs, program.book);
        QCOMPARE(SheetNames(program.book), QStringList({u"Loop 7"_qs, u"Loop 7 (2)"_qs}));

        const QByteArray before = Contents(program.book);
        for (int row = 0; row < 50'000; ++row) // the writing has not ended before it hears of the click
            dataSet->AddData(QString(), u"1.5"_qs, QString(), QString(), QString());
        std::optional<LinkUse> exchange(std::in_place, program.services.gate, ActivityStatusCheck);
        program.whileForwarding = [&] {
            QVERIFY(WaitUntil([&] { return program.Cancel()->isVisible(); }));
            QVERIFY(!program.window->close());
            Press(program.Cancel(), "btCancel");
            exchange.reset(); // forwarding has waited for its end
        };
        program.Forward("Forward", QString(), program.book);
        QCOMPARE(program.prompts.warnings, QStringList(u"Canceled."_qs));
        QCOMPARE(Contents(program.book), before);
        QVERIFY(program.Message().isEmpty()); // and nothing of the one before it

        program.whileForwarding = nullptr;
        program.prompts.answers = {Answer::Yes, Answer::Yes};
        program.Forward("Sdata", u"Saved"_qs, program.book, "btCancel");
        QCOMPARE(program.DataWindows().size(), 1);
        program.Forward("Sdata", u"Saved"_qs, program.book); // whatever comes of it
        QCOMPARE(SheetNames(program.book).last(), u"Saved"_qs);
        const QByteArray after = Contents(program.book);

        program.Fault("hang-up=12"); // what comes of a broken download is not forwarded
        program.prompts.answers = {Answer::Yes};
        program.Forward("Mdata", u"Broken"_qs, program.book);
        QCOMPARE(Contents(program.book), after);
    }

    void RunIsForwarded()
    {
        ForwardingProgram program;
        program.Action("New")->trigger();
        for (const char *const button : {"btCancel", "btOk"}) { // of the dialog, then of the file dialog
            program.prompts.answers = {Answer::Yes};
            program.Forward("Start", QString(), QString(), button);
            QVERIFY(!program.services.state.RealtimeRun);
        }
        QCOMPARE(program.prompts.fileQuestions.size(), 1);

        program.StartRun(u"Night"_qs, program.book);
        for (int second = 0; second < 3; ++second)
            QVERIFY(program.PassSecond());
        QVERIFY(!QFile::exists(program.book));
        program.Action("Forward")->trigger(); // not now
        QVERIFY(program.NoJobLeft());
        QCOMPARE(program.Message(), u"Real-time receive is running. Stop it first."_qs);
        program.Action("Stop")->trigger();
        QVERIFY(program.PassSecond());
        QCOMPARE(SheetNames(program.book), QStringList(u"Night"_qs));
        QVERIFY2(program.Message().startsWith(u"1 row forwarded to book.xlsx in "),
                 qPrintable(program.Message()));
        QVERIFY(program.Message().contains(u".  1New was stopped: "));
        QTRY_COMPARE(program.desktop.Shown(), QStringList(program.book));
        QVERIFY(MayClose(program.services.state));

        program.desktop.ShowNothing();
        const QString there = program.folder.filePath(u"second.xlsx"_qs);
        program.StartRun(QString(), there);
        QVERIFY(program.PassSecond());
        program.Action("Stop")->trigger();
        QVERIFY(program.PassSecond());
        const QString told = u"No program of this desktop opens the worksheet.  2 rows forwarded to "_qs;
        QTRY_VERIFY2(program.Message().startsWith(told + u"second.xlsx in "_qs),
                     qPrintable(program.Message()));
        QVERIFY(program.Message().contains(u".  1New was stopped: "));
        program.Forward("Forward", QString(), program.book);
        QTRY_VERIFY2(program.Message().startsWith(told + u"book.xlsx in "_qs), qPrintable(program.Message()));
    }

    void FailureCostsNoReading()
    {
        ForwardingProgram program;
        program.Action("New")->trigger();
        QVERIFY(QDir(program.folder.path()).mkdir(u"stick"_qs));
        program.StartRun(QString(), program.folder.filePath(u"stick/book.xlsx"_qs));
        QVERIFY(program.PassSecond());
        QVERIFY(QDir(program.folder.path()).rmdir(u"stick"_qs));
        program.Action("Stop")->trigger();
        QVERIFY(program.PassSecond());
        QVERIFY2(program.Message().startsWith(
                     u"Forward error occurred. (1New)  This folder does not exist.  1New "),
                 qPrintable(program.Message()));
        QCOMPARE(program.prompts.warnings.size(), 1);
        QVERIFY(
            program.prompts.warnings.constFirst().endsWith(QDir::toNativeSeparators(u"stick/book.xlsx"_qs)));
        QVERIFY(program.desktop.Shown().isEmpty());
        QCOMPARE(program.DataWindows().first()->Data()->GetDatacount(), 1);
        program.prompts.files = {program.book}; // and forwarded again
        program.Forward("mnuFileForward", QString());
        QCOMPARE(SheetNames(program.book), QStringList(u"PX40 1"_qs));
    }
};

} // namespace px40

QTEST_MAIN(px40::ForwardingTest)
#include "forwarding_test.moc"
