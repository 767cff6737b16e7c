// What the user does with the graph.

#include "graph/chart.h"
#include "graph/graphexport.h"
#include "graph/graphpane.h"
#include "tests/graphrig.h"

#include <QContextMenuEvent>
#include <QScrollBar>
#include <QTest>
#include <QWheelEvent>

#include <tuple>
#include <utility>

using namespace px40;

class ChartTest : public QObject
{
    Q_OBJECT

  private Q_SLOTS:
    void WheelAndKeysMoveTheView()
    {
        GraphRig rig(100);
        rig.set.PaintGraphtop();
        GraphPane pane(&rig.set.Graph());
        Chart *const chart = pane.Graph();
        auto *const bar = pane.findChild<QScrollBar *>(u"sbData"_qs);
        const auto turn = [&](int x, int y) {
            QWheelEvent event({50, 50}, {50, 50}, {}, {x, y}, Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase,
                              false);
            QApplication::sendEvent(chart, &event);
            return bar->value();
        };
        QCOMPARE(turn(0, -120), 2);
        QCOMPARE(turn(-120, 0), 4);
        turn(0, -30);
        QCOMPARE(turn(0, -30), 5); // half a notch in two steps
        QCOMPARE(turn(0, 1200), 0);
        bar->setValue(80);
        QTest::keyClick(chart, Qt::Key_Left);
        QCOMPARE(rig.set.Graph().Scroll().value, 79);
        rig.set.SetGraphcount(200);
        rig.set.PaintGraphtop();
        QVERIFY(!bar->isEnabled());
    }

    void WindowsOfSamplesStayWithin()
    {
        const auto shown = [](const SampleWindow &window) { return std::pair(window.skipped, window.count); };
        using Pair = std::pair<qint32, int>;
        QCOMPARE(shown(SampleWindow::Of(3, 7, 100)), Pair(2, 5));
        QCOMPARE(shown(SampleWindow::Of(100, 100, 100)), Pair(98, 2)); // two at least
        QCOMPARE(shown(SampleWindow::Of(1, 1, 1)), Pair(0, 2));
        QCOMPARE(shown(SampleWindow{40, 20}.Resized(10, 100)), Pair(45, 10));
        QCOMPARE(shown(SampleWindow{40, 3}.Resized(1, 100)), Pair(40, 2));
        QCOMPARE(shown(SampleWindow{40, 20}.Resized(40, 100)), Pair(30, 40));
        QCOMPARE(shown(SampleWindow{90, 10}.Resized(20, 100)), Pair(80, 20));
        const CategoryPlace place{11, 10, 15, 100, 0, 0}; // ten pixels each, half of them empty
        const auto between = [&](double a, double b) { return SamplesBetween(place.At(a), place.At(b), 15); };
        QCOMPARE(between(29, 10), (std::pair<qint32, qint32>(12, 13)));
        QCOMPARE(between(-50, 500), (std::pair<qint32, qint32>(6, 15))); // five have left the view
        QCOMPARE(between(-500, 500), (std::pair<qint32, qint32>(1, 15)));
        QVERIFY(!between(60, 90));
    }

