#include "acquire/frminterval.h"
#include "document/dataset.h"
#include "link/linkstate.h"
#include "tests/support.h"

#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>

#include <utility>
#include <variant>

using namespace px40;

namespace {

Duration Parts(const char *texts)
{
    const QStringList parts = QString::fromLatin1(texts).split(u'|');
    return {parts.at(0), parts.at(1), parts.at(2), parts.at(3)};
}

QString Joined(const Duration &duration)
{
    return QStringList{duration.Day, duration.Hour, duration.Min, duration.Sec}.join(u'|');
}

struct IntervalRig
{
    IntervalRig()
    {
        dataSet->OpenNew(KindRealtime);
        dataSet->SetInterval(Parts("00|00|00|07"));
        dataSet->SetPeriod(true, Parts("00|00|01|00"));
        dataSet->MarkSaved();
    }
    ~IntervalRig() { delete dialog; }

    void AddReading() const { dataSet->AddData(QString(), u"1"_qs, QString(), QString(), QString()); }

    QString Settings() const
    {
        return Joined(dataSet->GetInterval()) + (dataSet->GetPeriodnone() ? u" none "_qs : u" for "_qs) +
               Joined(dataSet->GetPeriod());
    }

    void Open()
    {
        dialog = new frmInterval(dataSet, prompts, jobs, nullptr);
        dialog->open();
    }

    template <typename T = QLineEdit>
    T *Find(const char *name) const
    {
        return dialog->findChild<T *>(QString::fromLatin1(name));
    }

    void Type(const char *box, const char *text) const
    {
        Find(box)->selectAll();
        QTest::keyClicks(Find(box), QString::fromLatin1(text));
    }

    void Click(const char *button) const { Find<QPushButton>(button)->click(); }

    LinkState state;
    DocumentShared shared;
    ScriptedPrompts prompts;
    Jobs jobs;
    std::shared_ptr<DataSet> dataSet = std::make_shared<DataSet>(state, shared);
    QPointer<frmInterval> dialog;
};

} // namespace

class IntervalTest : public QObject
{
    Q_OBJECT

  private Q_SLOTS:
    void DurationsAreCheckedAndStored();
    void FaultyFieldIsReturnedTo();
    void TypingChoosesCustom();
    void ReadingsFixTheInterval();
    void DialogGoesWithoutChange();
};

void IntervalTest::DurationsAreCheckedAndStored()
{
    // A duration and how it is stored, or which part of it is faulty.
    using Fault = std::size_t;
    const std::pair<const char *, std::variant<const char *, Fault>> rows[] = {
        {"0|0|0|5", "00|00|00|05"}, {"99|23|59|59", "99|23|59|59"}, {" 1|+2|007|-0", "01|02|07|00"},
        {"0|0|0|0", Fault{0}},      {"100|0|0|1", Fault{0}},        {"99999999999|0|0|1", Fault{0}},
        {"-1|1|1|1", Fault{0}},     {"|1|1|1", Fault{0}},           {"1|24|60|60", Fault{1}},
        {"1|a|1|1", Fault{1}},      {"1|0|60|1", Fault{2}},         {"1|0|1.5|1", Fault{2}},
        {"1|0|0|60", Fault{3}},     {"1|0|0| ", Fault{3}},
    };
    for (const auto &[texts, expected] : rows) {
        for (const bool ofPeriod : {false, true}) {
            const IntervalRig rig;
            const QString before = rig.Settings();
            IntervalForm form = {Parts("0|0|0|9"), Parts("0|0|0|9"), false};
            (ofPeriod ? form.period : form.interval) = Parts(texts); // an interval may be the longer one
            const std::optional<IntervalFault> fault = StoreIntervalForm(&form, rig.dataSet.get());
            if (const auto *const part = std::get_if<Fault>(&expected)) {
                const IntervalFault told = {ofPeriod ? Str::IllegalPeriod : Str::IllegalInterval, *part};
                QVERIFY2(fault == told && rig.Settings() == before && rig.dataSet->Saved(), texts);
            } else {
                const QString stored = QLatin1String(std::get<const char *>(expected));
                QVERIFY2(!fault, texts);
                QCOMPARE(rig.Settings(),
                         ofPeriod ? u"00|00|00|09 for "_qs + stored : stored + u" for 00|00|00|09"_qs);
            }
        }
    }
    for (const char *const texts : {"0|0|0|0", "|a|-1|"}) { // of no period
        const IntervalRig rig;
        IntervalForm form = {Parts("0|0|0|9"), Parts(texts), true};
        QVERIFY(!StoreIntervalForm(&form, rig.dataSet.get()));
        QCOMPARE(rig.Settings(), u"00|00|00|09 none "_qs + QLatin1String(texts));
    }
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
    QCOMPARE(rig.prompts.warnings, QStringList({u"Illegal interval."_qs, u"Illegal period."_qs}));
    QVERIFY(rig.dialog && rig.dialog->isVisible());
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
        rig.dataSet->SetPeriod(false, Parts("00|00|01|00"));
        if (!whileOpen)
            rig.AddReading();
        rig.Open();
        QCOMPARE(rig.Find("tbIsec")->isEnabled(), whileOpen);
        if (whileOpen) {
            rig.Type("tbIday", "x");
            rig.AddReading();
        }
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
    // Whatever the form says.
    IntervalRig rig;
    rig.AddReading();
    IntervalForm form = {Parts("0|0|0|9"), {}, true};
    QVERIFY(!StoreIntervalForm(&form, rig.dataSet.get()));
    QCOMPARE(Joined(form.interval) + u' ' + Joined(rig.dataSet->GetInterval()),
             u"00|00|00|07 00|00|00|07"_qs);
}

void IntervalTest::DialogGoesWithoutChange()
{
    IntervalRig rig;
    const QString before = rig.Settings();
    for (const bool escape : {true, false}) {
        rig.Open();
        rig.Type("tbIday", "2");
        if (escape)
            QTest::keyClick(rig.dialog, Qt::Key_Escape);
        else
            rig.Click("btCancel");
        QTRY_VERIFY(!rig.dialog);
    }
    rig.Open();
    rig.Type("tbIday", "x");
    rig.Click("btOk");
    delete rig.dialog; // during the message
    QTRY_COMPARE(rig.jobs.Running(), 0);
    QCOMPARE(rig.Settings(), before);
}

QTEST_MAIN(IntervalTest)
#include "interval_test.moc"
