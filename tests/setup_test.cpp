#include "acquire/frminterval.h"
#include "document/frmsetting.h"
#include "document/numbers.h"
#include "testing/rows.h"
#include "tests/dialogrig.h"

#include <QRadioButton>

using namespace px40;

namespace {

Duration Parts(const QString &texts)
{
    const QStringList parts = texts.split(u'|');
    return {parts.at(0), parts.at(1), parts.at(2), parts.at(3)};
}

QString Joined(const Duration &duration)
{
    return QStringList{duration.Day, duration.Hour, duration.Min, duration.Sec}.join(u'|');
}

struct IntervalRig : DialogRig<frmInterval>
{
    IntervalRig()
    {
        dataSet->SetInterval(Parts(u"00|00|00|07"_qs));
        dataSet->SetPeriod(true, Parts(u"00|00|01|00"_qs));
        dataSet->MarkSaved();
    }

    QString Settings() const
    {
        return Joined(dataSet->GetInterval()) + (dataSet->GetPeriodnone() ? u" none "_qs : u" for "_qs) +
               Joined(dataSet->GetPeriod());
    }
};

GraphForm Form(const QString &automatic, const QString &texts)
{
    GraphForm form{automatic.contains(u'X'), automatic.contains(u'Y'), {}};
    const QStringList given = texts.split(u'|');
    std::copy(given.begin(), given.end(), form.texts.begin());
    return form;
}

struct GraphRig : DialogRig<frmSetting>
{
    explicit GraphRig(int samples = 0)
    {
        for (int i = 0; i < samples; ++i)
            AddReading();
    }

    QString Settings() const
    {
        const GraphSettings &graph = dataSet->Graph().Settings();
        return u"%1 %2 %3 %4 "_qs.arg(graph.count)
                   .arg(BooleanText(graph.xAuto))
                   .arg(graph.xLabels)
                   .arg(graph.xTicks) +
               u"%1 %2 %3 "_qs.arg(BooleanText(graph.yAuto), graph.yMinimum, graph.yMaximum) +
               u"%1 %2"_qs.arg(graph.yMajor).arg(graph.yMinor);
    }
};

using Given = std::tuple<QString, QString, int>; // durations; as stored; the part at fault, -1: none
/// The axes that are automatic; the texts (End, Tick, Label, Max, Min, Major, Minor), also as they are
/// afterwards; the field at fault, if any.
using GraphCase = std::tuple<const char *, const char *, const char *, std::optional<GraphField>>;
/// Samples; the axes that are automatic; the settings, and how far the graph can be scrolled.
using Applied = std::tuple<int, QString, QString, int>;

} // namespace

class SetupTest : public QObject
{
    Q_OBJECT

  private Q_SLOTS:
    void DurationsAreCheckedAndStored_data()
    {
        AddRows<Given>({
            {"two digits", {u"0|0|0|5;+0|-0|000| 5"_qs, u"00|00|00|05"_qs, -1}},
            {"longest", {u"99|23|59|59"_qs, u"99|23|59|59"_qs, -1}},
            {"day", {u"100|0|0|1;99999999999|0|0|1;-1|1|1|1;|1|1|1"_qs, {}, 0}},
            {"hour", {u"1|24|60|60;1|a|1|1"_qs, {}, 1}},
            {"minute", {u"1|0|60|1;1|0|1.5|1"_qs, {}, 2}},
            {"second", {u"1|0|0|60;1|0|0| ;0|0|0|0"_qs, {}, 3}},
        });
    }

    void DurationsAreCheckedAndStored()
    {
        const auto [durations, asStored, fault] = ThisRow<Given>();
        for (const QString &texts : durations.split(u';')) {
            for (const bool ofPeriod : {false, true}) {
                const IntervalRig rig;
                const QString before = rig.Settings();
                const DataSet &set = *rig.dataSet;
                IntervalForm form = {Parts(u"0|0|0|9"_qs), Parts(u"0|0|0|9"_qs), false};
                (ofPeriod ? form.period : form.interval) = Parts(texts); // an interval may be the longer one
                const auto stored = StoreIntervalForm(&form, rig.dataSet.get());
                QCOMPARE(stored ? -1 : static_cast<int>(stored.error().field) - (ofPeriod ? 4 : 0), fault);
                if (stored)
                    QCOMPARE(Joined(ofPeriod ? set.GetPeriod() : set.GetInterval()), asStored);
                else
                    QVERIFY(rig.Settings() == before && set.Saved());
            }
        }
    }

