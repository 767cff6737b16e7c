#include "app/workspace.h"
#include "document/datatable.h"
#include "document/frmsetting.h"
#include "tests/program.h"

#include <QClipboard>
#include <QDir>
#include <QDropEvent>
#include <QGuiApplication>
#include <QItemSelectionModel>
#include <QMimeData>
#include <QPointer>
#include <QProcess>
#include <QScrollBar>

using namespace px40;

namespace {

/// A program with files in its folder.
struct FileProgram : Program
{
    explicit FileProgram(ScriptedPrompts &prompts) : Program(prompts) { StartUp(); }

    QString Path(const char *name) const { return folder.filePath(QString::fromLatin1(name)); }

    QString Put(const char *name, const QByteArray &bytes)
    {
        QFile file(Path(name));
        return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size() ? Path(name) : QString();
    }

    frmData *Open(const QString &name)
    {
        services.jobs.Launch(window->OpenFiles(QStringList(name)), "test");
        return NoJobLeft() && !DataWindows().isEmpty() ? DataWindows().last() : nullptr;
    }
};

} // namespace

/// Data windows and their files, table and graph, as the user meets them.
class DataWindowTest : public QObject
{
    Q_OBJECT

  private Q_SLOTS:
    void FilesOpenInWindowsOfTheirOwn();
    void ShapeComesBack_data();
    void ShapeComesBack();
    void ClosingOffersToSave_data();
    void ClosingOffersToSave();
    void LeavingSavesWhatTheUserWants();
    void DroppedFilesOpen();
    void TableIsCopiedWithHeadings();
    void GraphFollowsScrollAndSetup();
    void GraphIsSavedAsAPicture();
    void DownloadsWithoutAWindow_data();
    void DownloadsWithoutAWindow();
};

void DataWindowTest::FilesOpenInWindowsOfTheirOwn()
{
    ScriptedPrompts prompts;
    FileProgram program(prompts);
    const QString good = program.Put("good.CSV", SampleFile("2", "9600,5400,0"));
    const QString bad = program.Put("bad.CSV", SampleFile("3", "9600,5400,0"));
    prompts.files = {bad, good, good};
    program.Action("mnuFileOpen")->trigger();
    QVERIFY(program.NoJobLeft());
    QCOMPARE(prompts.warnings, QStringList(u"This file is a different data type.\r\n"_qs + bad));
    QVERIFY(program.DataWindows().isEmpty());

    program.Action("Open")->trigger();
    QVERIFY(program.NoJobLeft());
    frmData *const opened = program.DataWindows().value(0);
    QVERIFY(opened);
    QCOMPARE(opened->windowTitle(), good);
    QCOMPARE(program.Message(), u"good.CSV: 3 readings."_qs);
    QCOMPARE(program.Find<QMdiArea>("workspace")->activeSubWindow(), opened);
    QCOMPARE(opened->findChild<DataTable *>()->currentIndex(), opened->Data()->Table().index(0, 1));
    QVERIFY(opened->parentWidget()->rect().contains(opened->geometry().topRight() + QPoint(-40, 10)));
    for (const char *const command : {"Save", "Graph", "mnuFileSaveAs", "mnuSetupGraph"})
        QVERIFY2(program.Action(command)->isEnabled(), command);

    program.Action("Open")->trigger(); // it is there already
    QVERIFY(!QGuiApplication::overrideCursor());
    QVERIFY(program.NoJobLeft());
    QCOMPARE(program.DataWindows().size(), 1);
    QCOMPARE(prompts.warnings.size(), 1);
    QVERIFY(!QFile::exists(program.services.shared.WorkPath));

    program.window->activateWindow();
    QTRY_VERIFY(program.window->isActiveWindow());
    QTest::keyClick(opened, Qt::Key_W, Qt::ControlModifier);
    QTRY_VERIFY(program.DataWindows().isEmpty());
    QVERIFY(!program.Action("Save")->isEnabled());

    // From the command line.
    program.services.jobs.Launch(RunStartup(&program.services, program.window.get(), false, {good}), "test");
    QVERIFY(program.NoJobLeft());
    QCOMPARE(program.DataWindows().size(), 1);
}

void DataWindowTest::ShapeComesBack_data()
{
    QTest::addColumn<QByteArray>("shape");
    QTest::addColumn<bool>("minimise");
    QTest::addColumn<QByteArray>("saved"); // empty: what it was, whatever this desktop made of it
    QTest::newRow("normal") << QByteArray("9600,5400,0") << false << QByteArray("9600,5400,0");
    QTest::newRow("maximised") << QByteArray("9600,5400,2") << false << QByteArray("9600,5400,2");
    QTest::newRow("minimised") << QByteArray("9600,5400,0") << true << QByteArray("9600,5400,0");
    QTest::newRow("too small") << QByteArray("0,-5,1") << false << QByteArray();
    QTest::newRow("largest") << QByteArray("32767,32767,0") << false << QByteArray();
}

