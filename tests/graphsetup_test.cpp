#include "document/frmsetting.h"
#include "tests/dialogrig.h"

#include <QRadioButton>

#include <tuple>

using namespace px40;

namespace {

GraphForm Form(const QString &automatic, const QString &texts)
{
    GraphForm form{automatic.contains(u'X'), automatic.contains(u'Y'), {}};
    const QStringList given = texts.split(u'|');
    std::copy(given.begin(), given.end(), form.texts.begin());
    return form;
}

struct SetupRig : DialogRig<frmSetting>
{
    explicit SetupRig(int samples = 0)
    {
        for (int i = 0; i < samples; ++i)
            AddReading();
    }

    QString Settings() const
    {
        return (QStringList(dataSet->GetGraphcount()) + dataSet->GetAxisX() + dataSet->GetAxisY()).join(u' ');
    }
};

} // namespace

class GraphSetupTest : public QObject
{
    Q_OBJECT

  private Q_SLOTS:
    void FieldsAreCheckedInOrder_data();
    void FieldsAreCheckedInOrder();
    void FormIsApplied_data();
    void FormIsApplied();
    void FieldsShowTheSettingsAndMakeTheAxisCustom();
    void FaultyFieldIsReturnedTo();
    void OnlyAppliedSettingsStay();
};

void GraphSetupTest::FieldsAreCheckedInOrder_data()
{
    using enum GraphField;
    QTest::addColumn<QString>("automatic"); // axes
    QTest::addColumn<QString>("texts");     // End, Tick, Label, Max, Min, Major, Minor
    QTest::addColumn<QString>("after");
    QTest::addColumn<int>("fault"); // -1: none
    const auto row = [](const char *name, const char *automatic, const char *texts, const char *after,
                        std::optional<GraphField> fault) {
        QTest::newRow(name) << QString::fromLatin1(automatic) << QString::fromLatin1(texts)
                            << QString::fromLatin1(after) << (fault ? static_cast<int>(*fault) : -1);
    };
    row("plain forms", "", " 02.0|+3|1e1|5.50|-.5| 2|03", "2|3|10|5.5|-0.5|2|3", {});
    row("limits", "", "32767|32767|1|60000|-60000|32767|1", "32767|32767|1|60000|-60000|32767|1", {});
    row("too few samples", "", "1|01|x|x|x|x|x", "1|01|x|x|x|x|x", End);
    row("too many samples", "", "32768|1|1|1|0|1|1", "32768|1|1|1|0|1|1", End);
    row("no ticks", "", "05|0|x|x|x|x|x", "5|0|x|x|x|x|x", Tick);
    row("labels not whole", "", "05|06|2.5|x|x|x|x", "5|6|2.5|x|x|x|x", Label);
    row("maximum too high", "", "05|06|07|60000.1|x|x|x", "5|6|7|60000.1|x|x|x", Max);
    row("maximum empty", "", "5|6|7||nan|1|1", "5|6|7||nan|1|1", Max);
    row("minimum too low", "", "05|06|07|08|-60001|x|x", "5|6|7|8|-60001|x|x", Min);
    row("minimum above maximum", "", "5|6|7|-2|-1|x|x", "5|6|7|-2|-1|x|x", Min);
    row("limits equal as applied", "", "5|6|7|1.0000001|1|1|1", "5|6|7|1|1|1|1", Min);
    row("major too many", "", "5|6|7|8.0|7|32768|x", "5|6|7|8|7|32768|x", Major);
    row("minor negative", "", "5|6|7|8|7|09|-1", "5|6|7|8|7|9|-1", Minor);
    row("x automatic", "X", "x|x|x|08|7|x|x", "x|x|x|8|7|x|x", Major);
    row("y automatic", "Y", "05|06|07|x|x|x|x", "5|6|7|x|x|x|x", {});
}

void GraphSetupTest::FieldsAreCheckedInOrder()
{
    QFETCH(const QString, automatic);
    QFETCH(const QString, texts);
    const SetupRig rig;
    const QString before = rig.Settings();
    GraphForm form = Form(automatic, texts);
    const auto stored = StoreGraphForm(&form, rig.dataSet.get());
    QTEST(stored ? -1 : static_cast<int>(stored.error().field), "fault");
    QTEST(QStringList(form.texts.begin(), form.texts.end()).join(u'|'), "after");
    QCOMPARE(rig.Settings() == before, !stored);
}

