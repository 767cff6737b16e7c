#include "acquire/frmmoniter.h"
#include "app/cli/commandline.h"
#include "app/helpchapters.h"
#include "resources/strings.h"
#include "simulator/options.h"
#include "source/frmsource.h"
#include "testing/files.h"
#include "testing/operatedprogram.h"
#include "testing/rows.h"

#include <QAbstractTextDocumentLayout>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPointer>
#include <QRegularExpression>
#include <QTest>
#include <QTextBlock>
#include <QTextBrowser>

#include <algorithm>

using namespace px40;

namespace {

const QDir Guide(QStringLiteral(PX40_GUIDE));

QString Read(const QString &file)
{
    return QString::fromUtf8(Contents(file)).remove(u'\r');
}

/// What the pattern captures in a text.
QStringList Found(const char *pattern, const QString &within)
{
    QStringList found;
    QRegularExpressionMatchIterator next = QRegularExpression(QLatin1StringView(pattern)).globalMatch(within);
    while (next.hasNext())
        found << next.next().captured(1);
    return found;
}

/// Without commands and what is typed, in one line.
QString Prose(QString chapter)
{
    static const QRegularExpression Block(u"```.*?```"_qs, QRegularExpression::DotMatchesEverythingOption);
    static const QRegularExpression Inline(u"`[^`]*`"_qs);
    return chapter.remove(Block).remove(Inline).simplified();
}

QString Plain(QString caption)
{
    return caption.remove(QRegularExpression(u"&|:$|[.]{3}$"_qs));
}

/// Each text of the program, line by line.
QStringList Texts()
{
    QStringList texts;
#define PX40_TEXT(name, number, text) texts << QString::fromUtf16(text).split(u"\r\n"_qs);
#include "resources/stringtable.h"
#undef PX40_TEXT
    return texts;
}

/// How it is quoted: as it can be seen, with anything in the places of what is put in.
QRegularExpression Quoted(const QString &text)
{
    QString pattern = QRegularExpression::escape(text.simplified());
    pattern.replace(QRegularExpression(u"\\\\%[1-9]"_qs), u"[^\"]+?"_qs).replace(u"\\%n"_qs, u"[0-9]+"_qs);
    pattern.replace(u"\\(s\\)"_qs, u"s?"_qs);
    return QRegularExpression(u'"' + pattern + u'"');
}

/// The first quotation that is none of these; empty when all are.
QString Unknown(const QList<QRegularExpression> &quotations, const QString &prose)
{
    for (qsizetype at = prose.indexOf(u'"'); at >= 0; at = prose.indexOf(u'"', at)) {
        qsizetype end = prose.size() + 1;
        for (const QRegularExpression &one : quotations) {
            const auto match = one.match(prose, at, QRegularExpression::NormalMatch,
                                         QRegularExpression::AnchorAtOffsetMatchOption);
            if (match.hasMatch())
                end = std::min(end, match.capturedEnd());
        }
        if (end > prose.size())
            return prose.mid(at, 60);
        at = end;
    }
    return {};
}

/// Closes a dialog by the key.
void Escape(OperatedProgram &program, QDialog *dialog)
{
    const QPointer<QDialog> open = dialog;
    QTest::keyClick(dialog, Qt::Key_Escape);
    program.Wait([&] { return !open; });
}

/// "File, Save As" and the like.
QStringList MenuPaths(const QWidget &window)
{
    QStringList paths;
    const QList<QMenu *> menus = window.findChildren<QMenu *>();
    for (const QMenu *const menu : menus) {
        for (const QAction *const item : menu->actions())
            paths << Plain(menu->title() + u", "_qs + item->text());
    }
    return paths;
}

} // namespace

/// The guide tells of the program as it is, and is shown at the right chapter.
class GuideTest : public QObject
{
    Q_OBJECT

  private Q_SLOTS:
    void NamesWhatThereIs_data()
    {
        QTest::addColumn<QString>("file");
        QStringList files{Guide.filePath(u"../../README.md"_qs)};
        for (const QString &name : Guide.entryList({u"*.md"_qs}))
            files << Guide.filePath(name);
        QVERIFY(files.size() > 10);
        for (const QString &file : files)
            QTest::newRow(qPrintable(QFileInfo(file).fileName())) << file;
    }

    void NamesWhatThereIs()
    {
        QFETCH(const QString, file);
        const QString chapter = Read(file);
        const QString prose = Prose(chapter);
        const QDir folder = QFileInfo(file).dir();

        ScriptedPrompts prompts;
        const Program program(prompts, Program::Unpaced(), nullptr);
        QStringList captions = MenuPaths(*program.window);
        QList<QRegularExpression> quotations;
        for (const QString &text : Texts()) {
            captions << Plain(text);
            quotations << Quoted(text);
        }
        for (const QString &caption : Found("\\*\\*(.+?)\\*\\*", prose))
            QVERIFY2(captions.contains(Plain(caption)), qPrintable(u"Nothing is called "_qs + caption));
        const QString unknown = Unknown(quotations, prose);
        QVERIFY2(unknown.isEmpty(), qPrintable(u"No message is "_qs + unknown));

        const QString options = ParseCommandLine({u"px40ap"_qs, u"--help"_qs})->answer +
                                QString::fromStdString(sim::HelpText()) +
                                Read(Guide.filePath(u"../../run"_qs));
        for (const QString &option : Found("(?<![\\w-])(--[a-z][a-z-]+)", chapter))
            QVERIFY2(QRegularExpression(option + u"(?![\\w-])"_qs).match(options).hasMatch(),
                     qPrintable(u"There is no option \"%1\"."_qs.arg(option)));
        for (const QString &picture : Found("!\\[[^\\]]*\\]\\(([^)]*)\\)", prose))
            QVERIFY2(folder.exists(picture), qPrintable(u"There is no picture \"%1\"."_qs.arg(picture)));
    }

