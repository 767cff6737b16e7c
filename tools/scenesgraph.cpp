// The graph of a data window: set up, moved, zoomed, copied and saved; and the table beside it.

#include "graph/chart.h"
#include "tools/scenes.h"
#include "tools/stage.h"

#include <QApplication>
#include <QClipboard>
#include <QMenu>
#include <QMimeData>
#include <QTableView>
#include <QTest>
#include <QWheelEvent>

using namespace Qt::Literals::StringLiterals;

namespace px40 {

namespace {

QPoint PlaceOf(const Chart *graph, int sample)
{
    const QRect plot = graph->PlotRect();
    return {plot.left() + qRound(graph->Place().X(sample)), plot.center().y()};
}

void TurnWheel(Chart *graph, int notches)
{
    const QPointF place = graph->rect().center();
    const QPoint turned(0, -notches * QWheelEvent::DefaultDeltasPerStep);
    QWheelEvent event(place, graph->mapToGlobal(place), QPoint(), turned, Qt::NoButton, Qt::NoModifier,
                      Qt::NoScrollPhase, false);
    QCoreApplication::sendEvent(graph, &event);
}

QDialog *OpenSetup(Stage &stage)
{
    stage.Choose("mnuSetupGraph");
    return stage.Dialog("frmSetting");
}

void Hover(Stage &stage)
{
    Chart *const graph = stage.Graph();
    graph->repaint();
    QTest::mouseMove(graph, PlaceOf(graph, 18));
    stage.Wait([graph] { return !graph->HoverText().isEmpty(); });
    stage.Take("14-graph-hover");
    QTest::mouseMove(stage.window.get(), QPoint(2, 2));
    stage.Wait([graph] { return graph->HoverText().isEmpty(); });
}

void Setup(Stage &stage)
{
    QDialog *dialog = OpenSetup(stage);
    stage.Take("15a-graph-setup", {dialog});
    stage.Type(dialog, {{"tbEnd", u"10"_s}});
    stage.Take("15b-graph-setup-custom", {dialog});
    stage.Type(dialog, {{"tbTick", u"none"_s}});
    stage.Click("btOk", dialog);
    stage.Take("15c-graph-setup-illegal", {dialog, stage.Box()});
    stage.Dismiss();
    stage.Take("15d-graph-setup-refused", {stage.Dialog("frmSetting")});
    stage.Type(dialog, {{"tbTick", u"1"_s}, {"tbLabel", u"2"_s}});
    stage.Click("btApply", dialog);
    stage.Graph()->repaint();
    stage.Take("15e-graph-setup-applied", {dialog});
    stage.CloseDialog(dialog, "btOk");

    TurnWheel(stage.Graph(), 7);
    stage.Take("16a-graph-scrolled-by-wheel");
    stage.Click(stage.Graph());
    QTest::keyClick(stage.Graph(), Qt::Key_PageDown);
    QTest::keyClick(stage.Graph(), Qt::Key_Right);
    stage.Take("16b-graph-scrolled-by-key");
    QTest::keyClick(stage.Graph(), Qt::Key_Home);

    dialog = OpenSetup(stage);
    stage.Click("obXauto", dialog);
    stage.Type(dialog, {{"tbMin", u"-5"_s}, {"tbMax", u"15"_s}, {"tbMajor", u"4"_s}, {"tbMinor", u"5"_s}});
    stage.Take("15f-graph-setup-custom-y", {dialog});
    stage.CloseDialog(dialog, "btOk");
    stage.Take("16c-graph-custom-y");
    dialog = OpenSetup(stage);
    stage.Click("obYauto", dialog);
    stage.CloseDialog(dialog, "btOk");
}

void Zoom(Stage &stage)
{
    Chart *const graph = stage.Graph();
    const QPoint end = PlaceOf(graph, 31);
    QTest::mousePress(graph, Qt::LeftButton, {}, PlaceOf(graph, 12));
    QTest::mouseMove(graph, end);
    stage.Take("16d-graph-dragged-over");
    QTest::mouseRelease(graph, Qt::LeftButton, {}, end);
    stage.ChooseItem(stage.OpenContextMenu(graph, end), u"MAX"_s);
    stage.Take("16e-graph-zoomed");
    graph->setFocus();
    QTest::keyClick(graph, Qt::Key_Escape);
    stage.ChooseItem(stage.OpenContextMenu(graph, end), u"MAX"_s);
}

void Copies(Stage &stage)
{
    auto *const table = stage.Find<QTableView>("fgData", stage.Data());
    table->setFocus();
    QTest::keyClick(table, Qt::Key_A, Qt::ControlModifier);
    stage.Wait([&] { return stage.Find<QWidget>("Sel")->isVisible(); });
    stage.Take("17a-table-selected");
    QTest::mouseClick(table->viewport(), Qt::LeftButton, {},
                      table->visualRect(table->model()->index(0, 1)).center());

    Chart *const graph = stage.Graph();
    QMenu *const menu = stage.OpenContextMenu(graph, PlaceOf(graph, 25));
    stage.Take("17b-graph-menu", {menu});
    stage.ChooseItem(menu, u"Copy Graph"_s);
    const auto copied = [] { return QApplication::clipboard()->mimeData()->hasImage(); };
    stage.Wait(copied);
    stage.ChooseItem(stage.OpenContextMenu(graph, PlaceOf(graph, 5)), u"Save Graph As..."_s);
    stage.Take("17c-save-graph-as", {stage.FileDialog()});
    stage.ChooseFile(Stage::Document(u"drift.png"_s));
    stage.Idle();
    stage.Keep("17d-saved-graph", Stage::Document(u"drift.png"_s));
}

} // namespace

void Graph(Stage &stage)
{
    StartWithReadings(stage);
    Hover(stage);
    Setup(stage);
    Zoom(stage);
    Copies(stage);
}

} // namespace px40