    void WhatIsFixedOrNotGivenIsNotChecked()
    {
        const IntervalRig rig; // no period may be given in any way, and readings fix the interval
        IntervalForm form = {Parts(u"0|0|0|0"_qs), Parts(u"|a|-1|"_qs), true};
        const auto nothing = StoreIntervalForm(&form, rig.dataSet.get());
        QVERIFY(!nothing);
        QCOMPARE(nothing.error().complaint, u"Illegal interval.\r\nAt least 1 second."_qs);
        for (const QString &interval : {u"0|0|0|9"_qs, u"0|0|0|5"_qs}) {
            form.interval = Parts(interval);
            QVERIFY(StoreIntervalForm(&form, rig.dataSet.get()));
            QCOMPARE(rig.Settings(), u"00|00|00|09 none |a|-1|"_qs);
            rig.AddReading();
        }
        const IntervalRig stored; // readings of the instrument's memory have no interval at all
        stored.dataSet->OpenNew(KindMemory);
        stored.dataSet->SetInterval({});
        stored.AddReading();
        form = {Parts(u"|||"_qs), Parts(u"0|0|1|0"_qs), false};
        QVERIFY(StoreIntervalForm(&form, stored.dataSet.get()));
        QCOMPARE(stored.Settings(), u"||| for 00|00|01|00"_qs);
    }

    void FaultyDurationIsReturnedTo()
    {
        IntervalRig rig;
        const QString before = rig.Settings();
        rig.Open();
        QCOMPARE(rig.dialog->focusWidget(), rig.Find("tbIday"));
        rig.Type("tbIhour", "x");
        rig.Type("tbPmin", "60");
        rig.ClickTwice("btOk", "btOk");
        QCOMPARE(rig.dialog->focusWidget(), rig.Find("tbIhour"));
        rig.Enter("2"); // in place of what was there
        QTRY_COMPARE(rig.jobs.Running(), 0);
        QCOMPARE(rig.prompts.warnings,
                 QStringList({u"Illegal interval.\r\nInterval, Hour: a whole number from 0 to 23."_qs,
                              u"Illegal period.\r\nPeriod, Minute: a whole number from 0 to 59."_qs}));
        QCOMPARE(rig.Find("tbIhour")->text(), u"02"_qs);
        QCOMPARE(rig.Find("tbPmin")->selectedText(), u"60"_qs);
        QCOMPARE(rig.Settings(), before);

        rig.Enter("3");
        QTRY_VERIFY(!rig.dialog);
        QCOMPARE(rig.Settings(), u"00|02|00|07 for 00|00|03|00"_qs);
        QVERIFY(!rig.dataSet->Saved());
    }

    void TypingChoosesCustom()
    {
        for (const char *const name : {"tbIday", "tbIsec", "tbPday", "tbPhour", "tbPmin", "tbPsec"}) {
            IntervalRig rig;
            rig.Open();
            QVERIFY(rig.Find<QRadioButton>("obNone")->isChecked());
            QTest::keyClick(rig.Find(name), Qt::Key_A);
            QCOMPARE(rig.Find<QRadioButton>("obUser")->isChecked(), name[2] == 'P');
        }
        // A new set has no period texts; whoever gives one need not give the others.
        IntervalRig rig;
        rig.dataSet->OpenNew(KindRealtime);
        rig.Open();
        QTest::keyClicks(rig.Find("tbPmin"), u"5"_qs);
        rig.Click("btOk");
        QCOMPARE(rig.Settings(), u"00|00|00|05 for 00|00|05|00"_qs);
    }

