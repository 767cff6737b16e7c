#include "document/dataset.h"
#include "graph/chart.h"
#include "graph/graphexport.h"
#include "graph/graphline.h"
#include "graph/graphpane.h"
#include "testing/rows.h"
#include "tests/graphrig.h"

#include <QTemporaryDir>
#include <QToolTip>

#include <algorithm>
#include <cmath>

using namespace px40;

namespace {

GraphSeries Series(const std::vector<float> &readings)
{
    GraphSeries series;
    for (const float reading : readings)
        series.Append({reading, GraphPoint::Nothing, GraphPoint::Nothing});
    return series;
}

QString Shown(const Line &line)
{
    QStringList points;
    for (const QCPGraphData &point : line)
        points << (std::isnan(point.value) ? u"-"_qs : u"%1:%2"_qs.arg(point.key).arg(point.value));
    return points.join(u' ');
}

constexpr float None = GraphPoint::Nothing;

using Number = std::tuple<double, const char *, const char *>; // plain and with an exponent
/// Readings, the first sample of the view, samples a column; the line.
using Thinned = std::tuple<std::vector<float>, qint32, int, const char *>;

} // namespace

class GraphTest : public QObject
{
    Q_OBJECT

  private Q_SLOTS:
    void AxisNumbersFollowTheirFormat_data()
    {
        AddRows<Number>({
            {"negative zero", {-0.0, "0.0", "0.0E0"}},
            {"rounded up", {0.00005, "0.0001", "5.0E-5"}},
            {"nothing left", {-0.00004, "0.0", "-4.0E-5"}},
            {"half, as it reads", {2.00005, "2.0001", "2.0001E0"}},
            {"carried", {-9.99996, "-10.0", "-1.0E1"}},
            {"tiny", {1e-12, "0.0", "1.0E-12"}},
            {"large", {1.23456789e17, "123456789000000000.0", "1.2346E17"}},
        });
    }

    void AxisNumbersFollowTheirFormat()
    {
        const auto [value, plain, exponent] = ThisRow<Number>();
        QCOMPARE(AxisNumber(value, AxisFormat::Plain), QString::fromLatin1(plain));
        QCOMPARE(AxisNumber(value, AxisFormat::Exponent), QString::fromLatin1(exponent));
    }

    void ValueAxesHaveLimits()
    {
        const auto range = [](const QString &minimum, const QString &maximum, bool automatic = false) {
            GraphSettings settings;
            settings.yAuto = automatic;
            settings.yMinimum = minimum;
            settings.yMaximum = maximum;
            return CustomValueRange(settings);
        };
        QVERIFY(range(u"0"_qs, u"0.01"_qs));
        QVERIFY(!range(u"1"_qs, u"1.005"_qs, true));
        QVERIFY(!range(u"1"_qs, u"1"_qs)); // a file may hold these
        QCOMPARE(CustomValueTicks({1, 1.005}, 1, 1, 300, 15).labels.front(), u"1.0E0"_qs);
        QCOMPARE(CustomValueTicks({0, 0.01}, 1, 1, 300, 15).labels.front(), u"0.0"_qs);
    }

    void ValueAxesAreReadable()
    {
        const std::pair<double, double> readings[] = {
            {1.0023, 1.0031}, {0, 0}, {-3e38, 3e38}, {1, 1.0000001}};
        for (const auto &[lowest, highest] : readings) {
            const ValueRange range = AutomaticValueRange(lowest, highest);
            QVERIFY(range.minimum < lowest && range.maximum > highest);
            const ValueTicks ticks = AutomaticValueTicks(range, 300, 15);
            QVERIFY(ticks.labels.size() >= 2 && ticks.labels.size() <= 20);
            QVERIFY(std::adjacent_find(ticks.labels.begin(), ticks.labels.end()) == ticks.labels.end());
        }
        const ValueTicks few = CustomValueTicks({0, 1}, 4, 2, 300, 15);
        QCOMPARE(QStringList(few.labels).join(u' '), u"0.0 0.25 0.5 0.75 1.0"_qs);
        QCOMPARE(few.plain, (QVector<double>{0.125, 0.375, 0.625, 0.875}));
        const ValueTicks many = CustomValueTicks({0, 1}, 32767, 32767, 300, 15);
        QVERIFY(many.labels.size() >= 5 && many.labels.size() <= 16 && many.plain.size() <= 100);
    }

