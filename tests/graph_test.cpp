#include "document/dataset.h"
#include "graph/chart.h"
#include "graph/graphexport.h"
#include "graph/graphline.h"
#include "graph/graphpane.h"
#include "graph/graphstyle.h"
#include "resources/icons.h"
#include "testing/files.h"
#include "testing/rows.h"

#include <QContextMenuEvent>
#include <QScrollBar>
#include <QTemporaryDir>
#include <QWheelEvent>

#include <algorithm>
#include <cmath>

using namespace px40;

namespace {

/// A real-time data set without a window.
struct GraphRig
{
    explicit GraphRig(int samples = 0)
    {
        set.OpenNew(KindRealtime);
        for (int i = 1; i <= samples; ++i)
            Add(QString::number(i));
    }

    void Add(const QString &reading)
    {
        static_cast<void>(set.AddGridrow());
        set.AddRealtimedata(u"10:00"_qs, reading, u"VDC"_qs, {}, {}, IsValidReading(reading));
    }

    DocumentShared shared;
    DataSet set{shared};
};

} // namespace

class GraphTest : public QObject
{
    Q_OBJECT

  private Q_SLOTS:
    void LinesDifferInLightness()
    {
        for (const QPalette &palette : {QPalette(Qt::white), QPalette(Qt::black)}) {
            const GraphStyle style = GraphStyle::ForPalette(palette, true);
            for (const QColor &line : {style.reading, style.maximum, style.minimum, LampGreen(palette)})
                QVERIFY2(Contrast(line, style.background) > 3, qPrintable(line.name()));
            QVERIFY(Contrast(style.reading, style.maximum) > 1.5);
            QVERIFY(Contrast(style.reading, style.minimum) > 1.5);
            QVERIFY(Contrast(style.maximum, style.minimum) > 1.5);
        }
    }

    void ViewFollowsTheScroll()
    {
        GraphRig rig(3);
        GraphPlot plot(&rig.set.Graph());
        plot.Fill({600, 300}, 1);
        QCOMPARE(plot.xAxis->range(), QCPRange(0.5, 20.5)); // the window is as wide as ever
        const auto maxima = plot.graph(GraphPlot::Maximum)->data();
        QVERIFY(std::isnan(maxima->at(0)->value)); // none before the first reading
        QCOMPARE(maxima->at(2)->value, 2.0);
        QCOMPARE(plot.graph(GraphPlot::Maximum)->lineStyle(),
                 QCPGraph::lsStepRight); // meets each new extreme
        for (int i = 4; i <= 30; ++i)
            rig.Add(QString::number(i));
        plot.Fill({600, 300}, 1);
        QCOMPARE(plot.xAxis->range(), QCPRange(10.5, 30.5));
        QCOMPARE(plot.graph(GraphPlot::Readings)->data()->at(19)->value, 30.0);
        rig.set.PaintGraphtop();
        plot.Fill({600, 300}, 1);
        QCOMPARE(plot.xAxis->range(), QCPRange(0.5, 20.5));
        QCOMPARE(plot.Place().Nearest(-5), 1);
        QCOMPARE(plot.Place().Nearest(1e6), 20);
    }

    void ValueAxisShowsItsLimits()
    {
        GraphRig rig;
        for (const char *const reading : {"-50", "100", "1", "+OL", "3", "+OL"})
            rig.Add(QString::fromLatin1(reading));
        rig.set.SetAxisY(false, u"0"_qs, u"50"_qs, 5, 1);
        GraphPlot plot(&rig.set.Graph());
        plot.Fill({600, 300}, 1);
        QCOMPARE(plot.graph(GraphPlot::Marks)->dataCount(), 2); // of those within, none of the gaps
        QCOMPARE(plot.graph(GraphPlot::Invalid)->dataCount(), 2);
        QCOMPARE(plot.yAxis->range(), QCPRange(0, 50));
        const auto readings = plot.graph(GraphPlot::Readings)->data();
        for (const QCPGraphData &point : *readings)
            QVERIFY(!(point.value < 0 || point.value > 50)); // cut off at the limits
    }