    void ReadingsFixTheInterval()
    {
        for (const bool whileOpen : {false, true}) {
            IntervalRig rig;
            rig.dataSet->SetPeriod(false, Parts(u"00|00|01|00"_qs));
            if (whileOpen) {
                rig.Open();
                rig.Type("tbIday", "x");
            }
            rig.AddReading();
            if (!whileOpen)
                rig.Open();
            for (const char *const name : {"frInterval", "tbIday", "tbIsec", "llIday", "llIsec"})
                QVERIFY2(!rig.Find<QWidget>(name)->isEnabled(), name);
            QVERIFY(rig.Find<QWidget>("llFixed")->isVisible());
            QCOMPARE(rig.Find("tbIday")->text(), u"00"_qs);
            QCOMPARE(rig.dialog->focusWidget(), rig.Find<QWidget>(whileOpen ? "obUser" : "tbPday"));
            rig.Type("tbPday", "2");
            rig.Click("btOk");
            QTRY_VERIFY(!rig.dialog);
            QCOMPARE(rig.Settings(), u"00|00|00|07 for 02|00|01|00"_qs);
        }
    }

    void IntervalDialogGoesWithoutChange()
    {
        IntervalRig rig;
        const QString before = rig.Settings();
        for (const bool cancelled : {true, false}) {
            rig.Open();
            rig.Type("tbIday", cancelled ? "2" : "x");
            rig.Click(cancelled ? "btCancel" : "btOk");
            if (!cancelled)
                delete rig.dialog; // during the message
            QTRY_VERIFY(!rig.dialog && rig.jobs.Running() == 0);
            QCOMPARE(rig.Settings(), before);
        }
    }

    void GraphFieldsAreCheckedInOrder_data()
    {
        using enum GraphField;
        AddRows<GraphCase>({
            {"plain forms", {"", " 02.0|+3|1e1|5.50|-.5| 2|03", "2|3|10|5.5|-0.5|2|3", {}}},
            {"limits", {"", "32767|32767|1|60000|-60000|32767|1", "32767|32767|1|60000|-60000|32767|1", {}}},
            {"too few samples", {"", "1|01|x|x|x|x|x", "1|01|x|x|x|x|x", End}},
            {"too many samples", {"", "32768|1|1|1|0|1|1", "32768|1|1|1|0|1|1", End}},
            {"no ticks", {"", "05|0|x|x|x|x|x", "5|0|x|x|x|x|x", Tick}},
            {"labels not whole", {"", "05|06|2.5|x|x|x|x", "5|6|2.5|x|x|x|x", Label}},
            {"maximum too high", {"", "05|06|07|60000.1|x|x|x", "5|6|7|60000.1|x|x|x", Max}},
            {"maximum empty", {"", "5|6|7||nan|1|1", "5|6|7||nan|1|1", Max}},
            {"minimum too low", {"", "05|06|07|08|-60001|x|x", "5|6|7|8|-60001|x|x", Min}},
            {"minimum above maximum", {"", "5|6|7|-2|-1|x|x", "5|6|7|-2|-1|x|x", Min}},
            {"limits equal as applied", {"", "5|6|7|1.0000001|1|1|1", "5|6|7|1|1|1|1", Min}},
            {"major too many", {"", "5|6|7|8.0|7|32768|x", "5|6|7|8|7|32768|x", Major}},
            {"minor negative", {"", "5|6|7|8|7|09|-1", "5|6|7|8|7|9|-1", Minor}},
            {"x automatic", {"X", "x|x|x|08|7|x|x", "x|x|x|8|7|x|x", Major}},
            {"y automatic", {"Y", "05|06|07|x|x|x|x", "5|6|7|x|x|x|x", {}}},
        });
    }

    void GraphFieldsAreCheckedInOrder()
    {
        const auto [automatic, texts, after, fault] = ThisRow<GraphCase>();
        const GraphRig rig;
        const QString before = rig.Settings();
        GraphForm form = Form(QString::fromLatin1(automatic), QString::fromLatin1(texts));
        const auto stored = StoreGraphForm(&form, rig.dataSet.get());
        QCOMPARE(stored ? std::optional<GraphField>() : static_cast<GraphField>(stored.error().field), fault);
        QCOMPARE(QStringList(form.texts.begin(), form.texts.end()).join(u'|'), QString::fromLatin1(after));
        QCOMPARE(rig.Settings() == before, !stored);
    }

