#include "app/maincommands.h"
#include "app/startup.h"
#include "app/workspace.h"
#include "document/datatable.h"
#include "document/frmsetting.h"
#include "platform/geometry.h"
#include "testing/files.h"
#include "testing/program.h"

#include <QClipboard>
#include <QDropEvent>
#include <QGuiApplication>
#include <QItemSelectionModel>
#include <QLabel>
#include <QMenu>
#include <QMimeData>
#include <QPointer>
#include <QScrollBar>
#include <QTest>
#include <QWindow>

#include <tuple>

using namespace px40;

namespace {

/// A program with files in its folder.
struct FileProgram : StartedProgram
{
    QString Path(const char *name) const { return folder.filePath(QString::fromLatin1(name)); }

    QString Put(const char *name, const char *kind = "2", const char *shape = "9600,5400,0")
    {
        Require(px40::Put(Path(name), SampleFile(kind, shape)), u"The file cannot be written."_qs);
        return Path(name);
    }

    frmData *Open(const QString &name)
    {
        services.jobs.Launch(window->Commands().Files().Open(QStringList(name)), "test");
        return NoJobLeft() && !DataWindows().isEmpty() ? DataWindows().last() : nullptr;
    }

    /// Line 2 of the file that comes of saving a window now.
    QByteArray SavedShape(const frmData *data) const
    {
        return data->Data()->SaveFile(data->Data()->GetFilename())
                   ? Contents(data->Data()->GetFilename()).split('\n').at(1).trimmed()
                   : QByteArray();
    }
};

} // namespace

/// Data windows and their files, table and graph, as the user meets them.
class DataWindowTest : public QObject
{
    Q_OBJECT

  private Q_SLOTS:
    void RowsAreWholeAndTheirHeadingsAlign()
    {
        StartedProgram program;
        program.Action("New")->trigger();
        frmData *const window = program.DataWindows().first();
        auto *const table = window->findChild<DataTable *>();
        const int row = table->rowHeight(0);
        QCOMPARE(row, table->fontMetrics().height() + 6);
        for (int more = 0; more < row; more += 3) {
            window->resize(700, 500 + more);
            QCoreApplication::processEvents();
            QCOMPARE(table->viewport()->height() % row, 0);
        }
        const QAbstractItemModel &model = *table->model();
        for (int column = 0; column < model.columnCount(); ++column)
            QCOMPARE(model.headerData(column, Qt::Horizontal, Qt::TextAlignmentRole),
                     model.index(0, column).data(Qt::TextAlignmentRole));
    }

    void FilesOpenInWindowsOfTheirOwn()
    {
        FileProgram program;
        const QString good = program.Put("good.CSV");
        program.prompts.files = {good, good};
        QVERIFY(program.Do("Open"));
        frmData *const opened = program.DataWindows().value(0);
        QVERIFY(opened);
        QCOMPARE(program.Message(), u"good.CSV: 3 readings."_qs);
        QCOMPARE(program.Find<QMdiArea>("workspace")->activeSubWindow(), opened);
        QVERIFY(opened->parentWidget()->rect().contains(opened->geometry().topRight() + QPoint(-40, 10)));
        for (const char *const command : {"Save", "Graph", "mnuFileSaveAs", "mnuSetupGraph"})
            QVERIFY2(program.Action(command)->isEnabled(), command);

        program.Action("Open")->trigger(); // it is there already
        QVERIFY(!QGuiApplication::overrideCursor());
        QVERIFY(program.NoJobLeft());
        QCOMPARE(program.DataWindows().size(), 1);
        QVERIFY(program.prompts.warnings.isEmpty());
        QVERIFY(!QFile::exists(program.services.shared.WorkPath));

        program.window->activateWindow();
        QTRY_VERIFY(program.window->isActiveWindow());
        if (IsUnix)
            QTest::keyClick(opened, Qt::Key_W, Qt::ControlModifier);
        else
            program.Action("mnuFileClose")->trigger();
        QTRY_VERIFY(program.DataWindows().isEmpty());
        QVERIFY(!program.Action("Save")->isEnabled());

        // From the command line; that the work file is in the way is told once.
        program.services.shared.WorkPath = program.Path("gone/WORK.~~~");
        program.services.jobs.Launch(RunStartup(&program.services, program.window.get(), false, {good}),
                                     "test");
        QVERIFY(program.NoJobLeft());
        QCOMPARE(program.DataWindows().size(), 1);
        const QString told = program.Message();
        QVERIFY2(told.startsWith(u"good.CSV: 3 readings. "_qs + program.Path("gone/WORK.~~~")),
                 qPrintable(told));
        QVERIFY(program.Do("Save"));
        QCOMPARE(program.Message(), u"good.CSV saved."_qs);
    }