void DataWindowTest::ShapeComesBack()
{
    QFETCH(QByteArray, shape);
    QFETCH(bool, minimise);
    QFETCH(QByteArray, saved);
    ScriptedPrompts prompts;
    FileProgram program(prompts);
    QByteArray before;
    for (int round = 0; round < 2; ++round) {
        frmData *const data = program.Open(program.Put("shape.CSV", SampleFile("0", shape.constData())));
        QVERIFY(data);
        if (minimise)
            data->showMinimized();
        program.Action("Save")->trigger();
        QVERIFY(program.NoJobLeft());
        const QByteArray line = Contents(program.Path("shape.CSV")).split('\n').at(1).trimmed();
        if (!saved.isEmpty())
            QCOMPARE(line, saved);
        else if (round == 0)
            before = line;
        else
            QCOMPARE(line, before);
        QVERIFY(!line.contains('-'));
        shape = line; // from then on it does not change
        data->close();
        QTRY_VERIFY(program.DataWindows().isEmpty());
    }
}

void DataWindowTest::ClosingOffersToSave_data()
{
    QTest::addColumn<QString>("file"); // answer of the file dialog
    QTest::addColumn<bool>("closes");
    QTest::newRow("saved") << u"kept.CSV"_qs << true;
    QTest::newRow("no name given") << QString() << false;
    QTest::newRow("cannot be saved") << u"no such folder/kept.CSV"_qs << false;
}

void DataWindowTest::ClosingOffersToSave()
{
    QFETCH(QString, file);
    QFETCH(bool, closes);
    ScriptedPrompts prompts;
    FileProgram program(prompts);
    prompts.answers = {Answer::Yes};
    prompts.files = {file.isEmpty() ? file : program.folder.filePath(file)};
    program.Action("New")->trigger();
    const QPointer<frmData> data = program.DataWindows().first();
    data->Data()->AddData(QString(), u"1"_qs, QString(), QString(), QString());
    program.Action("mnuFileClose")->trigger();
    QVERIFY(program.NoJobLeft());
    QTRY_COMPARE(data.isNull(), closes);
    QCOMPARE(QFile::exists(program.Path("kept.CSV")), closes);
    QCOMPARE(prompts.warnings.size(), file.contains(u"such") ? 1 : 0);
    if (data)
        QVERIFY(!data->Data()->Saved());
}

void DataWindowTest::LeavingSavesWhatTheUserWants()
{
    ScriptedPrompts prompts;
    FileProgram program(prompts);
    for (int i = 0; i < 2; ++i) {
        program.Action("New")->trigger();
        program.DataWindows().last()->Data()->AddData(QString(), u"1"_qs, QString(), QString(), QString());
    }
    prompts.answers = {Answer::Yes, Answer::Yes};
    prompts.files = {program.Path("one.CSV"), QString()};
    program.Action("mnuFileExit")->trigger();
    QVERIFY(program.NoJobLeft());
    QVERIFY(program.window->isVisible()); // the second one has no name
    QVERIFY(QFile::exists(program.Path("one.CSV")));
    prompts.answers = {Answer::Yes};
    prompts.files = {program.Path("two.CSV")};
    program.Action("mnuFileExit")->trigger(); // asks for the second one only
    QTRY_VERIFY(program.hasLeft);
    QCOMPARE(prompts.questions.size(), 3);
    QVERIFY(QFile::exists(program.Path("two.CSV")));
}

