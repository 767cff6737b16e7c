#include "testing/files.h"
#include "testing/operatedprogram.h"

#include <QAbstractButton>
#include <QAbstractItemView>
#include <QFileDialog>
#include <QLineEdit>
#include <QSettings>
#include <QTest>

#include <tuple>

using namespace px40;

namespace {

QLineEdit *NameField()
{
    return OpenOne<QFileDialog>() ? OpenOne<QFileDialog>()->findChild<QLineEdit *>(u"fileNameEdit"_qs)
                                  : nullptr;
}

void Type(const QString &name)
{
    QTRY_VERIFY(NameField());
    OpenOne<QFileDialog>()->activateWindow();
    NameField()->setFocus();
    QTRY_VERIFY(NameField()->hasFocus());
    NameField()->setText(name); // at once: a list of proposals would take the keys
    QTest::keyClick(NameField(), Qt::Key_Return);
}

/// Looks at the box before the dialog and presses a key.
void AnswerBox(const QString &text, Qt::Key key)
{
    QTRY_VERIFY(OpenOne<QMessageBox>());
    QCOMPARE(OpenOne<QMessageBox>()->text(), text);
    QTest::keyClick(OpenOne<QMessageBox>(), key);
    QTRY_VERIFY(!OpenOne<QMessageBox>());
}

QString Answered(const Running<QString> &asked)
{
    return asked.Finish() ? asked.Value() : u"none in time"_qs;
}

} // namespace

class FileDialogTest : public QObject
{
    Q_OBJECT

  private Q_SLOTS:
    void initTestCase()
    {
        // The toolkit keeps the dialog's look there.
        QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, folder_.path());
        QCoreApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
        QVERIFY(Put(old_, {}));
    }

    void OpenStaysUntilTheFileIsThere()
    {
        MessagePrompts prompts;
        const Running<QString> asked(prompts.AskOpenFile(filter_, QString()));
        Type(Path(u"absent.CSV"_qs));
        AnswerBox(u"This file does not exist.\n"_qs + Path(u"absent.CSV"_qs), Qt::Key_Return);
        QVERIFY(!asked.Done());
        QTRY_VERIFY(OpenOne<QFileDialog>());
        QCOMPARE(OpenOne<QFileDialog>()->objectName(), u"dlgCommon"_qs);
        Type(folder_.path()); // a folder is entered; the filter shows names in either case
        QTRY_COMPARE(OpenOne<QFileDialog>()->directory().path(), folder_.path());
        auto *const names = OpenOne<QFileDialog>()->findChild<QAbstractItemView *>(u"listView"_qs);
        QTRY_COMPARE(names->model()->rowCount(names->rootIndex()), 1);
        Type(u"old.csv"_qs);
        QCOMPARE(Answered(asked), old_);
        QTRY_VERIFY(!OpenOne<QFileDialog>());
    }

    void SaveAsksBeforeReplacing()
    {
        MessagePrompts prompts;
        const Running<QString> asked(prompts.AskSaveFile(old_, filter_));
        QTRY_VERIFY(NameField());
        QCOMPARE(NameField()->text(), u"old.csv"_qs);
        Type(u"gone/new"_qs);
        AnswerBox(u"This folder does not exist.\n"_qs + Path(u"gone"_qs), Qt::Key_Return);
        const QString question = u"This file already exists. Do you want to replace it?\n"_qs + old_;
        Type(u"old.csv"_qs);
        AnswerBox(question, Qt::Key_Return); // which is No
        QVERIFY(!asked.Done());
        Type(u"old.csv"_qs);
        AnswerBox(question, Qt::Key_Y);
        QCOMPARE(Answered(asked), old_);

        // The next dialog opens where the last file was, and there a new name that is proposed leads.
        const QString proposed = u"1New 2026-03-05 070809.CSV"_qs;
        const Running<QString> next(prompts.AskSaveFile(proposed, filter_));
        QTRY_VERIFY(NameField());
        QCOMPARE(NameField()->text(), proposed);
        QTest::keyClick(NameField(), Qt::Key_Return);
        QCOMPARE(Answered(next), Path(proposed));
    }

    void SuffixTellsTheFilter()
    {
        MessagePrompts prompts;
        const QString svg = u"SVG Drawings (*.svg *.svgz)"_qs;
        const QString filter = u"PNG Pictures (*.png);;%1;;All Files (*)"_qs.arg(svg);
        for (const auto &[chosen, typed, name] : {std::tuple(svg, u"one"_qs, u"one.svg"_qs),
                                                  {svg, u"two.pdf"_qs, u"two.pdf"_qs},
                                                  {u"All Files (*)"_qs, u"three"_qs, u"three"_qs}}) {
            const Running<QString> asked(prompts.AskSaveFile(Path(u"graph"_qs), filter));
            QTRY_VERIFY(OpenOne<QFileDialog>());
            OpenOne<QFileDialog>()->selectNameFilter(chosen);
            Type(typed);
            QCOMPARE(Answered(asked), Path(name));
        }
    }

    void CancelAndDismissEndIt()
    {
        MessagePrompts prompts;
        const Running<QString> cancelled(prompts.AskOpenFile(filter_, QString()));
        QTRY_VERIFY(OpenOne<QFileDialog>());
        QTest::keyClick(OpenOne<QFileDialog>(), Qt::Key_Escape);
        QCOMPARE(Answered(cancelled), QString());

        // With a box before the dialog.
        const Running<QString> dismissed(prompts.AskSaveFile(old_, filter_));
        Type(u"old.csv"_qs);
        QTRY_VERIFY(OpenOne<QMessageBox>());
        prompts.DismissAll();
        QCOMPARE(Answered(dismissed), QString());
        const Running<QString> late(prompts.AskOpenFile(filter_, QString()));
        QVERIFY(!OpenOne<QFileDialog>());
        QCOMPARE(Answered(late), QString());
        QTRY_VERIFY(QApplication::topLevelWidgets().isEmpty());
    }

    void LastButtonIsTheWayOut()
    {
        const QStringList choices = {u"&Retry"_qs, u"New"_qs, u"Cancel"_qs};
        const std::pair<int, std::function<void()>> rows[] = {
            {0, [] { QTest::keyClick(OpenOne<QMessageBox>(), Qt::Key_Return); }},
            {1, [] { OpenOne<QMessageBox>()->buttons().at(1)->click(); }},
            {2, [] { OpenOne<QMessageBox>()->buttons().at(2)->click(); }},
            {2, [] { QTest::keyClick(OpenOne<QMessageBox>(), Qt::Key_Escape); }},
            {2, [] { OpenOne<QMessageBox>()->close(); }},
        };
        MessagePrompts prompts;
        for (const auto &[index, answer] : rows) {
            const Running<int> asked(prompts.AskOneOf(u"In use.\r\nBook"_qs, choices));
            QTRY_VERIFY(OpenOne<QMessageBox>());
            QCOMPARE(OpenOne<QMessageBox>()->text(), u"In use.\nBook"_qs);
            answer();
            QVERIFY(asked.Finish());
            QCOMPARE(asked.Value(), index);
        }
    }

  private:
    QString Path(const QString &name) const { return folder_.filePath(name); }

    QTemporaryDir folder_;
    const QString filter_ = u"CSV Files (*.CSV)"_qs;
    const QString old_ = Path(u"old.csv"_qs);
};

QTEST_MAIN(FileDialogTest)

#include "file_dialog_test.moc"
