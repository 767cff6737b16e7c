#include "app/messageprompts.h"
#include "tests/support.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QFile>
#include <QFileDialog>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QSettings>

using namespace px40;

namespace {

/// The dialog that is open for the user, if it is of that kind.
template <typename T>
T *Open()
{
    auto *const dialog = qobject_cast<T *>(QApplication::activeModalWidget());
    return dialog && dialog->isVisible() ? dialog : nullptr;
}

void Type(const QString &name)
{
    QTRY_VERIFY(Open<QFileDialog>());
    auto *const edit = Open<QFileDialog>()->findChild<QLineEdit *>(u"fileNameEdit"_qs);
    QVERIFY(edit);
    edit->window()->activateWindow();
    edit->setFocus();
    QTRY_VERIFY(edit->hasFocus());
    edit->setText(name); // at once: a list of proposals would take the keys
    QTest::keyClick(edit, Qt::Key_Return);
}

/// Looks at the box before the dialog and presses one of its buttons, or Return.
void AnswerBox(const QString &text, QMessageBox::StandardButton button = QMessageBox::NoButton)
{
    QTRY_VERIFY(Open<QMessageBox>());
    auto *const box = Open<QMessageBox>();
    QCOMPARE(box->text(), text);
    if (button == QMessageBox::NoButton)
        QTest::keyClick(box, Qt::Key_Return);
    else
        QTest::mouseClick(box->button(button), Qt::LeftButton);
    QTRY_VERIFY(!Open<QMessageBox>());
}

} // namespace

class FileDialogTest : public QObject
{
    Q_OBJECT

  private Q_SLOTS:
    void initTestCase();
    void OpenStaysUntilTheFileIsThere();
    void SaveAsksBeforeReplacing();
    void SuffixTellsTheFilter();
    void CancelAndDismissEndIt();

  private:
    QString Path(const QString &name) const { return folder_.filePath(name); }

    QTemporaryDir folder_;
    const QString filter_ = u"CSV Files (*.CSV)"_qs;
};

void FileDialogTest::initTestCase()
{
    // The toolkit keeps the dialog's look there.
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, folder_.path());
    QCoreApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
    QFile file(Path(u"old.csv"_qs));
    QVERIFY(file.open(QIODevice::WriteOnly));
}

void FileDialogTest::OpenStaysUntilTheFileIsThere()
{
    MessagePrompts prompts;
    const Running<QString> asked(prompts.AskOpenFile(filter_));
    Type(Path(u"absent.CSV"_qs));
    AnswerBox(u"This file does not exist.\n"_qs + Path(u"absent.CSV"_qs));
    QVERIFY(!asked.Done());
    QTRY_VERIFY(Open<QFileDialog>());
    QCOMPARE(Open<QFileDialog>()->objectName(), u"dlgCommon"_qs);
    Type(folder_.path()); // a folder is entered; the filter shows names in either case
    QTRY_COMPARE(Open<QFileDialog>()->directory().path(), folder_.path());
    auto *const names = Open<QFileDialog>()->findChild<QAbstractItemView *>(u"listView"_qs);
    QTRY_COMPARE(names->model()->rowCount(names->rootIndex()), 1);
    Type(u"old.csv"_qs);
    QVERIFY(asked.Finish());
    QCOMPARE(asked.Value(), Path(u"old.csv"_qs));
    QTRY_VERIFY(!Open<QFileDialog>());
}

void FileDialogTest::SaveAsksBeforeReplacing()
{
    MessagePrompts prompts;
    const Running<QString> asked(prompts.AskSaveFile(Path(u"old.csv"_qs), filter_, u"CSV"_qs));
    QTRY_VERIFY(Open<QFileDialog>());
    QCOMPARE(Open<QFileDialog>()->findChild<QLineEdit *>(u"fileNameEdit"_qs)->text(), u"old.csv"_qs);
    Type(u"gone/new"_qs);
    AnswerBox(u"This folder does not exist.\n"_qs + Path(u"gone"_qs));
    const QString question =
        u"This file already exists. Do you want to replace it?\n"_qs + Path(u"old.csv"_qs);
    Type(u"old.csv"_qs);
    AnswerBox(question); // Return is No
    QVERIFY(!asked.Done());
    QTRY_VERIFY(Open<QFileDialog>());
    QCOMPARE(Open<QFileDialog>()->findChild<QLineEdit *>(u"fileNameEdit"_qs)->text(), u"old.csv"_qs);
    Type(u"old.csv"_qs);
    AnswerBox(question, QMessageBox::Yes);
    QVERIFY(asked.Finish());
    QCOMPARE(asked.Value(), Path(u"old.csv"_qs));

    // The next dialog opens where the last file was.
    const Running<QString> next(prompts.AskSaveFile(QString(), filter_, u"CSV"_qs));
    Type(u"new"_qs);
    QVERIFY(next.Finish());
    QCOMPARE(next.Value(), Path(u"new.CSV"_qs));
}

void FileDialogTest::SuffixTellsTheFilter()
{
    MessagePrompts prompts;
    const QString filter = u"PNG Pictures (*.png);;SVG Drawings (*.svg *.svgz);;All Files (*)"_qs;
    for (const auto &[chosen, typed, name] : {std::tuple("SVG Drawings (*.svg *.svgz)", "one", "one.svg"),
                                              std::tuple("SVG Drawings (*.svg *.svgz)", "two.pdf", "two.pdf"),
                                              std::tuple("All Files (*)", "three", "three.dat")}) {
        const Running<QString> asked(prompts.AskSaveFile(Path(u"graph"_qs), filter, u"dat"_qs));
        QTRY_VERIFY(Open<QFileDialog>());
        Open<QFileDialog>()->selectNameFilter(QString::fromLatin1(chosen));
        Type(QString::fromLatin1(typed));
        QVERIFY(asked.Finish());
        QCOMPARE(asked.Value(), Path(QString::fromLatin1(name)));
    }
}

void FileDialogTest::CancelAndDismissEndIt()
{
    MessagePrompts prompts;
    const Running<QString> cancelled(prompts.AskOpenFile(filter_));
    QTRY_VERIFY(Open<QFileDialog>());
    QTest::keyClick(Open<QFileDialog>(), Qt::Key_Escape);
    QVERIFY(cancelled.Finish());
    QCOMPARE(cancelled.Value(), QString());

    // With a box before the dialog.
    const Running<QString> dismissed(prompts.AskSaveFile(Path(u"old.csv"_qs), filter_, u"CSV"_qs));
    Type(u"old.csv"_qs);
    QTRY_VERIFY(Open<QMessageBox>());
    prompts.DismissAll();
    QVERIFY(dismissed.Finish());
    QCOMPARE(dismissed.Value(), QString());
    const Running<QString> late(prompts.AskOpenFile(filter_));
    QVERIFY(!Open<QFileDialog>());
    QVERIFY(late.Finish());
    QCOMPARE(late.Value(), QString());
    QTRY_VERIFY(QApplication::topLevelWidgets().isEmpty());
}

QTEST_MAIN(FileDialogTest)

#include "file_dialog_test.moc"
