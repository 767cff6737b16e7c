#include "forward/frmforward.h"
#include "link/linkstate.h"
#include "testing/books.h"
#include "testing/rows.h"
#include "tests/dialogrig.h"

#include <QCheckBox>
#include <QClipboard>
#include <QDialog>
#include <QDropEvent>
#include <QGuiApplication>
#include <QMimeData>
#include <QRadioButton>
#include <QUrl>

using namespace px40;

namespace {

/// The dialog as it opens with another file and title remembered.
struct ForwardRig : DialogRig<frmForward>
{
    explicit ForwardRig(bool withExcel = false)
    {
        for (const QString &name : {book, remembered})
            QVERIFY(Put(name, {}));
        memory = {remembered, u"old"_qs, true};
        Open(withExcel);
    }

    void Open(bool withExcel)
    {
        const auto check = [this](const QString &path) {
            return faults.contains(path) ? Result<>(Fail(faults.value(path))) : Result<>();
        };
        const ForwardOptions options = {withExcel, check};
        dialog = new frmForward(state, prompts, jobs, &memory, options, nullptr);
        QObject::connect(dialog, &QDialog::finished, dialog, [this](int result) {
            if (result == QDialog::Accepted)
                choice = dialog->Choice();
        });
        dialog->open();
    }

    bool IsCustom() const { return Find<QRadioButton>("obOpen")->isChecked(); }
    QString Memory() const
    {
        return memory.file + u'|' + memory.title + (memory.openAfter ? u"|open"_qs : QString());
    }

    /// The answer of the file dialog.
    void Browse(const QString &file)
    {
        prompts.files = {file};
        Click("btBrawse");
        QTRY_COMPARE(jobs.Running(), 0);
    }

    LinkState state;
    QTemporaryDir folder;
    const QString book = QDir::toNativeSeparators(folder.filePath(u"Größe '1'.xlsx"_qs));
    const QString remembered = QDir::toNativeSeparators(folder.filePath(u"other.xls"_qs));
    QMap<QString, QString> faults; ///< of workbooks, by path
    ForwardMemory memory;
    std::optional<ForwardChoice> choice;
};

/// The way, the boxes that are clicked, all checked before, and what is remembered.
using Clicks = std::tuple<QByteArray, QByteArrayList, QString>;

} // namespace

class ForwardDialogTest : public QObject
{
    Q_OBJECT

  private Q_SLOTS:
    void ChoiceAndMemoryFollowTheBoxes_data()
    {
        AddRows<Clicks>({
            {"custom", {"obOpen", {}, u"BOOK|new|open"_qs}},
            {"custom, the file not kept", {"obOpen", {"cbFile"}, u"|new|open"_qs}},
            {"custom, the file alone", {"obOpen", {"cbTitle", "cbShow"}, u"BOOK|"_qs}},
            {"new", {"obNew", {}, u"OLD|new|open"_qs}},
            {"new, nothing", {"obNew", {"cbFile", "cbTitle", "cbShow"}, u"OLD|"_qs}},
        });
    }

    void ChoiceAndMemoryFollowTheBoxes()
    {
        auto [way, boxes, memory] = ThisRow<Clicks>();
        ForwardRig rig;
        QVERIFY(rig.IsCustom());
        QTest::keyClicks(rig.dialog->focusWidget(), u"new"_qs); // in place of the title that was there
        rig.Find("tbFile")->setText(QDir::current().relativeFilePath(rig.book));
        rig.Find<QRadioButton>(way.constData())->click();
        for (const QByteArray &box : boxes)
            rig.Find<QCheckBox>(box.constData())->click();
        rig.state.CancelRequest = true;
        QTest::keyClick(rig.dialog->focusWidget(), Qt::Key_Return);
        QVERIFY(rig.choice && !rig.state.CancelRequest);
        QCOMPARE(rig.choice->title, u"new"_qs);
        QCOMPARE(rig.choice->openAfter, !boxes.contains("cbShow"));
        QCOMPARE(QDir::toNativeSeparators(QDir::cleanPath(rig.choice->fileName)),
                 way == "obOpen" ? rig.book : QString());
        memory.replace(u"BOOK"_qs, rig.choice->fileName).replace(u"OLD"_qs, rig.remembered);
        QCOMPARE(rig.Memory(), memory);
    }

    void SpreadsheetShowsTheSheetAnyway()
    {
        ForwardRig rig(true);
        QVERIFY(!rig.Find<QCheckBox>("cbShow"));
        rig.Click("btOk");
        QVERIFY(!rig.choice->openAfter && rig.memory.openAfter);
        rig.memory = {{}, {}, false};
        rig.Open(false);
        QVERIFY(!rig.IsCustom() && !rig.Find<QCheckBox>("cbShow")->isChecked());
    }

