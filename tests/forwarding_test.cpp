// Forwarding as the user of the whole program has it: after a download, from the menu, during a run.

#include "acquire/runprogress.h"
#include "forward/frmforward.h"
#include "tests/liveprogram.h"

#include <QDesktopServices>
#include <QFile>
#include <QLineEdit>
#include <QRadioButton>
#include <QTest>

#include <zip.h>

#include <memory>

namespace px40 {

namespace {

/// Names of the sheets of a workbook, in their order.
QStringList Sheets(const QString &workbook)
{
    QStringList names;
    const std::unique_ptr<zip_t, decltype(&zip_discard)> archive(
        zip_open(workbook.toUtf8().constData(), ZIP_RDONLY, nullptr), zip_discard);
    if (!archive)
        return names;
    zip_file_t *const part = zip_fopen(archive.get(), "xl/workbook.xml", 0);
    QByteArray text(64 * 1024, '\0');
    text.truncate(zip_fread(part, text.data(), zip_uint64_t(text.size())));
    zip_fclose(part);
    for (qsizetype at = text.indexOf("<sheet "); at >= 0; at = text.indexOf("<sheet ", at + 1)) {
        const qsizetype name = text.indexOf("name=\"", at) + 6;
        names << QString::fromUtf8(text.mid(name, text.indexOf('"', name) - name));
    }
    return names;
}

/// The desktop's way of showing a file.
class Desktop : public QObject
{
    Q_OBJECT

  public:
    Desktop() { QDesktopServices::setUrlHandler(u"file"_qs, this, "Show"); }
    ~Desktop() override { QDesktopServices::unsetUrlHandler(u"file"_qs); }

    Q_INVOKABLE void Show(const QUrl &url) { shown << url.toLocalFile(); }

    QStringList shown;
};

struct ForwardingProgram : LiveProgram
{
    QString Book(const char *name = "book.xlsx") const { return folder.filePath(QString::fromLatin1(name)); }

    /// Fills in the forward dialog when it comes; without a file for a new workbook.
    void Fill(const QString &title, const QString &file = {}, const char *button = "btOk")
    {
        QVERIFY(WaitUntil([this] { return window->findChild<frmForward *>() != nullptr; }));
        const QPointer<frmForward> dialog = window->findChild<frmForward *>();
        dialog->findChild<QLineEdit *>(u"tbTitle"_qs)->setText(title);
        dialog->findChild<QLineEdit *>(u"tbFile"_qs)->setText(file);
        if (file.isEmpty())
            dialog->findChild<QRadioButton *>(u"obNew"_qs)->setChecked(true);
        dialog->findChild<QPushButton *>(QLatin1StringView(button))->click();
        QVERIFY(WaitUntil([&] { return !dialog; }));
    }

    Desktop desktop;
};

} // namespace

class ForwardingTest : public QObject
{
    Q_OBJECT