    void ShapeComesBack()
    {
        using Touch = std::function<void(frmData *)>;
        const Touch nothing = [](frmData *) {};
        const Touch minimise = [](frmData *data) { data->showMinimized(); };
        const Touch maximise = [](frmData *data) { data->showMaximized(); };
        const Touch restore = [](frmData *data) { data->showNormal(); };
        const Touch maximiseAndRestore = [](frmData *data) {
            data->showMaximized();
            data->showNormal();
        };
        const Touch showProgress = [](frmData *data) { data->Data()->IniProgress(10); };
        const Touch widen = [](frmData *data) { data->resize(data->minimumSizeHint() + QSize(200, 0)); };
        const Touch widenInRun = [](frmData *data) { // which makes the window need more height for a while
            for (const int progress : {10, 0}) {
                data->Data()->IniProgress(progress);
                QCoreApplication::processEvents();
                data->resize(data->size().expandedTo(data->minimumSizeHint()) + QSize(20, 0));
            }
        };
        // A file's shape, what the user does with the window, and what is saved.
        const std::tuple<QByteArray, Touch, QByteArray> rows[] = {
            {"9600,5400,0", nothing, {}},
            {"9600,5400,1", nothing, {}},
            {"9600,5400,2", nothing, {}},
            {"9600,5400,7", nothing, {}},
            {"9601,5407,0", nothing, {}}, // no whole pixels
            {"300,200,0", nothing, {}},   // below what the window takes
            {"300,200,2", nothing, {}},
            {"0,-5,1", nothing, {}},
            {"32767,32767,0", nothing, {}},
            {"300,200,0", showProgress, {}},
            {"9600,5400,0", minimise, "9600,5400,0"},
            {"9600,5400,2", minimise, "9600,5400,0"},
            {"9601,200,0", maximise, "9601,200,2"},
            {"9601,200,2", restore, "9601,200,0"},
            {"9601,200,1", restore, "9601,200,0"},
            {"9601,200,0", maximiseAndRestore, "9601,200,0"},
            {"300,200,0", widen, "WIDER,200,0"},
            {"300,200,0", widenInRun, "WIDER,200,0"},
        };
        for (const bool beside :
             {false, true}) { // of a window that is maximised, which this one then is as well
            FileProgram program;
            program.window->show();
            QVERIFY(QTest::qWaitForWindowActive(program.window.get()));
            if (beside)
                QVERIFY(program.Open(program.Put("other.CSV", "2", "9000,5100,2")));
            for (const auto &[shape, touch, expected] : rows) {
                QByteArray line = shape;
                QByteArray wanted = expected.isEmpty() ? shape : expected;
                if (beside && wanted.endsWith('2') && !shape.endsWith('2'))
                    continue; // there is nothing to maximise
                for (int round = 0; round < 2; ++round) {
                    frmData *const data = program.Open(program.Put("shape.CSV", "0", line.constData()));
                    QVERIFY(data);
                    if (!beside) {
                        QCOMPARE(data->isMaximized(), line.endsWith('2'));
                        QCOMPARE(data->isMinimized(), line.endsWith('1'));
                    }
                    QCoreApplication::processEvents(); // what the workspace does by itself is over
                    if (round == 0)
                        touch(data);
                    QCoreApplication::processEvents();
                    wanted.replace("WIDER",
                                   QByteArray::number(PixelsToTwips(data->width(), data->logicalDpiX())));
                    line = program.SavedShape(data);
                    QCOMPARE(line, wanted);
                    data->close();
                    QTRY_COMPARE(program.DataWindows().size(), beside ? 1 : 0);
                }
                if (beside) // and this one was never touched
                    QCOMPARE(program.SavedShape(program.DataWindows().first()), QByteArray("9000,5100,2"));
            }
            if (beside)
                program.DataWindows().first()->showMaximized();
            program.Action("New")->trigger();
            QCOMPARE(program.DataWindows().last()->Data()->Shape().state,
                     beside ? WindowShape::Maximised : 0);
        }
    }

