#include "forward/frmforward.h"
#include "tests/dialogrig.h"

#include <QCheckBox>
#include <QClipboard>
#include <QDir>
#include <QDropEvent>
#include <QFile>
#include <QGuiApplication>
#include <QMimeData>
#include <QRadioButton>
#include <QUrl>

#include <optional>
#include <tuple>

using namespace px40;

namespace {

/// The dialog as it opens with another file and title remembered.
struct ForwardRig : DialogRig<frmForward>
{
    explicit ForwardRig(bool withExcel = false)
    {
        for (const QString &name : {book, remembered}) {
            QFile file(name);
            file.open(QIODevice::WriteOnly);
        }
        memory = {remembered, u"old"_qs, true};
        Open(withExcel);
    }

    void Open(bool withExcel)
    {
        const ForwardOptions options = {withExcel,
                                        [this](const QString &path) { return faults.value(path); }};
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
        return memory.file + u'|' + memory.title + (memory.openAfter ? u"|open"_qs : u""_qs);
    }

    /// The answer of the file dialog.
    void Browse(const QString &file)
    {
        prompts.files = {file};
        Click("btBrawse");
        QTRY_COMPARE(jobs.Running(), 0);
    }

    QTemporaryDir folder;
    const QString book = folder.filePath(u"Größe \"1\".xlsx"_qs);
    const QString remembered = folder.filePath(u"other.xls"_qs);
    QMap<QString, QString> faults; ///< of workbooks, by path
    ForwardMemory memory;
    std::optional<ForwardChoice> choice;
};

} // namespace

class ForwardDialogTest : public QObject
{
    Q_OBJECT

  private Q_SLOTS:
    void ChoiceAndMemoryFollowTheBoxes();
    void AnyChangeOfTheFileChoosesCustom();
    void UnusableFileIsReturnedTo();
    void EveryOtherWayOutCancels();
};

void ForwardDialogTest::ChoiceAndMemoryFollowTheBoxes()
{
    // Way; the boxes that are clicked, all checked before; chosen file and what is remembered.
    const std::tuple<const char *, QString, QString, QString> rows[] = {
        {"obOpen", {}, u"BOOK"_qs, u"BOOK|new|open"_qs},
        {"obOpen", u"cbFile"_qs, u"BOOK"_qs, u"|new|open"_qs},
        {"obOpen", u"cbTitle cbShow"_qs, u"BOOK"_qs, u"BOOK|"_qs},
        {"obNew", {}, {}, u"OLD|new|open"_qs},
        {"obNew", u"cbFile cbTitle cbShow"_qs, {}, u"OLD|"_qs},
    };
    for (auto [way, boxes, file, memory] : rows) {
        ForwardRig rig;
        QVERIFY(rig.IsCustom());
        QCOMPARE(rig.Find("tbFile")->text(), rig.remembered);
        QTest::keyClicks(rig.dialog->focusWidget(), u"new"_qs); // in place of the title that was there
        rig.Find("tbFile")->setText(QDir::current().relativeFilePath(rig.book));
        rig.Find<QRadioButton>(way)->click();
        for (const QString &box : boxes.split(u' ', Qt::SkipEmptyParts))
            rig.Find<QCheckBox>(box.toLatin1().constData())->click();
        rig.state.CancelRequest = true;
        QTest::keyClick(rig.dialog->focusWidget(), Qt::Key_Return);
        QVERIFY(rig.choice && !rig.state.CancelRequest);
        QCOMPARE(rig.choice->title, u"new"_qs);
        QCOMPARE(rig.choice->openAfter, !boxes.contains(u"cbShow"));
        QVERIFY(file.isEmpty() || QDir::isAbsolutePath(rig.choice->fileName));
        QCOMPARE(QDir::cleanPath(rig.choice->fileName), file.replace(u"BOOK"_qs, rig.book));
        memory.replace(u"BOOK"_qs, rig.choice->fileName).replace(u"OLD"_qs, rig.remembered);
        QCOMPARE(rig.Memory(), memory);
    }
    ForwardRig rig(true);
    QVERIFY(!rig.Find<QCheckBox>("cbShow"));
    rig.Click("btOk");
    QVERIFY(!rig.choice->openAfter && rig.memory.openAfter); // a spreadsheet shows it anyway
    rig.memory = {{}, {}, false};
    rig.Open(false);
    QVERIFY(!rig.IsCustom() && !rig.Find<QCheckBox>("cbShow")->isChecked());
}