  private Q_SLOTS:
    void DownloadIsForwarded();
    void CommandAddsASheet();
    void RunIsForwarded();
    void FailureCostsNoReading();
    void StartIsGivenUp();
};

void ForwardingTest::DownloadIsForwarded()
{
    ForwardingProgram program;
    program.prompts.answers = {Answer::Yes, Answer::Yes};
    program.Action("Mdata")->trigger();
    program.Fill(u"Loop 7"_qs, QString(), "btCancel");
    QVERIFY(program.NoJobLeft());
    QVERIFY(program.DataWindows().isEmpty());

    program.prompts.files = {program.Book()};
    program.Action("Mdata")->trigger();
    program.Fill(u"Loop 7"_qs);
    QVERIFY(program.NoJobLeft());
    QVERIFY(program.prompts.fileQuestions.constFirst().startsWith(u"save:Loop 7 "));
    QCOMPARE(Sheets(program.Book()), QStringList(u"Loop 7"_qs));
    QCOMPARE(program.Message(), u"50 rows forwarded to book.xlsx."_qs);
    QCOMPARE(program.desktop.shown, QStringList(program.Book()));
    QCOMPARE(program.DataWindows().first()->Data()->GetDatacount(), 50);
    QCOMPARE(program.services.settings.ForwardTitleText, u"Loop 7"_qs); // for the next time
}

void ForwardingTest::CommandAddsASheet()
{
    ForwardingProgram program;
    program.prompts.files = {program.Book()};
    const std::shared_ptr<DataSet> dataSet = program.window->NewDataWindow(KindMemory);
    QVERIFY(dataSet->AddGridrow());
    dataSet->AddData(u"No.1"_qs, u"1.5"_qs, u"DCmA"_qs, QString(), QString());
    for (const QString &file : {QString(), program.Book(), program.Book()}) {
        program.Action("Forward")->trigger();
        program.Fill(u"A/B"_qs, file);
        QVERIFY(program.NoJobLeft());
    }
    QCOMPARE(Sheets(program.Book()), QStringList({u"A B"_qs, u"A B (2)"_qs, u"A B (3)"_qs}));
    QCOMPARE(program.Message(), u"1 row forwarded to book.xlsx."_qs);

    const QByteArray before = Contents(program.Book());
    for (int row = 0; row < 50'000; ++row) // long enough for a click
        dataSet->AddData(QString(), u"1.5"_qs, QString(), QString(), QString());
    program.Action("Forward")->trigger();
    program.Fill(QString(), program.Book());
    QVERIFY(WaitUntil([&] { return program.Cancel()->isVisible(); }));
    QVERIFY(!program.window->close());
    Press(program.Cancel(), "btCancel");
    QVERIFY(program.NoJobLeft());
    QCOMPARE(program.prompts.warnings, QStringList(u"Canceled."_qs));
    QCOMPARE(Contents(program.Book()), before);
}

void ForwardingTest::RunIsForwarded()
{
    ForwardingProgram program;
    program.Action("New")->trigger();
    program.prompts.answers = {Answer::Yes};
    program.prompts.files = {program.Book()};
    program.Action("Start")->trigger();
    program.Fill(u"Night"_qs);
    QVERIFY(WaitUntil([&] { return program.services.state.RealtimeRun; }) && program.NoJobLeft());
    for (int second = 0; second < 3; ++second)
        QVERIFY(program.PassSecond());
    QVERIFY(!QFile::exists(program.Book()));
    program.Action("Forward")->trigger(); // not now
    QVERIFY(program.NoJobLeft());
    QCOMPARE(program.Message(), u"Real-time receive is running. Stop it first."_qs);
    program.Action("Stop")->trigger();
    QVERIFY(program.PassSecond());
    QCOMPARE(Sheets(program.Book()), QStringList(u"Night"_qs));
    QVERIFY(program.Message().startsWith(u"1New has ended: "));
    QVERIFY2(program.Message().endsWith(u"1 row forwarded to book.xlsx."), qPrintable(program.Message()));
    QCOMPARE(program.desktop.shown, QStringList(program.Book()));
    QVERIFY(MayClose(program.services.state));
}

void ForwardingTest::FailureCostsNoReading()
{
    ForwardingProgram program;
    program.Action("New")->trigger();
    program.prompts.answers = {Answer::Yes};
    const QString gone = program.folder.filePath(u"stick/book.xlsx"_qs);
    QVERIFY(QDir(program.folder.path()).mkdir(u"stick"_qs));
    program.prompts.files = {gone};
    program.Action("Start")->trigger();
    program.Fill(QString());
    QVERIFY(WaitUntil([&] { return program.services.state.RealtimeRun; }) && program.NoJobLeft());
    QVERIFY(program.PassSecond());
    QVERIFY(QDir(program.folder.path()).rmdir(u"stick"_qs));
    program.Action("Stop")->trigger();
    QVERIFY(program.PassSecond());
    QVERIFY2(program.Message().contains(u"Forward error occurred. (1New)  This folder does not exist."),
             qPrintable(program.Message()));
    const std::shared_ptr<DataSet> dataSet = program.DataWindows().first()->Data();
    QCOMPARE(dataSet->GetDatacount(), 1);
    QVERIFY(program.desktop.shown.isEmpty());

    program.prompts.files = {program.Book()}; // and forwarded again
    program.Action("mnuFileForward")->trigger();
    program.Fill(QString());
    QVERIFY(program.NoJobLeft());
    QCOMPARE(Sheets(program.Book()), QStringList(u"PX40 1"_qs));
}

void ForwardingTest::StartIsGivenUp()
{
    ForwardingProgram program;
    program.Action("New")->trigger();
    for (const char *const button : {"btCancel", "btOk"}) { // of the dialog, then of the file dialog
        program.prompts.answers = {Answer::Yes};
        program.Action("Start")->trigger();
        program.Fill(QString(), QString(), button);
        QVERIFY(program.NoJobLeft());
        QVERIFY(!program.services.state.RealtimeRun && program.window->tmCheckInter.Interval() == 0);
    }
    QCOMPARE(program.prompts.fileQuestions.size(), 1);
    QVERIFY(program.Start(Answer::No)); // as ever
    QVERIFY(program.services.state.RealtimeRun);
}

} // namespace px40

QTEST_MAIN(px40::ForwardingTest)
#include "forwarding_test.moc"