    void GraphFormIsApplied_data()
    {
        AddRows<Applied>({
            {"so few leave the data range", {2, u"XY"_qs, u"5 True 1 1 True 1 10 1 1"_qs, 0}},
            {"custom y", {3, u"X"_qs, u"3 True 1 1 False -0.5 2.5 6 7"_qs, 0}},
            {"more than a graph shows", {40000, u"XY"_qs, u"32767 True 1 1 True 1 10 1 1"_qs, 40000 - 32767}},
            {"custom x", {30, u"Y"_qs, u"12 False 4 3 True 1 10 1 1"_qs, 18}},
        });
    }

    void GraphFormIsApplied()
    {
        const auto [samples, automatic, settings, scroll] = ThisRow<Applied>();
        const GraphRig rig(samples);
        rig.dataSet->SetGraphcount(5);
        rig.dataSet->PaintGraphtop();
        rig.dataSet->Graph().ScrollTo(samples);
        GraphForm form = Form(automatic, u"12|3|4|2.5|-0.5|6|7"_qs);
        QVERIFY(StoreGraphForm(&form, rig.dataSet.get()));
        QCOMPARE(rig.Settings(), settings);
        QCOMPARE(rig.dataSet->Graph().Scroll().maximum, scroll);
        QCOMPARE(rig.dataSet->Graph().Scroll().value, 0);
    }

    void FieldsShowTheSettingsAndMakeTheAxisCustom()
    {
        // A field and its text, or a label that is clicked; the axis which that makes custom.
        const std::tuple<const char *, const char *, char> rows[] = {
            {"tbEnd", "25", 'X'},  {"tbLabel", "4", 'X'}, {"tbTick", "3", 'X'},
            {"tbMin", "1", 'Y'},   {"tbMax", "10", 'Y'},  {"tbMajor", "6", 'Y'},
            {"tbMinor", "7", 'Y'}, {"llMajor", "", 'Y'},  {"llMinor", "", '-'},
        };
        GraphRig rig;
        rig.dataSet->SetGraphcount(25);
        rig.dataSet->SetAxisX(false, 4, 3);
        rig.dataSet->SetAxisY(false, u"1"_qs, u"10"_qs, 6, 7);
        rig.Open();
        auto *const customX = rig.Find<QRadioButton>("obXuser");
        auto *const customY = rig.Find<QRadioButton>("obYuser");
        QVERIFY(customX->isChecked() && customY->isChecked());
        for (const auto &[name, text, axis] : rows) {
            rig.Find<QRadioButton>("obXauto")->click();
            rig.Find<QRadioButton>("obYauto")->click();
            if (auto *const field = rig.Find(name)) {
                QCOMPARE(field->text(), QLatin1String(text));
                QTest::keyClick(field, Qt::Key_1);
            } else {
                QTest::mouseClick(rig.Find<QWidget>(name), Qt::LeftButton);
            }
            QVERIFY2(customX->isChecked() == (axis == 'X') && customY->isChecked() == (axis == 'Y'), name);
        }
    }

    void FaultyGraphFieldIsReturnedTo()
    {
        GraphRig rig(3);
        const QString before = rig.Settings();
        rig.Open();
        rig.Type("tbEnd", "010");
        rig.Type("tbMin", "4");
        rig.Type("tbMax", "4");
        rig.ClickTwice("btOk", "btApply");
        QCOMPARE(rig.Find("tbEnd")->text(), u"10"_qs);
        QCOMPARE(rig.Settings(), before);
        rig.Enter("-4.0");
        QTRY_VERIFY(!rig.dialog);
        QCOMPARE(rig.Settings(), u"10 False 1 1 False -4 4 1 1"_qs);
        QCOMPARE(rig.prompts.warnings,
                 QStringList(u"Illegal value.\r\nY axis, Minimum: less than the maximum, 4."_qs));
    }

    void OnlyAppliedSettingsStay()
    {
        GraphRig rig;
        rig.Open();
        rig.Type("tbEnd", "30");
        rig.Click("btApply");
        for (const bool byKey : {true, false}) {
            rig.Type("tbEnd", "40");
            if (byKey)
                QTest::keyClick(rig.dialog, Qt::Key_Escape);
            else
                rig.Click("btCancel");
            QTRY_VERIFY(!rig.dialog);
            QCOMPARE(rig.dataSet->Graph().Settings().count, 30);
            rig.Open();
        }
    }
};

QTEST_MAIN(SetupTest)
#include "setup_test.moc"
