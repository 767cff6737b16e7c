#include "acquire/frminterval.h"
#include "tests/dialogrig.h"

#include <QRadioButton>

#include <utility>

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

} // namespace

class IntervalTest : public QObject
{
    Q_OBJECT

  private Q_SLOTS:
    void DurationsAreCheckedAndStored_data();
    void DurationsAreCheckedAndStored();
    void WhatIsFixedOrNotGivenIsNotChecked();
    void FaultyFieldIsReturnedTo();
    void TypingChoosesCustom();
    void ReadingsFixTheInterval();
    void DialogGoesWithoutChange();
};

void IntervalTest::DurationsAreCheckedAndStored_data()
{
    QTest::addColumn<QString>("durations");
    QTest::addColumn<QString>("stored");
    QTest::addColumn<int>("fault"); // which part; -1: none
    const auto row = [](const char *name, const QString &durations, const QString &stored, int fault) {
        QTest::newRow(name) << durations << stored << fault;
    };
    row("two digits", u"0|0|0|5;+0|-0|000| 5"_qs, u"00|00|00|05"_qs, -1);
    row("longest", u"99|23|59|59"_qs, u"99|23|59|59"_qs, -1);
    row("day", u"100|0|0|1;99999999999|0|0|1;-1|1|1|1;|1|1|1"_qs, {}, 0);
    row("hour", u"1|24|60|60;1|a|1|1"_qs, {}, 1);
    row("minute", u"1|0|60|1;1|0|1.5|1"_qs, {}, 2);
    row("second", u"1|0|0|60;1|0|0| ;0|0|0|0"_qs, {}, 3);
}

void IntervalTest::DurationsAreCheckedAndStored()
{
    QFETCH(const QString, durations);
    for (const QString &texts : durations.split(u';')) {
        for (const bool ofPeriod : {false, true}) {
            const IntervalRig rig;
            const QString before = rig.Settings();
            const DataSet &set = *rig.dataSet;
            IntervalForm form = {Parts(u"0|0|0|9"_qs), Parts(u"0|0|0|9"_qs), false};
            (ofPeriod ? form.period : form.interval) = Parts(texts); // an interval may be the longer one
            const auto stored = StoreIntervalForm(&form, rig.dataSet.get());
            QTEST(stored ? -1 : static_cast<int>(stored.error().part), "fault");
            if (stored) {
                QTEST(Joined(ofPeriod ? set.GetPeriod() : set.GetInterval()), "stored");
            } else {
                QCOMPARE(stored.error().ofPeriod, ofPeriod);
                QVERIFY(rig.Settings() == before && set.Saved());
            }
        }
    }
}

void IntervalTest::WhatIsFixedOrNotGivenIsNotChecked()
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

void IntervalTest::FaultyFieldIsReturnedTo()
{
    IntervalRig rig;
    const QString before = rig.Settings();
    rig.Open();
    QCOMPARE(rig.dialog->focusWidget(), rig.Find("tbIday"));
    rig.Type("tbIhour", "x");
    rig.Type("tbPmin", "60");
    rig.prompts.onWarn = [&] {
        if (rig.prompts.warnings.size() == 1)
            rig.Click("btOk"); // no second message over the first
    };
    rig.Click("btOk");
    QTRY_COMPARE(rig.jobs.Running(), 0);
    QCOMPARE(rig.dialog->focusWidget(), rig.Find("tbIhour"));
    QTest::keyClicks(rig.dialog->focusWidget(), u"2"_qs); // in place of what was there
    QTest::keyClick(rig.dialog->focusWidget(), Qt::Key_Return);
    QTRY_COMPARE(rig.jobs.Running(), 0);
    QCOMPARE(rig.prompts.warnings,
             QStringList({u"Illegal interval.\r\nInterval, Hour: a whole number from 0 to 23."_qs,
                          u"Illegal period.\r\nPeriod, Minute: a whole number from 0 to 59."_qs}));
    QCOMPARE(rig.Find("tbIhour")->text(), u"02"_qs);
    QCOMPARE(rig.Find("tbPmin")->selectedText(), u"60"_qs);
    QCOMPARE(rig.Settings(), before);

    QTest::keyClicks(rig.dialog->focusWidget(), u"3"_qs);
    QTest::keyClick(rig.dialog->focusWidget(), Qt::Key_Return);
    QTRY_VERIFY(!rig.dialog);
    QCOMPARE(rig.Settings(), u"00|02|00|07 for 00|00|03|00"_qs);
    QVERIFY(!rig.dataSet->Saved());
}

void IntervalTest::TypingChoosesCustom()
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

void IntervalTest::ReadingsFixTheInterval()
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

void IntervalTest::DialogGoesWithoutChange()
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

QTEST_MAIN(IntervalTest)
#include "interval_test.moc"
