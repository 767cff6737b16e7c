#include "document/dataset.h"
#include "document/frmsetting.h"
#include "link/linkstate.h"
#include "tests/support.h"

#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>

using namespace px40;

namespace {

QStringList Settings(const DataSet &dataSet)
{
    return QStringList{dataSet.GetGraphcount()} + dataSet.GetAxisX() + dataSet.GetAxisY();
}

struct SetupRig
{
    explicit SetupRig(int samples = 0) : dataSet(std::make_shared<DataSet>(state, shared))
    {
        dataSet->OpenNew(KindRealtime);
        for (int i = 0; i < samples; ++i)
            dataSet->AddData(QString(), QStringLiteral("1"), QString(), QString(), QString());
    }
    ~SetupRig() { delete dialog; }

    void Open()
    {
        dialog = new frmSetting(dataSet, prompts, jobs, nullptr);
        dialog->show();
    }

    template <typename T>
    T *Find(const char *name) const
    {
        return dialog->findChild<T *>(QString::fromLatin1(name));
    }

    void Type(const char *box, const char *text) const
    {
        auto *const field = Find<QLineEdit>(box);
        field->selectAll();
        QTest::keyClicks(field, QString::fromLatin1(text));
    }

    void Click(const char *button) const { Find<QPushButton>(button)->click(); }

    bool NoJobLeft() const
    {
        return WaitUntil([this] { return jobs.Running() == 0; });
    }