void DataWindowTest::DroppedFilesOpen()
{
    ScriptedPrompts prompts;
    FileProgram program(prompts);
    QMimeData mime;
    mime.setUrls({QUrl(u"http://localhost/x.CSV"_qs),
                  QUrl::fromLocalFile(program.Put("one.CSV", SampleFile("0", "9600,5400,0"))),
                  QUrl::fromLocalFile(program.Put("two.CSV", SampleFile("4", "9600,5400,0")))});
    const auto enter = [&] {
        QDragEnterEvent event(QPoint(5, 5), Qt::CopyAction, &mime, Qt::LeftButton, Qt::NoModifier);
        QCoreApplication::sendEvent(program.window.get(), &event);
        return event.isAccepted();
    };
    QVERIFY(enter());
    // Whoever drags may mean to move the files: they are only read.
    QDropEvent drop(QPointF(5, 5), Qt::CopyAction | Qt::MoveAction, &mime, Qt::LeftButton, Qt::ShiftModifier);
    QCoreApplication::sendEvent(program.window.get(), &drop);
    QCOMPARE(drop.dropAction(), Qt::CopyAction);
    QVERIFY(program.NoJobLeft());
    QCOMPARE(program.DataWindows().size(), 2);
    QVERIFY(!program.Action("mnuSetupGraph")->isEnabled()); // a SAVE-mode set is active
    program.Action("Mdata")->trigger();
    QVERIFY(!enter()); // not during a download
    mime.setUrls({QUrl::fromLocalFile(program.Put("three.CSV", SampleFile("4", "9600,5400,0")))});
    QCoreApplication::sendEvent(program.window.get(), &drop);
    QVERIFY(program.NoJobLeft());
    QCOMPARE(program.DataWindows().size(), 3); // with that of the download
}

void DataWindowTest::TableIsCopiedWithHeadings()
{
    ScriptedPrompts prompts;
    FileProgram program(prompts);
    const frmData *const data = program.Open(program.Put("table.CSV", SampleFile("2", "9600,5400,0")));
    auto *const table = data->findChild<DataTable *>();
    const auto copied = [&] {
        QTest::keyClick(table, Qt::Key_C, Qt::ControlModifier);
        return QGuiApplication::clipboard()->text();
    };
    QTest::keyClick(table, Qt::Key_A, Qt::ControlModifier);
    QCOMPARE(copied(), u"No.\tTIME\tDATA\tMODE\tDATA\tSRC.\n"
                       "1\t10:00:00\t1.5\tVDC\t\t\n"
                       "2\t10:00:05\t+OL\tVDC\t\t\n"
                       "3\t10:00:10\t2.5\tVDC\t\t\n"_qs); // without the spare row
    // Pieces that do not touch: what lies between them stays empty or away.
    const auto select = [&](int row, int column, QItemSelectionModel::SelectionFlags flags) {
        table->selectionModel()->select(table->model()->index(row, column), flags);
    };
    select(2, 1, QItemSelectionModel::ClearAndSelect);
    select(0, 2, QItemSelectionModel::Select);
    QCOMPARE(copied(), u"TIME\tDATA\n\t1.5\n10:00:10\t\n"_qs);
    select(3, 1, QItemSelectionModel::ClearAndSelect); // the spare row holds nothing
    QGuiApplication::clipboard()->setText(u"before"_qs);
    QCOMPARE(copied(), u"before"_qs);
}

void DataWindowTest::GraphFollowsScrollAndSetup()
{
    ScriptedPrompts prompts;
    FileProgram program(prompts);
    const frmData *const data = program.Open(program.Put("graph.CSV", SampleFile("2", "9600,5400,0")));
    auto *const bar = data->findChild<QScrollBar *>(u"sbData"_qs);
    QCOMPARE(bar->maximum(), 1);
    bar->setValue(1);
    QCOMPARE(data->Data()->Scroll().value, 1);

    program.Action("Graph")->trigger();
    const QPointer<frmSetting> dialog = program.Find<frmSetting>("frmSetting");
    QVERIFY(dialog && dialog->isVisible());
    QTest::keyClick(dialog, Qt::Key_Space); // the first field is the way of the X axis, Custom
    Press(dialog, "btOk");
    QTRY_VERIFY(!dialog);
    QCOMPARE(bar->value(), 0); // drawn from the first sample again
    QVERIFY(data->Data()->Saved());
}

void DataWindowTest::GraphIsSavedAsAPicture()
{
    ScriptedPrompts prompts;
    FileProgram program(prompts);
    const frmData *const data = program.Open(program.Put("graph.CSV", SampleFile("2", "9600,5400,0")));
    prompts.files = {program.Path("graph.png"), program.Path("gone/graph.pdf")};
    QWidget *const chart = data->findChild<QWidget *>(u"chData"_qs);
    for (int i = 0; i < 2; ++i) {
        QMetaObject::invokeMethod(chart, "saveAsRequested");
        QVERIFY(program.NoJobLeft());
    }
    QVERIFY(prompts.fileQuestions.first().startsWith(u"save:"_qs + program.Path("graph") + u':'));
    QVERIFY(Contents(program.Path("graph.png")).startsWith("\x89PNG"));
    QCOMPARE(prompts.warnings.size(), 1);
    QVERIFY(prompts.warnings.first().endsWith(u"\r\n"_qs + program.Path("gone/graph.pdf")));
    QMetaObject::invokeMethod(chart, "copyRequested");
    QVERIFY(QGuiApplication::clipboard()->mimeData()->hasImage());
}

