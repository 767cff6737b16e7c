#include "graph/graphaxis.h"
#include "graph/graphline.h"
#include "testing/rows.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <optional>

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

/// What a graph shows before it is drawn: its axes and its lines.
class AxisTest : public QObject
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

    void ValueAxesHaveTwoLabelsAtLeast()
    {
        for (double length = 20; length < 200; ++length) {
            for (const ValueRange range : {ValueRange{3.14, 3.18}, {0, 0.7}, {-60, 380}}) {
                const ValueTicks ticks = AutomaticValueTicks(range, length, 15);
                QVERIFY2(ticks.labels.size() >= 2, qPrintable(QString::number(length)));
                QCOMPARE(ticks.labels.size(), ticks.labelled.size());
            }
            for (const int major : {1, 3, 7, 40})
                QVERIFY(CustomValueTicks({0, 1}, major, 2, length, 15).labels.size() >= 2);
        }
    }

    void TimesAreLabelledWhereTheyAreRound()
    {
        // Labels are 60 pixels wide, 20 samples 600 pixels.
        using Case = std::tuple<int, int, std::vector<TimeLabel>>; // first second, interval, the first labels
        for (const auto &[begin, interval, labels] :
             {Case{42, 1, {{4, 45}, {9, 50}}}, Case{40, 5, {{2, 45}, {5, 60}}},
              Case{42, 5, {{1.6, 45}, {4.6, 60}}}, Case{3540, 60, {{2, 3600}, {7, 3900}}},
              Case{86395, 1, {{1, 86395}, {6, 0}}}}) {
            const auto second = [begin = begin, interval = interval](qint32 sample) {
                return std::optional((begin + (sample - 1) * interval) % 86400);
            };
            std::vector<TimeLabel> chosen = ChooseRoundTimes({1, 20, 20, 600, 40, 0}, 60, second).labels;
            QVERIFY(chosen.size() > 2);
            chosen.resize(2);
            QCOMPARE(chosen, labels);
        }
        // A second was missed, and then there was a pause.
        const auto uneven = [](qint32 sample) {
            return std::optional(40 + sample + (sample > 5 ? 1 : 0) + (sample > 12 ? 500 : 0));
        };
        QCOMPARE(ChooseRoundTimes({1, 20, 20, 600, 40, 0}, 60, uneven).labels,
                 (std::vector<TimeLabel>{{5, 45}, {9, 50}, {12 + 2 / 501.0, 55}, {19, 560}}));
        QVERIFY(ChooseRoundTimes({1, 20, 20, 600, 40, 0}, 60, [](qint32) {
                    return std::nullopt;
                }).labels.empty());
        QCOMPARE(ChooseRoundTimes({1, 20, 20, 600, 40, 0}, 60, uneven).plain.size(), std::size_t(20));
        // The ticks divide the time from label to label, also where there are no samples yet.
        const auto late = [](qint32 sample) { return std::optional(7 * (sample - 1)); };
        const TimeTicks behind = ChooseRoundTimes({1, 20, 4, 600, 40, 0}, 60, late);
        QCOMPARE(behind.labels, (std::vector<TimeLabel>{{1, 0}}));
        QCOMPARE(behind.plain.size(), std::size_t(14)); // 0, 10, 20 and so on until 133
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
        QCOMPARE(Shown(ClippedLine({{1, 0}, {2, 2}, {3, 5}, {4, 7}}, LineShape::Steps, 1, 3)),
                 u"- 1:1 2:2 2:3 -"_qs);
        QCOMPARE(Shown(ClippedLine(line, LineShape::Straight, 1, 3)),
                 u"- 1.25:1 1.75:3 - 2.5:3 3:2 3.1:1 - 4.45:1 4.55:3 - -"_qs);
        QCOMPARE(Shown(LonePoints({{1, 1}, {2, None}, {3, 2}, {4, None}, {5, 3}, {6, 4}})), u"1:1 3:2"_qs);
    }
};

QTEST_APPLESS_MAIN(AxisTest)
#include "axis_test.moc"