    void TitleTellsOfUnsavedRows()
    {
        PX40_NEEDS_UNIX(); // where a name may hold an asterisk
        FileProgram program;
        program.window->show();
        frmData *const data = program.Open(program.Put("a[*]b.CSV"));
        QVERIFY(data);
        data->showMaximized();
        const QString shown = u"/a[\u200b*]b.CSV"_qs; // the same to the eye
        const auto title = [&] { return program.window->windowHandle()->title(); };
        QVERIFY2(title().endsWith(shown + u']'), qPrintable(title()));
        for (int i = 0; i < 2; ++i) {
            QVERIFY(data->Data()->AddGridrow());
            data->Data()->AddData({}, u"1"_qs, {}, {}, {});
            QVERIFY2(title().endsWith(shown + u"*]"_qs), qPrintable(title()));
            data->showNormal();
            QVERIFY(data->windowTitle().endsWith(shown + u"[*]"_qs) && data->isWindowModified());
            QVERIFY(!title().contains(u'*'));
            data->showMaximized();
            data->close();
            QVERIFY(program.NoJobLeft()); // cancelled
            QCOMPARE(program.prompts.questions.last().section(u"\r\n"_qs, 1), program.Path("a[*]b.CSV"));
            QVERIFY(program.Do("Save"));
            QVERIFY2(title().endsWith(shown + u']'), qPrintable(title()));
        }
        QMetaObject::invokeMethod(program.Find("chData"), "saveAsRequested");
        QVERIFY(program.NoJobLeft());
        QVERIFY(program.prompts.fileQuestions.last().startsWith(u"save:"_qs + program.Path("a[*]b") + u':'));
    }

    void LeavingSavesWhatTheUserWants()
    {
        FileProgram program;
        for (int i = 0; i < 2; ++i) {
            program.Action("New")->trigger();
            program.DataWindows().last()->Data()->AddData(QString(), u"1"_qs, QString(), QString(),
                                                          QString());
        }
        program.prompts.files = {program.Path("one.CSV")};
        for (const QString &second : {QString(), program.Path("gone/two.CSV"), program.Path("two.CSV")}) {
            QVERIFY(!program.hasLeft); // the second one is not saved as yet
            program.prompts.answers.assign(2, Answer::Yes);
            program.prompts.files.push_back(second);
            QVERIFY(program.Do("mnuFileExit"));
            QVERIFY(QFile::exists(program.Path("one.CSV")));
        }
        QTRY_VERIFY(program.hasLeft);
        QVERIFY(!program.window->isVisible() && !program.services.comm.IsOpen());
        QVERIFY(program.services.store.GetNumber(u"Settings"_qs, u"SourceTop"_qs, 0) > 0); // kept on leaving
        QCOMPARE(program.prompts.questions.size(), 4); // one about the first
        QCOMPARE(program.prompts.warnings.size(), 1);
        QVERIFY(QFile::exists(program.Path("two.CSV")));
    }

    void DroppedFilesOpen()
    {
        FileProgram program;
        QMimeData mime;
        mime.setUrls({QUrl(u"http://localhost/x.CSV"_qs), QUrl::fromLocalFile(program.Put("one.CSV", "0")),
                      QUrl::fromLocalFile(program.Put("two.CSV", "4"))});
        const auto enter = [&] {
            QDragEnterEvent event(QPoint(5, 5), Qt::CopyAction, &mime, Qt::LeftButton, Qt::NoModifier);
            QCoreApplication::sendEvent(program.window.get(), &event);
            return event.isAccepted();
        };
        QVERIFY(enter());
        // Whoever drags may mean to move the files: they are only read.
        QDropEvent drop(QPointF(5, 5), Qt::CopyAction | Qt::MoveAction, &mime, Qt::LeftButton,
                        Qt::ShiftModifier);
        QCoreApplication::sendEvent(program.window.get(), &drop);
        QCOMPARE(drop.dropAction(), Qt::CopyAction);
        QVERIFY(program.NoJobLeft());
        QCOMPARE(program.DataWindows().size(), 2);
        QVERIFY(!program.Action("mnuSetupGraph")->isEnabled()); // a SAVE-mode set is active
        program.StartDownload();
        QVERIFY(!enter()); // not during a download
        QVERIFY(program.NoJobLeft());
    }