    void CategoriesAreAnchoredAndApart()
    {
        using Samples = std::pair<std::vector<qint32>, std::vector<qint32>>; // with labels, with ticks
        // Labels are 45 pixels wide; a spacing of 0 is the automatic one.
        const auto chosen = [](qint32 first, int count, qint32 last, double room, int spacing) {
            GraphSettings settings;
            settings.xAuto = spacing == 0;
            settings.xLabels = settings.xTicks = spacing;
            const CategoryTicks ticks =
                ChooseCategories({first, count, last, room, 30, 0}, settings, [](qint32) { return 45.0; });
            return Samples{ticks.labelled, ticks.ticks};
        };
        QCOMPARE(chosen(1, 4, 2, 400, 0), (Samples{{1, 2}, {1, 2, 3, 4}})); // no label behind the data
        QCOMPARE(chosen(4, 10, 13, 120, 0), (Samples{{6, 11}, {4, 5, 6, 7, 8, 9, 10, 11, 12, 13}}));
        QCOMPARE(chosen(1, 20, 20, 200, 3), (Samples{{1, 7, 13}, {1, 4, 7, 10, 13, 16, 19}}));
        // A long view measures few labels.
        int measured = 0;
        const auto labelWidth = [&](qint32) { return ++measured, 60.0; };
        const CategoryTicks ticks = ChooseCategories({1, 32767, 32767, 800, 40, 10}, {}, labelWidth);
        QVERIFY2(measured < 200 && ticks.ticks.size() < 300, qPrintable(QString::number(measured)));
    }

    /// Columns that are several samples wide begin at the same samples in every view.
    void LinesKeepWhatIsSeen_data()
    {
        const std::vector<float> gaps = {None, 2,    9,    1,    3, None, None, None,
                                         None, None, None, None, 5, 5,    5,    5};
        AddRows<Thinned>({
            {"all of them", {{1, None, 2}, 1, 1, "1:1 - 3:2"}},
            {"gaps", {gaps, 1, 4, "2:2 3:9 4:1 5:3 - 13:5 16:5"}},
            {"from within a column", {gaps, 3, 4, "3:9 4:1 5:3 - 13:5 16:5"}},
            {"peak, then trough", {{5, 9, 1, 4}, 1, 4, "1:5 2:9 3:1 4:4"}},
            {"trough, then peak", {{5, 1, 9, 4}, 1, 4, "1:5 2:1 3:9 4:4"}},
            {"in two columns", {{5, 1, 9, 4, 4, 4, 8, 2}, 1, 4, "1:5 2:1 3:9 4:4 5:4 7:8 8:2"}},
        });
    }

    void LinesKeepWhatIsSeen()
    {
        const auto [readings, first, perColumn, line] = ThisRow<Thinned>();
        const auto last = static_cast<qint32>(readings.size());
        QCOMPARE(Shown(SeriesLine(Series(readings), &GraphPoint::reading, first, last, perColumn)),
                 QString::fromLatin1(line));
    }

    void LinesAreCutOffAtTheLimits()
    {
        const Line line{{1, 0}, {2, 4}, {3, 2}, {4, -8}, {5, 12}, {6, None}, {7, 5}};
        QCOMPARE(Shown(ClippedLine(line, 1, 3)), u"- 1.25:1 1.75:3 - 2.5:3 3:2 3.1:1 - 4.45:1 4.55:3 - -"_qs);
        QCOMPARE(Shown(LonePoints({{1, 1}, {2, None}, {3, 2}, {4, None}, {5, 3}, {6, 4}})), u"1:1 3:2"_qs);
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
        auto rig = std::make_unique<GraphRig>(30);
        GraphPane pane(&rig->set.Graph());
        pane.show();
        QVERIFY(QTest::qWaitForWindowExposed(&pane));
        QTest::mouseMove(pane.Graph(), pane.Graph()->rect().center());
        QTRY_COMPARE(QToolTip::text(), u"No. 20\n10:00\n20 VDC"_qs);
        rig->Add(u"31"_qs); // moves the samples under the pointer
        QTRY_COMPARE(QToolTip::text(), u"No. 21\n10:00\n21 VDC"_qs);
        rig->set.OpenNew(KindMemory); // no sample is left there
        QTRY_COMPARE(QToolTip::text(), QString());
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
};

QTEST_MAIN(GraphTest)
#include "graph_test.moc"