    void AnyChangeOfTheFileChoosesCustom()
    {
        ForwardRig rig;
        QMimeData files;
        files.setUrls({QUrl(u"http://x/y.xlsx"_qs), QUrl::fromLocalFile(rig.book)});
        QDragEnterEvent enter(QPoint(2, 2), Qt::CopyAction, &files, Qt::LeftButton, Qt::NoModifier);
        QDropEvent drop(QPointF(2, 2), Qt::CopyAction, &files, Qt::LeftButton, Qt::NoModifier);
        const std::pair<std::function<void()>, QString> changes[] = {
            {[&] { rig.Browse(rig.remembered); }, rig.remembered}, // the same again
            {[&] { rig.Browse(rig.book); }, rig.book},
            {[&] { rig.Find("tbFile")->clear(); }, {}},
            {[&] { rig.Type("tbFile", "b"); }, u"b"_qs},
            {[&] {
                 for (QEvent *const event : {static_cast<QEvent *>(&enter), static_cast<QEvent *>(&drop)})
                     QVERIFY(QCoreApplication::sendEvent(rig.Find("tbFile"), event) && event->isAccepted());
             },
             rig.book},
        };
        for (const auto &[change, file] : changes) {
            rig.Find<QRadioButton>("obNew")->click();
            rig.Browse({}); // cancelled
            QVERIFY(!rig.IsCustom());
            change();
            QVERIFY(rig.IsCustom());
            QCOMPARE(rig.Find("tbFile")->text(), file);
        }
        QCOMPARE(rig.prompts.fileQuestions.constFirst(),
                 u"open:Microsoft Excel Files (*.xls);;Excel Workbooks (*.xlsx *.xlsm)"_qs);
        QGuiApplication::clipboard()->setText(u"two\r\nlines\n"_qs);
        rig.Find("tbTitle")->selectAll();
        QTest::keySequence(rig.Find("tbTitle"), QKeySequence::Paste);
        QCOMPARE(rig.Find("tbTitle")->text(), u"two lines"_qs);
    }

    void UnusableFileIsReturnedTo_data()
    {
        AddRows<QString>({{"none", {}},
                          {"absent", u"gone.xls"_qs},
                          {"a folder", u"./"_qs},
                          {"unfit", u"Größe '1'.xlsx"_qs}});
    }

    void UnusableFileIsReturnedTo()
    {
        QString name = ThisRow<QString>();
        ForwardRig rig;
        const QString before = rig.Memory();
        rig.faults[rig.book] = u"Not that one."_qs;
        rig.prompts.onWarn = [&] { // neither a second message nor a file dialog over the first
            rig.Click("btOk");
            rig.Click("btBrawse");
        };
        if (!name.isEmpty())
            name = QDir::toNativeSeparators(rig.folder.filePath(name));
        rig.Type("tbTitle", "new");
        rig.Find("tbFile")->setText(name);
        rig.Click("btOk");
        QTRY_COMPARE(rig.jobs.Running(), 0);
        QCOMPARE(rig.prompts.warnings.size(), 1);
        const QStringList told = rig.prompts.warnings.constFirst().split(u"\r\n"_qs);
        QCOMPARE(told.mid(0, 2),
                 QStringList({rig.faults.value(name, u"This file cannot be found."_qs), name}));
        QVERIFY(told[2].startsWith(u"Microsoft Excel File, Custom: ") && told[2].contains(u".xlsx or .xlsm"));
        QVERIFY(rig.prompts.fileQuestions.isEmpty());
        QCOMPARE(rig.dialog->focusWidget(), rig.Find("tbFile"));
        QCOMPARE(rig.Find("tbFile")->selectedText(), name);
        QVERIFY(rig.dialog->isVisible() && !rig.choice);
        QCOMPARE(rig.Memory(), before);
        rig.Find<QRadioButton>("obNew")->click(); // then it does not matter
        rig.Click("btOk");
        QVERIFY(rig.choice && rig.choice->fileName.isEmpty());
    }

    void EveryOtherWayOutCancels_data()
    {
        AddRows<bool>({{"Escape", false}, {"the program leaves during a message", true}});
    }

    void EveryOtherWayOutCancels()
    {
        const bool told = ThisRow<bool>();
        ForwardRig rig;
        const QString before = rig.Memory();
        rig.Type("tbTitle", "new");
        rig.Type("tbFile", "gone");
        if (told) {
            rig.Click("btOk");
            rig.dialog->close();
        } else {
            QTest::keyClick(rig.dialog, Qt::Key_Escape);
        }
        QTRY_VERIFY(!rig.dialog && rig.jobs.Running() == 0);
        QVERIFY(rig.state.CancelRequest && !rig.choice);
        QCOMPARE(rig.Memory(), before);
    }
};

QTEST_MAIN(ForwardDialogTest)
#include "forwarddialog_test.moc"