    void ValueAxisNamesTheMode()
    {
        GraphRig rig(3);
        GraphPlot plot(&rig.set.Graph());
        plot.Fill({600, 300}, 1);
        QCOMPARE(plot.yAxis->label(), u"VDC"_qs);
        const int left = plot.PlotRect().left();
        plot.Fill({600, 100}, 1); // too low for a legend
        QCOMPARE(plot.yAxis->label(), u"VDC"_qs);
        plot.Fill({600, 50}, 1); // no room for it
        QCOMPARE(plot.yAxis->label(), QString());
        rig.set.AddData(u"10:00"_qs, u"3"_qs, u"mVDC"_qs, {}, {});
        plot.Fill({600, 300}, 1);
        QCOMPARE(plot.yAxis->label(), QString());
        QCOMPARE(plot.PlotRect().left(), left); // nothing jumps until there is a new beginning
        plot.ForgetMargin();
        plot.Fill({600, 300}, 1);
        QVERIFY(plot.PlotRect().left() < left);
    }

    void ManySamplesArePaintedOnce()
    {
        GraphRig rig(5);
        Chart chart(&rig.set.Graph());
        chart.resize(400, 200);
        int fills = 0;
        connect(&chart, &QCustomPlot::afterLayout, this, [&] { ++fills; });
        chart.show();
        QTRY_VERIFY(fills > 0);
        QCoreApplication::processEvents();
        const int once = std::exchange(fills, 0);
        for (int i = 0; i < 1000; ++i)
            rig.Add(u"2.5"_qs);
        QTRY_VERIFY(fills > 0);
        QCoreApplication::processEvents();
        QVERIFY2(fills <= once, qPrintable(QString::number(fills)));
    }

    void GraphOutlivesItsSet()
    {
        PX40_NEEDS_UNIX();
        auto rig = std::make_unique<GraphRig>(30);
        GraphPane pane(&rig->set.Graph());
        pane.show();
        QVERIFY(QTest::qWaitForWindowExposed(&pane));
        QTest::mouseMove(pane.Graph(), pane.Graph()->rect().center());
        QTRY_COMPARE(pane.Graph()->HoverText(), u"No. 20   10:00   20 VDC"_qs);
        rig->Add(u"31"_qs); // moves the samples under the pointer
        QTRY_COMPARE(pane.Graph()->HoverText(), u"No. 21   10:00   21 VDC"_qs);
        rig->set.OpenNew(KindMemory); // no sample is left there
        QTRY_COMPARE(pane.Graph()->HoverText(), QString());
        rig.reset();
        pane.Graph()->grab();
        QTest::keyClick(pane.Graph(), Qt::Key_End);
        QVERIFY(!GraphPicture(*pane.Graph(), u"png"_qs).isEmpty());
    }

    void PicturesAreOfTheirKind()
    {
        GraphRig rig(30);
        Chart chart(&rig.set.Graph());
        chart.resize(400, 200);
        const QImage before = chart.grab().toImage();
        const QByteArray svg = GraphPicture(chart, u"svg"_qs, u"readings"_qs);
        QVERIFY(svg.contains("<svg") && !svg.contains("<image"));
        QVERIFY(svg.contains(">readings</text>") && svg.contains(">10:00</text>"));
        const QByteArray pdf = GraphPicture(chart, u"pdf"_qs);
        QVERIFY(pdf.startsWith("%PDF-") && !pdf.contains("/Subtype /Image"));
        QCOMPARE(chart.grab().toImage(), before);

        const QTemporaryDir folder;
        for (const QString &name : {u"a.PNG"_qs, u"a.txt"_qs, u"png"_qs})
            QCOMPARE(WriteGraphFile(chart, folder.filePath(name)).has_value(), name == u"a.PNG");
    }

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
        if (IsUnix) // elsewhere a line may be under the pointer
            QCOMPARE(chart.grab().toImage(), all);
        QVERIFY(!chart.IsZoomed());
    }
};

QTEST_MAIN(GraphTest)
#include "graph_test.moc"