    void ZoomIsTheViewsAlone()
    {
        GraphRig rig(100);
        rig.set.SetGraphcount(50);
        rig.set.PaintGraphtop();
        rig.set.MarkSaved();
        GraphPane pane(&rig.set.Graph());
        pane.resize(800, 400);
        pane.show();
        Chart *const chart = pane.Graph();
        auto *const bar = pane.findChild<QScrollBar *>(u"sbData"_qs);
        chart->grab();
        const auto at = [&](qint32 sample) {
            return QPoint(chart->PlotRect().left() + qRound(chart->Place().X(sample)), 150);
        };
        const auto drag = [&](const QPoint &from, const QPoint &to) {
            QTest::mousePress(chart, Qt::LeftButton, {}, from);
            QTest::mouseMove(chart, to);
            QTest::mouseRelease(chart, Qt::LeftButton, {}, to);
            chart->grab();
            return std::pair(chart->Place().first, chart->Place().count);
        };
        using Pair = std::pair<qint32, int>;
        QCOMPARE(drag(at(10), at(10) + QPoint(3, 0)), Pair(1, 50)); // a click
        QVERIFY(!chart->IsZoomed());
        QCOMPARE(drag(at(29), at(10)), Pair(10, 20));
        QCOMPARE(std::tuple(bar->value(), bar->pageStep(), bar->maximum()), std::tuple(9, 20, 80));
        QCOMPARE(rig.set.Graph().Settings().count, 50);
        QCOMPARE(rig.set.Graph().Scroll().value, 0);
        QVERIFY(rig.set.Saved());

        rig.Add(u"7"_qs); // a run goes on, and its own view with it
        chart->grab();
        QCOMPARE(chart->Place().first, 10);
        QCOMPARE(rig.set.Graph().Scroll().value, 51);
        QTest::keyClick(chart, Qt::Key_PageDown);
        QTest::keyClick(chart, Qt::Key_Left);
        QCOMPARE(chart->Window().skipped, 28);
        bar->setValue(5);
        QCOMPARE(chart->Window(), (SampleWindow{5, 20}));
        QCOMPARE(rig.set.Graph().Scroll().value, 51);

        const QByteArray zoomed = GraphPicture(*chart, u"svg"_qs);
        for (const auto &[key, count] : {std::pair(Qt::Key_Plus, 10), std::pair(Qt::Key_Minus, 20),
                                         std::pair(Qt::Key_Minus, 40), std::pair(Qt::Key_Minus, 50)}) {
            QTest::keyClick(chart, key);
            QCOMPARE(chart->Window().count, count);
        }
        QVERIFY(!chart->IsZoomed());
        QCOMPARE(bar->value(), 51);
        QVERIFY(GraphPicture(*chart, u"svg"_qs) != zoomed);
        for (const int way : {0, 1, 2}) {
            chart->grab();
            drag(at(60), at(70));
            QVERIFY(chart->IsZoomed());
            if (way == 0)
                QTest::keyClick(chart, Qt::Key_Escape);
            else if (way == 1)
                QTest::mouseDClick(chart, Qt::LeftButton, {}, at(65));
            else
                rig.set.PaintGraphtop(); // as the graph setup does
            QVERIFY(!chart->IsZoomed());
            QCOMPARE(bar->value(), rig.set.Graph().Scroll().value);
        }
        for (const bool isZoomed : {false, true}) {
            chart->grab();
            QTest::mousePress(chart, Qt::LeftButton, {}, at(5));
            QTest::mouseMove(chart, at(20));
            QTest::keyClick(chart, Qt::Key_Escape); // thought better of it
            QTest::mouseRelease(chart, Qt::LeftButton, {}, at(20));
            QCOMPARE(chart->IsZoomed(), isZoomed);
            drag(at(1), at(30));
        }

        QTest::keyClick(chart, Qt::Key_Escape);
        rig.set.Graph().ScrollTo(51);
        chart->grab();
        QTest::mousePress(chart, Qt::LeftButton, {}, at(60));
        for (int i = 0; i < 10; ++i) // a run goes on below the mouse
            rig.Add(u"8"_qs);
        chart->grab();
        QTest::mouseMove(chart, at(90));
        QTest::mouseRelease(chart, Qt::LeftButton, {}, at(90));
        QCOMPARE(chart->Window(), SampleWindow::Of(60, 90, rig.set.GetDatacount()));

        QTest::keyClick(chart, Qt::Key_Escape);
        chart->grab();
        QTest::mousePress(chart, Qt::LeftButton, {}, at(70));
        QMouseEvent strayed(QEvent::MouseMove, at(90), at(90), Qt::NoButton, {}, {});
        QApplication::sendEvent(chart, &strayed); // a box has taken the release
        QTest::mouseRelease(chart, Qt::LeftButton, {}, at(90));
        QVERIFY(!chart->IsZoomed());
    }