    void TellsOfEachMessage()
    {
        const QString told = Prose(Read(Guide.filePath(u"messages.md"_qs)));
        for (const QString &text : Texts()) {
            if (text.endsWith(u'.') && !text.endsWith(u"..."_qs))
                QVERIFY2(Quoted(text).match(told).hasMatch(), qPrintable(u"Nothing tells of "_qs + text));
        }
    }

    /// Under F1 also in dialogs, in the browser of the desktop.
    void OpensTheChapterOfTheFocus()
    {
        OperatedProgram program(Program::Port::Simulated);
        program.StartUp();
        const auto chapter = [&](QWidget *focus) {
            const qsizetype before = program.desktop.Shown().size();
            program.BringToFront(focus->window());
            focus->setFocus();
            QTest::keyClick(focus, Qt::Key_F1);
            program.Wait([&] { return program.desktop.Shown().size() > before; });
            return QFileInfo(program.desktop.Shown().last()).baseName();
        };
        const auto dialog = [&](const char *item, const char *name) {
            program.Choose(item);
            QDialog *const opened = program.Dialog(name);
            const QString shown = chapter(opened);
            Escape(program, opened);
            return shown;
        };
        QCOMPARE(chapter(program.window.get()), u"index"_qs);
        QCOMPARE(dialog("mnuSetupCommport", "frmPort"), u"connect"_qs);
        QCOMPARE(chapter(OpenOne<frmMoniter>()), u"watch"_qs);
        QCOMPARE(chapter(OpenOne<frmSource>()), u"source"_qs);
        program.Choose("mnuRealtimeNew");
        QCOMPARE(chapter(program.Find<QWidget>("fgData")), u"log"_qs);
        QCOMPARE(chapter(program.Find<QWidget>("chData")), u"graph"_qs);
        QCOMPARE(dialog("mnuSetupInterval", "frmInterval"), u"log"_qs);
        QCOMPARE(dialog("mnuSetupGraph", "frmSetting"), u"graph"_qs);
        QCOMPARE(dialog("mnuFileForward", "frmForward"), u"forward"_qs);
        QCOMPARE(dialog("mnuFileSaveAs", "dlgCommon"), u"files"_qs);
        QCOMPARE(dialog("mnuHelpAbout", "frmAbout"), u"index"_qs);
        QCOMPARE(HelpChapter({u"qt_msgbox_label"_qs, u"msgBox"_qs}), u"messages"_qs);
        for (const char *const other : {"messages", "download"}) // not opened above
            QVERIFY(!HelpFile(QString::fromLatin1(other)).isEmpty());
    }

    void ShowsTheGuideWithoutABrowser()
    {
        OperatedProgram program(Program::Port::Simulated);
        program.desktop.ShowNothing();
        program.StartUp();
        program.Choose("mnuHelpContents");
        QDialog *const window = program.Dialog("frmHelp");
        auto *const text = window->findChild<QTextBrowser *>();
        const QString title = window->windowTitle();
        // By a link, and back. The chapter's picture is wide, and shown as wide as the text.
        text->setSource(QUrl(u"download.html"_qs));
        QVERIFY(window->windowTitle() != title);
        QVERIFY(text->document()->size().width() <= text->viewport()->width());
        const QTextCursor picture = text->document()->find(QString(QChar::ObjectReplacementCharacter));
        QVERIFY(text->document()->documentLayout()->blockBoundingRect(picture.block()).height() > 200);
        auto *const find = window->findChild<QLineEdit *>();
        QTest::keyClick(text, Qt::Key_F, Qt::ControlModifier);
        QCOMPARE(window->focusWidget(), find);
        for (const auto &[words, found] :
             {std::pair(u"noise"_qs, true), {u"fetches"_qs, true}, {u"gizmo"_qs, false}}) {
            find->setText(words);
            QTest::keyClick(find, Qt::Key_Return);
            QCOMPARE(text->textCursor().selectedText() == words, found);
            QCOMPARE(window->findChild<QLabel *>(u"lbFind"_qs)->text().isEmpty(), found);
        }
        program.Click("btBack", window);
        QCOMPARE(window->windowTitle(), title);
        // A box opens, which blocks that window: once more from there it can be used, and the box stays.
        program.Choose("mnuRealtimeNew");
        program.Choose("mnuRealtimeStart");
        QMessageBox *const box = program.Box();
        const auto press = [](QWidget *widget, auto key) { QTest::keyClick(widget->windowHandle(), key); };
        press(window, Qt::Key_Escape);
        QVERIFY(window->isVisible());
        press(box, Qt::Key_F1);
        program.Wait([&] { return window->windowTitle() != title; });
        const QPointer<QDialog> open = window;
        press(window, Qt::Key_Escape);
        program.Wait([&] { return !open; });
        QVERIFY(box->isVisible());
        // Opened from the box it outlives it.
        press(box, Qt::Key_F1);
        program.Wait([] { return OpenOne<QDialog>("frmHelp"); });
        program.BringToFront(box);
        program.Answer(u"Cancel"_qs);
        Escape(program, program.Dialog("frmHelp"));
    }
};

QTEST_MAIN(GuideTest)
#include "guide_test.moc"