void DataWindowTest::DownloadsWithoutAWindow_data()
{
    QTest::addColumn<QString>("arguments"); // DIR stands for a folder of its own, PORT for the instrument
    QTest::addColumn<QString>("fault");
    QTest::addColumn<QString>("error"); // its beginning; empty: good
    QTest::newRow("simulated") << u"--demo"_qs << QString() << QString();
    QTest::newRow("on a port") << u"--port-device 3=PORT --port 3"_qs << QString() << QString();
    QTest::newRow("silent") << u"--port-device 1=PORT"_qs << u"silent-from=9"_qs
                            << u"Timeout error occurred."_qs;
    QTest::newRow("no port") << u"--port 5"_qs << QString() << u"No device is assigned to port 5."_qs;
    QTest::newRow("unplugged") << u"--port-device 1=PORT"_qs << u"hang-up=9"_qs
                               << u"The connection to the instrument was lost.\n"_qs;
    QTest::newRow("noise") << u"--port-device 1=PORT"_qs << u"garbage=9"_qs
                           << u"FILE: Written, but with 44 unreadable of 50 readings"_qs;
    QTest::newRow("read-only") << u"--demo"_qs << u"read-only"_qs
                               << u"FILE: This file is a read-only file; you cannot save data to it."_qs;
    QTest::newRow("cannot be saved") << u"--demo"_qs << u"work file"_qs << u"FILE: WORK: "_qs;
    QTest::newRow("onto the work file")
        << u"--demo"_qs << u"onto it"_qs << u"WORK: This name is the program's own work file."_qs;
    QTest::newRow("no device") << u"--port-device 1=/dev/ttyUSB99"_qs << QString()
                               << u"The device of port 1 is not plugged in."_qs;
}

void DataWindowTest::DownloadsWithoutAWindow()
{
    QFETCH(QString, arguments);
    QFETCH(QString, fault);
    QFETCH(QString, error);
    const QTemporaryDir folder;
    sim::PtyServer server(LinkRig::Unpaced());
    arguments.replace(u"PORT"_qs, QString::fromStdString(server.DevicePath()));
    const QString work = folder.filePath(u"WORK.~~~"_qs);
    const QString file = fault == u"onto it" ? work : folder.filePath(u"readings.CSV"_qs);
    error.replace(u"FILE"_qs, file).replace(u"WORK"_qs, work);
    QFile old(file);
    QVERIFY(old.open(QIODevice::WriteOnly) && old.write("old") == 3);
    old.close();
    if (fault == u"read-only")
        QVERIFY(old.setPermissions(QFile::ReadOwner));
    else if (fault == u"work file")
        QVERIFY(QDir().mkdir(work));
    else if (fault.contains(u'='))
        SetFault(server, fault.toLatin1().constData());

    QProcess process;
    QProcessEnvironment environment; // nothing that leads to a display, and as little as a script may have
    environment.insert(u"TMPDIR"_qs, folder.path());
    environment.insert(u"XDG_CONFIG_HOME"_qs, folder.path());
    environment.insert(u"LSAN_OPTIONS"_qs, qEnvironmentVariable("LSAN_OPTIONS"));
    process.setProcessEnvironment(environment);
    process.start(QCoreApplication::applicationDirPath() + u"/px40ap"_qs,
                  QStringList{u"--data-dir"_qs, folder.path(), u"--download"_qs, file} +
                      arguments.split(u' '));
    QVERIFY(WaitUntil([&] { return process.state() == QProcess::NotRunning; }, 60000));
    const QString said = QString::fromUtf8(process.readAllStandardError());
    const QString printed = QString::fromUtf8(process.readAllStandardOutput());
    QCOMPARE(process.exitStatus(), QProcess::NormalExit);
    if (error.isEmpty()) {
        QCOMPARE(said, QString());
        QCOMPARE(process.exitCode(), 0);
        QCOMPARE(printed.section(u' ', 0, 1), u"MAX No.["_qs);
        QCOMPARE(printed.count(u'\n'), 3);
        QCOMPARE(Contents(file).count("No."), 50);
    } else {
        QVERIFY2(said.startsWith(error), qPrintable(said));
        QCOMPARE(said.count(u'\n'), 1);
        QCOMPARE(process.exitCode(), 1);
        const bool written = error.contains(u"Written"); // and then the results are printed, too
        QCOMPARE(printed.isEmpty(), !written);
        QCOMPARE(Contents(file) == "old", !written);
    }
}

QTEST_MAIN(DataWindowTest)
#include "datawindow_test.moc"