void ForwardDialogTest::AnyChangeOfTheFileChoosesCustom()
{
    ForwardRig rig;
    rig.Find<QRadioButton>("obNew")->click();
    rig.Browse({}); // cancelled
    QVERIFY(!rig.IsCustom());
    QCOMPARE(rig.Find("tbFile")->text(), rig.remembered);
    QCOMPARE(rig.prompts.fileQuestions.last(),
             u"open:Microsoft Excel Files (*.xls);;Excel Workbooks (*.xlsx *.xlsm)"_qs);
    const std::pair<std::function<void()>, QString> changes[] = {
        {[&] { rig.Browse(rig.remembered); }, rig.remembered}, // the same again
        {[&] { rig.Browse(rig.book); }, rig.book},
        {[&] { rig.Find("tbFile")->clear(); }, {}},
        {[&] { rig.Type("tbFile", "b"); }, u"b"_qs},
        {[&] {
             QMimeData files;
             files.setUrls({QUrl::fromLocalFile(rig.book)});
             QDragEnterEvent enter(QPoint(2, 2), Qt::CopyAction, &files, Qt::LeftButton, Qt::NoModifier);
             QDropEvent drop(QPointF(2, 2), Qt::CopyAction, &files, Qt::LeftButton, Qt::NoModifier);
             for (QDropEvent *const event : {static_cast<QDropEvent *>(&enter), &drop})
                 QVERIFY(QCoreApplication::sendEvent(rig.Find("tbFile"), event) && event->isAccepted());
         },
         rig.book},
    };
    for (const auto &[change, file] : changes) {
        rig.Find<QRadioButton>("obNew")->click();
        change();
        QVERIFY(rig.IsCustom());
        QCOMPARE(rig.Find("tbFile")->text(), file);
    }
    QGuiApplication::clipboard()->setText(u"two\r\nlines\n"_qs);
    rig.Find("tbTitle")->selectAll();
    QTest::keySequence(rig.Find("tbTitle"), QKeySequence::Paste);
    rig.Click("btOk");
    QCOMPARE(rig.choice->title, u"two lines"_qs);
}

void ForwardDialogTest::UnusableFileIsReturnedTo()
{
    ForwardRig rig;
    const QString before = rig.Memory();
    rig.faults[rig.book] = u"Not that one."_qs;
    rig.prompts.onWarn = [&] { // neither a second message nor a file dialog over the first
        if (rig.prompts.warnings.size() == 1) {
            rig.Click("btOk");
            rig.Click("btBrawse");
        }
    };
    rig.Type("tbTitle", "new");
    for (const QString &name :
         {rig.folder.filePath(u"gone.xls"_qs), rig.folder.path(), QString(), rig.book}) {
        rig.Find("tbFile")->setText(name);
        rig.Find("tbTitle")->setFocus();
        rig.Click("btOk");
        QTRY_COMPARE(rig.jobs.Running(), 0);
        const QString fault = name == rig.book ? u"Not that one."_qs : u"This file cannot be found."_qs;
        QCOMPARE(rig.prompts.warnings.last(), fault + u"\r\n"_qs + name);
        QCOMPARE(rig.dialog->focusWidget(), rig.Find("tbFile"));
        QCOMPARE(rig.Find("tbFile")->selectedText(), name);
        QVERIFY(rig.dialog->isVisible() && !rig.choice);
        QCOMPARE(rig.Memory(), before);
    }
    QVERIFY(rig.prompts.warnings.size() == 4 && rig.prompts.fileQuestions.isEmpty());
    rig.Find<QRadioButton>("obNew")->click(); // then it does not matter
    rig.Click("btOk");
    QTRY_VERIFY(!rig.dialog);
    QVERIFY(rig.choice && rig.choice->fileName.isEmpty());
}

void ForwardDialogTest::EveryOtherWayOutCancels()
{
    const std::function<void(ForwardRig &)> ways[] = {
        [](ForwardRig &rig) { rig.Click("btCancel"); },
        [](ForwardRig &rig) { QTest::keyClick(rig.dialog, Qt::Key_Escape); },
        [](ForwardRig &rig) { rig.dialog->close(); },
        [](ForwardRig &rig) { // during the message, as when the program leaves
            rig.Type("tbFile", "gone");
            rig.Click("btOk");
            rig.dialog->close();
        },
    };
    for (const auto &leave : ways) {
        ForwardRig rig;
        const QString before = rig.Memory();
        rig.Type("tbTitle", "new");
        leave(rig);
        QTRY_VERIFY(!rig.dialog && rig.jobs.Running() == 0);
        QVERIFY(rig.state.CancelRequest && !rig.choice);
        QCOMPARE(rig.Memory(), before);
    }
}

QTEST_MAIN(ForwardDialogTest)
#include "forwarddialog_test.moc"