    void ZoomOfAFewSamplesGoesBackToAll()
    {
        for (const int samples : {1, 3}) {
            GraphRig rig(samples);
            rig.set.SetGraphcount(20);
            rig.set.PaintGraphtop();
            Chart chart(&rig.set.Graph());
            chart.resize(600, 300);
            chart.show();
            for (int i = 0; i < 5; ++i)
                QTest::keyClick(&chart, Qt::Key_Plus);
            QVERIFY(chart.IsZoomed());
            QTest::keyClick(&chart, Qt::Key_Minus); // from two samples to all
            QVERIFY(!chart.IsZoomed());
        }
    }

    void ZoomedSamplesHaveLabelsWhateverTheDivisions()
    {
        GraphRig rig(200);
        rig.set.SetAxisX(false, 50, 50);
        rig.set.PaintGraphtop();
        GraphPlot plot(&rig.set.Graph());
        plot.SetZoom(SampleWindow::Of(60, 90, 200));
        plot.Fill(QSize(800, 400), 1);
        QVERIFY(plot.xAxis->tickVector().size() > 2);
    }

    void HiddenLinesDoNotCount()
    {
        GraphRig rig;
        for (const char *const reading : {"-50", "100", "1", "2", "3"})
            rig.Add(QString::fromLatin1(reading));
        rig.set.SetGraphcount(2);
        rig.set.PaintGraphtop();
        rig.set.Graph().ScrollTo(3); // readings 2 and 3 between the extremes
        Chart chart(&rig.set.Graph());
        chart.resize(600, 300);
        chart.show();
        const auto entry = [&](GraphPlot::Drawing drawing) {
            for (int x = 0; x < chart.width(); ++x) {
                if (chart.LegendAt(QPointF(x, 10)) == drawing)
                    return QPoint(x + 5, 10);
            }
            return QPoint();
        };
        const auto range = [&] {
            chart.grab();
            return chart.yAxis->range();
        };
        QVERIFY(range().contains(-50) && range().contains(100));
        const QImage all = chart.grab().toImage();
        QTest::mouseClick(&chart, Qt::LeftButton, {}, entry(GraphPlot::Maximum));
        QVERIFY(range().contains(-50) && !range().contains(50));
        const QByteArray picture = GraphPicture(chart, u"svg"_qs);
        QVERIFY(picture.contains(">MIN</text>") && !picture.contains(">MAX</text>"));
        QTest::mouseClick(&chart, Qt::LeftButton, {}, entry(GraphPlot::Minimum));
        QVERIFY(range().lower > 1 && range().upper < 4);

        // By keys: the menu, its third entry, the line of the readings.
        QContextMenuEvent event(QContextMenuEvent::Keyboard, QPoint(5, 5), QPoint(5, 5), Qt::NoModifier);
        QCoreApplication::sendEvent(&chart, &event);
        QWidget *const menu = QApplication::activePopupWidget();
        QVERIFY(menu);
        for (const Qt::Key key : {Qt::Key_Down, Qt::Key_Down, Qt::Key_Down, Qt::Key_Return})
            QTest::keyClick(menu, key);
        QCOMPARE(range(), QCPRange(0, 10)); // there is nothing left to be scaled to
        QVERIFY(!chart.graph(GraphPlot::Marks)->visible());
        for (const GraphPlot::Drawing drawing : GraphPlot::LegendOrder) {
            QVERIFY(chart.IsHidden(drawing));
            QTest::mouseClick(&chart, Qt::LeftButton, {}, entry(drawing));
        }
        QCOMPARE(chart.grab().toImage(), all);
        QVERIFY(!chart.IsZoomed());
    }
};

QTEST_MAIN(ChartTest)
#include "chart_test.moc"
