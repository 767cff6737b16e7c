// The graph of a data window: seen, set up, moved, copied and saved.

#include "tools/tour.h"

#include "document/frmdata.h"
#include "graph/chart.h"
#include "source/frmsource.h"
#include "tools/stage.h"
#include "tools/tourchecks.h"

#include <QApplication>
#include <QClipboard>
#include <QFile>
#include <QImage>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMessageBox>
#include <QMimeData>
#include <QPointer>
#include <QRadioButton>
#include <QScrollBar>
#include <QStandardPaths>
#include <QTableView>
#include <QToolTip>
#include <QWheelEvent>

using namespace Qt::Literals::StringLiterals;

namespace px40 {

namespace {

constexpr int DataRange = 10;

Chart *Graph(const Stage &stage)
{
    return stage.Find<Chart>(u"chData"_s, stage.DataWindows().first());
}

DataSet *Set(const Stage &stage)
{
    return stage.DataWindows().first()->Data().get();
}

QPoint PlaceOf(const Chart *graph, int sample)
{
    const QRect plot = graph->PlotRect();
    return {plot.left() + qRound(graph->Place().X(sample)), plot.center().y()};
}

QWidget *ToolTip()
{
    const QWidgetList windows = QApplication::topLevelWidgets();
    for (QWidget *const one : windows) {
        if (one->windowType() == Qt::ToolTip && one->isVisible())
            return one;
    }
    return nullptr;
}

void TurnWheel(Chart *graph, int notches)
{
    const QPointF place = graph->rect().center();
    const QPoint turned(0, -notches * QWheelEvent::DefaultDeltasPerStep);
    QWheelEvent event(place, graph->mapToGlobal(place), QPoint(), turned, Qt::NoButton, Qt::NoModifier,
                      Qt::NoScrollPhase, false);
    QCoreApplication::sendEvent(graph, &event);
}

void RequireView(const Stage &stage, int behind)
{
    const int value = stage.Find<QScrollBar>(u"sbData"_s, stage.DataWindows().first())->value();
    const int first = Graph(stage)->Place().first;
    Require(Set(stage)->Graph().Scroll().value == behind && value == behind && first == behind + 1,
            u"The graph begins at sample %1 with its scroll bar at %2."_s.arg(first).arg(value));
}

/// Lets the program draw what has just been changed.
void Redraw(Chart *graph)
{
    graph->repaint();
}

QDialog *OpenSetup(Stage &stage)
{
    stage.Choose(u"mnuSetup"_s, u"mnuSetupGraph"_s);
    return stage.AwaitDialog(u"frmSetting"_s);
}

} // namespace

/// Where the graph and the files begin: a finished download in a roomy window, which nothing covers.
void Tour::StartWithReadings(Stage &stage)
{
    stage.Start(false);
    Await([&stage] { return stage.services.comm.IsOpen() && stage.Idle(); }, u"The program did not start."_s);
    stage.Choose(u"mnuView"_s, u"mnuViewMoniter"_s);
    Await([&stage] { return !stage.Moniter(); }, u"The View menu does not close MEASURE."_s);
    stage.ClickTool(u"Source"_s);
    Await([&stage] { return !stage.Source(); }, u"The tool button does not close SOURCE."_s);
    RequireSourceChecked(stage, false);
    stage.window->resize(RoomyWindow);
    stage.ClickTool(u"Mdata"_s);
    stage.DownloadOnly();
    AwaitIdle(stage);
    RequireWholeSet(stage, stage.DataWindows().last());
}

void Tour::HoverGraph(Stage &stage)
{
    static constexpr int Sample = 18;
    Chart *const graph = Graph(stage);
    Redraw(graph);
    Require(graph->Place().count == StoredReadings, u"The graph does not show all readings."_s);
    const QImage before = graph->grab().toImage();
    QTest::mouseMove(graph, PlaceOf(graph, Sample));
    Await([] { return ToolTip() != nullptr; }, u"The graph does not tell about a reading."_s);
    RequireText(u"What the graph tells about a reading"_s, QToolTip::text(),
                Set(stage)->Table().SampleText(Sample));
    Require(graph->grab().toImage() != before, u"The graph does not mark the reading."_s);
    camera_.Take(u"14-graph-hover"_s, {stage.window.get(), ToolTip()});
    QTest::mouseMove(stage.window.get(), QPoint(2, 2));
    Await([] { return ToolTip() == nullptr; }, u"The graph does not stop telling."_s);
}

void Tour::GraphSetup(Stage &stage)
{
    QDialog *const dialog = OpenSetup(stage);
    const auto *const automatic = stage.Find<QRadioButton>(u"obXauto"_s, dialog);
    const auto *const custom = stage.Find<QRadioButton>(u"obXuser"_s, dialog);
    Require(automatic->isChecked(), u"The X axis does not begin as an automatic one."_s);
    RequireText(u"The data range as it opens"_s, stage.Find<QLineEdit>(u"tbEnd"_s, dialog)->text(), u"50"_s);
    camera_.Take(u"15a-graph-setup"_s, {stage.window.get(), dialog});

    stage.Type(dialog, u"tbEnd"_s, QString::number(DataRange));
    Require(custom->isChecked(), u"Typing does not make the X axis a custom one."_s);
    camera_.Take(u"15b-graph-setup-custom"_s, {stage.window.get(), dialog});

    stage.Type(dialog, u"tbTick"_s, u"none"_s);
    stage.ClickButton(dialog, u"btOk"_s);
    QMessageBox *const box = stage.AwaitBox();
    RequireRefusal(
        box, dialog->focusWidget(),
        u"Illegal value.\nX axis, Number of categories between tick marks: a whole number from 1 to 32767."_s);
    camera_.Take(u"15c-graph-setup-illegal"_s, {stage.window.get(), dialog, box});
    stage.Answer(box, QMessageBox::Ok);
    AwaitIdle(stage);
    const auto *const refused = stage.Find<QLineEdit>(u"tbTick"_s, dialog);
    Require(dialog->isVisible() && dialog->focusWidget() == refused &&
                refused->selectedText() == refused->text(),
            u"The refused field is not ready for another value."_s);
    Require(Set(stage)->Graph().Settings().count == StoredReadings,
            u"A refused setting changed the graph."_s);
    camera_.Take(u"15d-graph-setup-refused"_s, {stage.window.get(), stage.AwaitDialog(u"frmSetting"_s)});

    stage.Type(dialog, u"tbTick"_s, u"1"_s);
    stage.Type(dialog, u"tbLabel"_s, u"2"_s);
    stage.ClickButton(dialog, u"btApply"_s);
    Require(dialog->isVisible(), u"Apply closes the graph setup."_s);
    Require(Set(stage)->Graph().Settings().count == DataRange, u"Apply does not set the data range."_s);
    Redraw(Graph(stage));
    camera_.Take(u"15e-graph-setup-applied"_s, {stage.window.get(), dialog});
    stage.CloseDialog(dialog, u"btOk"_s);
}

void Tour::ScrollGraph(Stage &stage)
{
    Chart *const graph = Graph(stage);
    TurnWheel(graph, 7);
    Redraw(graph);
    RequireView(stage, 7);
    camera_.Take(u"16a-graph-scrolled-by-wheel"_s, {stage.window.get()});

    Stage::Click(graph);
    QTest::keyClick(graph, Qt::Key_PageDown);
    QTest::keyClick(graph, Qt::Key_Right);
    Redraw(graph);
    RequireView(stage, 7 + DataRange + 1);
    camera_.Take(u"16b-graph-scrolled-by-key"_s, {stage.window.get()});
    QTest::keyClick(graph, Qt::Key_End);
    Redraw(graph);
    RequireView(stage, StoredReadings - DataRange);
    QTest::keyClick(graph, Qt::Key_Home);
    Redraw(graph);
    RequireView(stage, 0);
}

void Tour::GraphValueAxis(Stage &stage)
{
    QDialog *dialog = OpenSetup(stage);
    Stage::Click(stage.Find<QRadioButton>(u"obXauto"_s, dialog));
    stage.Type(dialog, u"tbMin"_s, u"-5"_s);
    stage.Type(dialog, u"tbMax"_s, u"15"_s);
    stage.Type(dialog, u"tbMajor"_s, u"4"_s);
    stage.Type(dialog, u"tbMinor"_s, u"5"_s);
    Require(stage.Find<QRadioButton>(u"obYuser"_s, dialog)->isChecked(),
            u"Typing does not make the Y axis a custom one."_s);
    camera_.Take(u"15f-graph-setup-custom-y"_s, {stage.window.get(), dialog});
    stage.CloseDialog(dialog, u"btOk"_s);
    RequireText(u"The Y axis"_s, Set(stage)->GetAxisY().join(u' '), u"False -5 15 4 5"_s);
    Redraw(Graph(stage));
    camera_.Take(u"16c-graph-custom-y"_s, {stage.window.get()});

    dialog = OpenSetup(stage);
    Stage::Click(stage.Find<QRadioButton>(u"obYauto"_s, dialog));
    stage.CloseDialog(dialog, u"btOk"_s);
    Require(Set(stage)->Graph().Settings().count == StoredReadings,
            u"An automatic X axis does not show all readings."_s);
}

void Tour::ZoomGraph(Stage &stage)
{
    Chart *const graph = Graph(stage);
    const QPoint from = PlaceOf(graph, 12);
    const QPoint to = PlaceOf(graph, 31);
    QTest::mousePress(graph, Qt::LeftButton, {}, from);
    QTest::mouseMove(graph, to);
    camera_.Take(u"16d-graph-dragged-over"_s, {stage.window.get()});
    QTest::mouseRelease(graph, Qt::LeftButton, {}, to);
    Redraw(graph);
    Require(graph->Window() == SampleWindow{11, 20}, u"A drag does not zoom to its samples."_s);
    Require(Set(stage)->Graph().Settings().count == StoredReadings,
            u"A zoom changes the graph's settings."_s);
    Stage::ChooseItem(Stage::OpenContextMenu(graph, to), u"MAX"_s);
    Redraw(graph);
    Require(graph->IsHidden(GraphPlot::Maximum), u"The menu does not hide a line."_s);
    camera_.Take(u"16e-graph-zoomed"_s, {stage.window.get()});
    graph->setFocus();
    QTest::keyClick(graph, Qt::Key_Escape);
    Stage::ChooseItem(Stage::OpenContextMenu(graph, to), u"MAX"_s);
    Redraw(graph);
    Require(!graph->IsZoomed() && !graph->IsHidden(GraphPlot::Maximum), u"The graph does not go back."_s);
}

void Tour::CopyTable(Stage &stage)
{
    auto *const table = stage.Find<QTableView>(u"fgData"_s, stage.DataWindows().first());
    table->setFocus();
    QTest::keyClick(table, Qt::Key_A, Qt::ControlModifier);
    const TableModel &model = Set(stage)->Table();
    Require(table->selectionModel()->selectedIndexes().size() == StoredReadings * TableModel::Columns,
            u"Ctrl+A does not select the whole table."_s);
    const auto *const told = stage.Find<QLabel>(u"Sel"_s);
    Await([told] { return told->isVisible() && told->text().startsWith(u"Rows 50, "); },
          u"The status bar does not sum up the selected rows."_s);
    camera_.Take(u"17a-table-selected"_s, {stage.window.get()});
    QTest::keyClick(table, Qt::Key_C, Qt::ControlModifier);
    const QStringList lines = QApplication::clipboard()->text().split(u'\n', Qt::SkipEmptyParts);
    Require(lines.size() == StoredReadings + 1, u"Ctrl+C copies %1 lines."_s.arg(lines.size()));
    QStringList headings;
    QStringList lastRow;
    for (int column = 0; column < TableModel::Columns; ++column) {
        headings << model.Heading(column);
        lastRow << model.Cell(StoredReadings, column);
    }
    RequireText(u"The copied heading"_s, lines.first(), headings.join(u'\t'));
    RequireText(u"The last copied row"_s, lines.last(), lastRow.join(u'\t'));
    QTest::mouseClick(table->viewport(), Qt::LeftButton, {}, table->visualRect(model.index(0, 1)).center());
}

void Tour::CopyGraph(Stage &stage)
{
    Chart *const graph = Graph(stage);
    QMenu *const menu = Stage::OpenContextMenu(graph, PlaceOf(graph, StoredReadings / 2));
    camera_.Take(u"17b-graph-menu"_s, {stage.window.get(), menu});
    Stage::ChooseItem(menu, u"Copy Graph"_s);
    const auto copied = [] {
        const QMimeData *const mime = QApplication::clipboard()->mimeData();
        return mime && mime->hasImage() && mime->hasFormat(u"image/svg+xml"_s);
    };
    Await(copied, u"The menu does not copy the graph."_s);
    QApplication::clipboard()->clear();
    graph->setFocus();
    QTest::keyClick(graph, Qt::Key_C, Qt::ControlModifier);
    Await(copied, u"Ctrl+C does not copy the graph."_s);
}

void Tour::SaveGraph(Stage &stage)
{
    struct Kind
    {
        const char16_t *suffix;
        const char *begin;
    };
    static constexpr Kind Kinds[] = {{u"png", "\x89PNG\r\n"}, {u"svg", "<?xml"}, {u"pdf", "%PDF-"}};
    const QString base = QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation) + u"/drift."_s;
    Chart *const graph = Graph(stage);
    for (const Kind &kind : Kinds) {
        const QString name = base + QString::fromUtf16(kind.suffix);
        Stage::ChooseItem(Stage::OpenContextMenu(graph, PlaceOf(graph, 5)), u"Save Graph As..."_s);
        QDialog *const dialog = stage.AwaitFileDialog();
        if (&kind == Kinds)
            camera_.Take(u"17c-save-graph-as"_s, {stage.window.get(), dialog});
        stage.ChooseFile(dialog, name);
        AwaitIdle(stage);
        QFile file(name);
        Require(file.open(QIODevice::ReadOnly) && file.readAll().startsWith(kind.begin),
                u"\"%1\" is not the graph's file."_s.arg(name));
    }
    camera_.Keep(u"17d-saved-graph"_s, base + u"png"_s);
}

} // namespace px40