    LinkState state;
    DocumentShared shared;
    ScriptedPrompts prompts;
    Jobs jobs;
    std::shared_ptr<DataSet> dataSet;
    QPointer<frmSetting> dialog;
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
    void DialogShowsTheSettings();
    void TypingMakesTheAxisCustom_data();
    void TypingMakesTheAxisCustom();
    void FaultyFieldIsReturnedTo();
    void ButtonsApplyAndClose();
    void DialogMayGoDuringTheMessage();
};

void GraphSetupTest::FieldsAreCheckedInOrder_data()
{
    QTest::addColumn<QString>("automatic"); // the axes that are
    QTest::addColumn<QString>("texts");     // End Tick Label, Max Min Major Minor
    QTest::addColumn<QString>("after");
    QTest::addColumn<int>("fault");
    const auto row = [](const char *name, const char *automatic, const char *texts, const char *after,
                        std::optional<GraphField> fault) {
        QTest::newRow(name) << QString::fromLatin1(automatic) << QString::fromLatin1(texts)
                            << QString::fromLatin1(after) << (fault ? static_cast<int>(*fault) : -1);
    };
    using enum GraphField;
    row("plain forms", "", " 20.0|+3|1e1|5.50|-.5| 2|03", "20|3|10|5.5|-0.5|2|3", {});
    row("limits reached", "", "32767|32767|1|60000|-60000|32767|1", "32767|32767|1|60000|-60000|32767|1", {});
    row("least data range", "", "2|1|1|1|0|1|1", "2|1|1|1|0|1|1", {});
    row("data range of 1", "", "1|01|x|x|x|x|x", "1|01|x|x|x|x|x", End);
    row("data range too large", "", "32768|1|1|1|0|1|1", "32768|1|1|1|0|1|1", End);
    row("ticks after the range", "", "05|0|x|x|x|x|x", "5|0|x|x|x|x|x", Tick);
    row("labels after the ticks", "", "05|06|2.5|x|x|x|x", "5|6|2.5|x|x|x|x", Label);
    row("maximum first", "", "05|06|07|60000.1|x|x|x", "5|6|7|60000.1|x|x|x", Max);
    row("then minimum", "", "05|06|07|08|-60001|x|x", "5|6|7|8|-60001|x|x", Min);
    row("no number", "", "5|6|7|nan||1|1", "5|6|7|nan||1|1", Max);
    row("nothing", "", "5|6|7|8||1|1", "5|6|7|8||1|1", Min);
    row("equal limits", "", "5|6|7|1.50|01.5|x|x", "5|6|7|1.5|1.5|x|x", Min);
    row("limits the wrong way", "", "5|6|7|-2|-1|x|x", "5|6|7|-2|-1|x|x", Min);
    row("equal as applied", "", "5|6|7|1.0000001|1|1|1", "5|6|7|1|1|1|1", Min);
    row("major after the limits", "", "5|6|7|8.0|7|32768|x", "5|6|7|8|7|32768|x", Major);
    row("minor last", "", "5|6|7|8|7|09|-1", "5|6|7|8|7|9|-1", Minor);
    row("automatic X does not count", "X", "x|x|x|08|7|x|x", "x|x|x|8|7|x|x", Major);
    row("automatic Y does not count", "Y", "05|06|07|x|x|x|x", "5|6|7|x|x|x|x", {});
    row("nothing counts", "XY", "x|x|x|x|x|x|x", "x|x|x|x|x|x|x", {});
}

void GraphSetupTest::FieldsAreCheckedInOrder()
{
    QFETCH(QString, automatic);
    QFETCH(QString, texts);
    QFETCH(QString, after);
    QFETCH(int, fault);
    GraphForm form;
    form.xAuto = automatic.contains(u'X');
    form.yAuto = automatic.contains(u'Y');
    const QStringList given = texts.split(u'|');
    std::copy(given.begin(), given.end(), form.texts.begin());
    const std::optional<GraphField> found = CheckGraphForm(&form);
    QCOMPARE(found ? static_cast<int>(*found) : -1, fault);
    QCOMPARE(QStringList(form.texts.begin(), form.texts.end()).join(u'|'), after);
}

void GraphSetupTest::FormIsApplied_data()
{
    QTest::addColumn<int>("samples");
    QTest::addColumn<bool>("xAuto");
    QTest::addColumn<bool>("yAuto");
    QTest::addColumn<QString>("settings");
    QTest::addColumn<int>("scroll"); // its maximum
    QTest::newRow("2 samples leave the data range")
        << 2 << true << true << QStringLiteral("5 True 1 1 True 1 10 1 1") << 0;
    QTest::newRow("3 samples are all shown")
        << 3 << true << true << QStringLiteral("3 True 1 1 True 1 10 1 1") << 0;
    QTest::newRow("as many as can be shown")
        << 40000 << true << true << QStringLiteral("32767 True 1 1 True 1 10 1 1") << 40000 - 32767;
    QTest::newRow("custom X") << 30 << false << true << QStringLiteral("12 False 4 3 True 1 10 1 1") << 18;
    QTest::newRow("custom Y") << 30 << true << false << QStringLiteral("30 True 1 1 False -0.5 2.5 6 7") << 0;
}

void GraphSetupTest::FormIsApplied()
{
    QFETCH(int, samples);
    QFETCH(bool, xAuto);
    QFETCH(bool, yAuto);
    QFETCH(QString, settings);
    QFETCH(int, scroll);
    const SetupRig rig(samples);
    rig.dataSet->SetGraphcount(5);
    rig.dataSet->PaintGraphtop();
    rig.dataSet->ScrollTo(samples);
    GraphForm form{xAuto, yAuto, {}};
    const QStringList texts = QStringLiteral("12|3|4|2.5|-0.5|6|7").split(u'|');
    std::copy(texts.begin(), texts.end(), form.texts.begin());
    ApplyGraphForm(form, rig.dataSet.get());
    QCOMPARE(Settings(*rig.dataSet).join(u' '), settings);
    QCOMPARE(rig.dataSet->Scroll().maximum, scroll);
    QCOMPARE(rig.dataSet->Scroll().value, 0);
}

void GraphSetupTest::DialogShowsTheSettings()
{
    SetupRig rig;
    rig.dataSet->SetGraphcount(25);
    rig.dataSet->SetAxisX(false, 4, 3);
    rig.dataSet->SetAxisY(true, QStringLiteral("1"), QStringLiteral("10"), 6, 7);
    rig.Open();
    QStringList shown;
    for (const char *const name : {"tbEnd", "tbLabel", "tbTick", "tbMin", "tbMax", "tbMajor", "tbMinor"})
        shown << rig.Find<QLineEdit>(name)->text();
    for (const char *const name : {"obXauto", "obXuser", "obYauto", "obYuser"})
        shown << QString::number(rig.Find<QRadioButton>(name)->isChecked());
    QCOMPARE(shown.join(u' '), QStringLiteral("25 4 3 1 10 6 7 0 1 1 0"));
}

void GraphSetupTest::TypingMakesTheAxisCustom_data()
{
    QTest::addColumn<QString>("box"); // or the label that is clicked
    QTest::addColumn<bool>("x");
    QTest::addColumn<bool>("y");
    for (const char *const box : {"tbEnd", "tbTick", "tbLabel"})
        QTest::newRow(box) << QString::fromLatin1(box) << true << false;
    for (const char *const box : {"tbMax", "tbMin", "tbMajor", "tbMinor", "llMajor"})
        QTest::newRow(box) << QString::fromLatin1(box) << false << true;
    QTest::newRow("llMinor") << QStringLiteral("llMinor") << false << false;
}

void GraphSetupTest::TypingMakesTheAxisCustom()
{
    QFETCH(QString, box);
    SetupRig rig;
    rig.Open();
    auto *const control = rig.dialog->findChild<QWidget *>(box);
    if (box.startsWith(u"ll"))
        QTest::mouseClick(control, Qt::LeftButton);
    else
        QTest::keyClick(control, Qt::Key_1);
    QTEST(rig.Find<QRadioButton>("obXuser")->isChecked(), "x");
    QTEST(rig.Find<QRadioButton>("obYuser")->isChecked(), "y");
}

void GraphSetupTest::FaultyFieldIsReturnedTo()
{
    for (const char *const button : {"btOk", "btApply"}) {
        SetupRig rig(3);
        const QStringList before = Settings(*rig.dataSet);
        rig.Open();
        rig.Type("tbEnd", "010");
        rig.Type("tbMin", "4");
        rig.Type("tbMax", "4");
        rig.prompts.onWarn = [&] {
            if (rig.prompts.warnings.size() == 1)
                rig.Click("btApply"); // no second message over the first
        };
        rig.Click(button);
        QCOMPARE(rig.jobs.Running(), 1);
        QVERIFY(rig.NoJobLeft());
        QCOMPARE(rig.prompts.warnings, QStringList(QStringLiteral("Illegal value.")));
        QVERIFY(rig.dialog && rig.dialog->isVisible());
        QCOMPARE(rig.dialog->focusWidget()->objectName(), QStringLiteral("tbMin"));
        QCOMPARE(rig.Find<QLineEdit>("tbMin")->selectedText(), QStringLiteral("4"));
        QCOMPARE(rig.Find<QLineEdit>("tbEnd")->text(), QStringLiteral("10"));
        QCOMPARE(Settings(*rig.dataSet), before);

        QTest::keyClicks(rig.dialog->focusWidget(), QStringLiteral("-4.0"));
        QTest::keyClick(rig.dialog->focusWidget(), Qt::Key_Return);
        QTRY_VERIFY(!rig.dialog);
        QCOMPARE(Settings(*rig.dataSet).join(u' '), QStringLiteral("10 False 1 1 False -4 4 1 1"));
        QCOMPARE(rig.prompts.warnings.size(), 1);
    }
}

void GraphSetupTest::ButtonsApplyAndClose()
{
    SetupRig rig;
    rig.Open();
    rig.Type("tbEnd", "30");
    rig.Click("btApply");
    QVERIFY(rig.dialog->isVisible());
    QCOMPARE(rig.dataSet->GetGraphcount(), QStringLiteral("30"));
    rig.Type("tbEnd", "40");
    QTest::keyClick(rig.dialog, Qt::Key_Escape);
    QTRY_VERIFY(!rig.dialog);

    rig.Open();
    rig.Type("tbEnd", "50");
    rig.Click("btCancel");
    QTRY_VERIFY(!rig.dialog);
    QCOMPARE(rig.dataSet->GetGraphcount(), QStringLiteral("30"));
}

void GraphSetupTest::DialogMayGoDuringTheMessage()
{
    SetupRig rig;
    rig.Open();
    rig.Type("tbEnd", "x");
    rig.Click("btOk");
    delete rig.dialog;
    QVERIFY(rig.NoJobLeft());
    QCOMPARE(rig.prompts.warnings.size(), 1);
}

QTEST_MAIN(GraphSetupTest)
#include "graphsetup_test.moc"