void GraphSetupTest::FormIsApplied_data()
{
    QTest::addColumn<int>("samples");
    QTest::addColumn<QString>("automatic"); // axes
    QTest::addColumn<QString>("settings");
    QTest::addColumn<int>("scroll"); // greatest position
    QTest::newRow("so few leave the data range") << 2 << u"XY"_qs << u"5 True 1 1 True 1 10 1 1"_qs << 0;
    QTest::newRow("custom y") << 3 << u"X"_qs << u"3 True 1 1 False -0.5 2.5 6 7"_qs << 0;
    QTest::newRow("more than a graph shows")
        << 40000 << u"XY"_qs << u"32767 True 1 1 True 1 10 1 1"_qs << 40000 - 32767;
    QTest::newRow("custom x") << 30 << u"Y"_qs << u"12 False 4 3 True 1 10 1 1"_qs << 18;
}

void GraphSetupTest::FormIsApplied()
{
    QFETCH(const int, samples);
    QFETCH(const QString, automatic);
    const SetupRig rig(samples);
    rig.dataSet->SetGraphcount(5);
    rig.dataSet->PaintGraphtop();
    rig.dataSet->ScrollTo(samples);
    GraphForm form = Form(automatic, u"12|3|4|2.5|-0.5|6|7"_qs);
    QVERIFY(StoreGraphForm(&form, rig.dataSet.get()));
    QTEST(rig.Settings(), "settings");
    QTEST(rig.dataSet->Scroll().maximum, "scroll");
    QCOMPARE(rig.dataSet->Scroll().value, 0);
}

void GraphSetupTest::FieldsShowTheSettingsAndMakeTheAxisCustom()
{
    // A field and its text, or a label that is clicked; the axis which that makes custom.
    const std::tuple<const char *, const char *, char> rows[] = {
        {"tbEnd", "25", 'X'},  {"tbLabel", "4", 'X'}, {"tbTick", "3", 'X'},
        {"tbMin", "1", 'Y'},   {"tbMax", "10", 'Y'},  {"tbMajor", "6", 'Y'},
        {"tbMinor", "7", 'Y'}, {"llMajor", "", 'Y'},  {"llMinor", "", '-'},
    };
    SetupRig rig;
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

void GraphSetupTest::FaultyFieldIsReturnedTo()
{
    SetupRig rig(3);
    const QString before = rig.Settings();
    rig.Open();
    rig.Type("tbEnd", "010");
    rig.Type("tbMin", "4");
    rig.Type("tbMax", "4");
    rig.prompts.onWarn = [&] {
        if (rig.prompts.warnings.size() == 1)
            rig.Click("btApply"); // no second message over the first
    };
    rig.Click("btOk");
    QTRY_COMPARE(rig.jobs.Running(), 0);
    QVERIFY(rig.dialog && rig.dialog->focusWidget());
    QCOMPARE(rig.Find("tbEnd")->text(), u"10"_qs);
    QCOMPARE(rig.Settings(), before);
    QTest::keyClicks(rig.dialog->focusWidget(), u"-4.0"_qs);
    QTest::keyClick(rig.dialog->focusWidget(), Qt::Key_Return);
    QTRY_VERIFY(!rig.dialog);
    QCOMPARE(rig.Settings(), u"10 False 1 1 False -4 4 1 1"_qs);
    QCOMPARE(rig.prompts.warnings,
             QStringList(u"Illegal value.\r\nY axis, Minimum: less than the maximum, 4."_qs));
    for (const auto &[automatic, complaint] :
         {std::pair(u""_qs, u"X axis, Data range: a whole number from 2 to 32767."_qs),
          std::pair(u"X"_qs, u"Y axis, Maximum: a number from -60000 to 60000."_qs)}) {
        GraphForm form = Form(automatic, u"x|x|x|x|x|x|x"_qs);
        const auto refused = StoreGraphForm(&form, rig.dataSet.get());
        QVERIFY(!refused);
        QCOMPARE(refused.error().complaint, u"Illegal value.\r\n"_qs + complaint);
    }
}

void GraphSetupTest::OnlyAppliedSettingsStay()
{
    SetupRig rig;
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
        QCOMPARE(rig.dataSet->GetGraphcount(), u"30"_qs);
        rig.Open();
    }
    rig.Type("tbEnd", "x");
    rig.Click("btOk");
    delete rig.dialog; // during the message
    QTRY_COMPARE(rig.jobs.Running(), 0);
    QCOMPARE(rig.prompts.warnings.size(), 1);
}

QTEST_MAIN(GraphSetupTest)
#include "graphsetup_test.moc"