    void RecentFilesAreOffered()
    {
        FileProgram program;
        auto *const file = program.Find<QMenu>("mnuFile");
        const auto offered = [&] {
            Q_EMIT file->aboutToShow();
            QStringList texts;
            for (const QAction *const item : program.Find<QMenu>("mnuFileRecent")->actions())
                texts << item->text();
            return texts.join(u'|');
        };
        const auto choose = [&](int place) {
            Q_EMIT file->aboutToShow();
            program.Find<QMenu>("mnuFileRecent")->actions().at(place)->trigger();
            return program.NoJobLeft();
        };
        QCOMPARE(offered(), QString());
        frmData *const first = program.Open(program.Put("a&b.CSV"));
        frmData *const second = program.Open(program.Put("c.CSV"));
        program.prompts.files = {program.Path("d.CSV")};
        QVERIFY(program.Do("mnuFileSaveAs"));
        QCOMPARE(offered(), u"&1  d.CSV|&2  c.CSV|&3  a&&b.CSV||&Clear the List"_qs);
        first->showMinimized();
        QVERIFY(choose(2)); // it is open
        QCOMPARE(program.Find<QMdiArea>("workspace")->activeSubWindow(), first);
        QVERIFY(!first->isMinimized());
        QCOMPARE(program.DataWindows().size(), 2);
        QVERIFY(choose(1));
        QCOMPARE(program.DataWindows().size(), 3);
        first->Data()->SetInterval({u"0"_qs, u"0"_qs, u"0"_qs, u"7"_qs});
        program.prompts.answers = {Answer::Yes};
        first->close();
        QVERIFY(program.NoJobLeft());
        QCOMPARE(offered(), u"&1  a&&b.CSV|&2  c.CSV|&3  d.CSV||&Clear the List"_qs);
        second->close();
        QVERIFY(QFile::remove(program.Path("d.CSV")));
        QVERIFY(choose(2)); // it is gone, and leaves the list
        QCOMPARE(program.prompts.warnings.size(), 1);
        QCOMPARE(offered(), u"&1  a&&b.CSV|&2  c.CSV||&Clear the List"_qs);
        QVERIFY(choose(3));
        QCOMPARE(offered(), QString());
    }

    void SelectedRowsAreSummedUp()
    {
        FileProgram program;
        program.window->show();
        frmData *const data = program.Open(program.Put("one.CSV"));
        auto *const table = data->findChild<DataTable *>();
        const auto *const told = program.Find<QLabel>("Sel");
        const auto select = [&](int from, int to) {
            table->selectionModel()->select({table->model()->index(from, 1), table->model()->index(to, 1)},
                                            QItemSelectionModel::ClearAndSelect);
            QCoreApplication::processEvents();
            return told->text();
        };
        QCoreApplication::processEvents();
        QCOMPARE(told->text(), QString()); // the cell that is always marked
        QVERIFY(select(0, 3).startsWith(u"Rows 3, readings 2 "));
        data->Data()->AddData(u"10:00:15"_qs, u"-2.0"_qs, u"VDC"_qs, {}, {}); // into the last of these rows
        QTRY_VERIFY(told->text().startsWith(u"Rows 4, readings 3 "));
        data->Data()->MarkSaved();

        program.Open(program.Put("two.CSV"));
        QTRY_COMPARE(told->text(), QString());
        program.Find<QMdiArea>("workspace")->setActiveSubWindow(data);
        QTRY_VERIFY(told->isVisible() && told->text().startsWith(u"Rows 4,"));
        data->close();
        QTRY_COMPARE(told->text(), QString());
        QCOMPARE(program.Message(), u"two.CSV: 3 readings."_qs); // what stood there stays there
    }

    void GraphIsSetUpAndSaved()
    {
        FileProgram program;
        const frmData *const data = program.Open(program.Put("graph.CSV"));
        auto *const bar = data->findChild<QScrollBar *>(u"sbData"_qs);
        bar->setValue(1);
        QCOMPARE(data->Data()->Graph().Scroll().value, 1);
        program.Action("Graph")->trigger();
        const QPointer<frmSetting> dialog = program.Find<frmSetting>("frmSetting");
        QVERIFY(dialog && dialog->isVisible());
        QTest::keyClick(dialog, Qt::Key_Space); // the first field is the way of the X axis, Custom
        Press(dialog, "btOk");
        QTRY_VERIFY(!dialog);
        QCOMPARE(bar->value(), 0); // drawn from the first sample again
        QVERIFY(data->Data()->Saved());

        QMetaObject::invokeMethod(program.Find("chData"), "copyRequested");
        QVERIFY(QGuiApplication::clipboard()->mimeData()->hasImage());

        program.prompts.files = {program.Path("gone/graph.pdf")};
        QMetaObject::invokeMethod(program.Find("chData"), "saveAsRequested");
        QVERIFY(program.NoJobLeft());
        QVERIFY(program.prompts.fileQuestions.first().startsWith(u"save:"_qs + program.Path("graph") + u':'));
        QCOMPARE(program.prompts.warnings.size(), 1);
        QVERIFY(program.prompts.warnings.first().endsWith(u"\r\n"_qs + program.Path("gone/graph.pdf") +
                                                          u"\r\nNothing was saved."_qs));
    }
};

QTEST_MAIN(DataWindowTest)
#include "datawindow_test.moc"
