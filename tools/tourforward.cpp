// Stored readings forwarded to a workbook: what is asked, what comes of it, which workbooks are refused.

#include "tools/tour.h"

#include "document/frmdata.h"
#include "forward/forwardoutcome.h"
#include "resources/strings.h"
#include "tools/stage.h"
#include "tools/tourchecks.h"

#include <QCheckBox>
#include <QDir>
#include <QFile>
#include <QLineEdit>
#include <QMessageBox>
#include <QRadioButton>

using namespace Qt::Literals::StringLiterals;

namespace px40 {

namespace {

constexpr char16_t Title[] = u"Loop 7, as found";

void WriteFile(const QString &name, const QByteArray &content)
{
    QFile file(name);
    Require(file.open(QIODevice::WriteOnly) && file.write(content) == content.size(),
            u"The file \"%1\" cannot be made."_s.arg(name));
}

QByteArray Content(const QString &name)
{
    QFile file(name);
    Require(file.open(QIODevice::ReadOnly), u"There is no file \"%1\"."_s.arg(name));
    return file.readAll();
}

QMessageBox *AskForDownload(Stage &stage)
{
    stage.ClickTool(u"Mdata"_s);
    QMessageBox *const question = stage.AwaitBox();
    RequireText(u"The question before a download"_s, question->text(), Text(Str::AskForwardAfterReceive));
    return question;
}

/// The dialog as it is before the user has touched it.
void RequireFields(const Stage &stage, const QDialog *dialog, const QString &file, const QString &title)
{
    const bool custom = !file.isEmpty();
    Require(stage.Find<QRadioButton>(u"obOpen"_s, dialog)->isChecked() == custom &&
                stage.Find<QRadioButton>(u"obNew"_s, dialog)->isChecked() == !custom,
            u"The forward dialog proposes the wrong kind of workbook."_s);
    RequireText(u"The workbook in the forward dialog"_s, stage.Find<QLineEdit>(u"tbFile"_s, dialog)->text(),
                QDir::toNativeSeparators(file));
    const auto *const field = stage.Find<QLineEdit>(u"tbTitle"_s, dialog);
    RequireText(u"The title in the forward dialog"_s, field->text(), title);
    Require(dialog->focusWidget() == field && field->selectedText() == title,
            u"The title in the forward dialog is not ready to be typed over."_s);
    for (const QString &box : {u"cbFile"_s, u"cbTitle"_s})
        Require(stage.Find<QCheckBox>(box, dialog)->isChecked(), u"\"%1\" is not checked."_s.arg(box));
}

/// Presses OK on a workbook that cannot be used; the box that tells so.
QMessageBox *PressRefused(Stage &stage, QDialog *dialog, const QString &file, Str reason)
{
    stage.Type(dialog, u"tbFile"_s, file);
    Require(stage.Find<QRadioButton>(u"obOpen"_s, dialog)->isChecked(),
            u"Typing a file's name does not choose Custom."_s);
    stage.ClickButton(dialog, u"btOk"_s);
    QMessageBox *const box = stage.AwaitBox();
    const QString allowed =
        u"Microsoft Excel File, Custom: the path of an existing .xlsx or .xlsm workbook that can be changed."_s;
    RequireText(u"The refusal of a workbook"_s, box->text(), Text(reason) + u'\n' + file + u'\n' + allowed);
    return box;
}

void RequireReadyForAnother(const Stage &stage, const QDialog *dialog, const QString &file)
{
    const auto *const field = stage.Find<QLineEdit>(u"tbFile"_s, dialog);
    Require(dialog->isVisible() && dialog->focusWidget() == field && field->selectedText() == file,
            u"The forward dialog is not ready for another workbook."_s);
}

QMessageBox *AwaitHolder(Stage &stage)
{
    QMessageBox *const box = stage.AwaitBox();
    RequireText(u"The question about a workbook that is open elsewhere"_s, box->text(),
                Text(Str::BookInUse).arg(u"A. Meyer on bench-pc-2"_s) + u'\n' + LoopBook());
    return box;
}

} // namespace

/// Cancel gives the download up, in the question and in the dialog alike.
void Tour::ForwardQuestion(Stage &stage)
{
    QMessageBox *question = AskForDownload(stage);
    camera_.Take(u"27a-download-question"_s, {stage.window.get(), question});
    stage.Answer(question, QMessageBox::Cancel);
    AwaitIdle(stage);

    stage.Answer(AskForDownload(stage), QMessageBox::Yes);
    QDialog *const dialog = stage.AwaitDialog(u"frmForward"_s);
    RequireFields(stage, dialog, QString(), QString());
    Require(stage.Find<QCheckBox>(u"cbShow"_s, dialog)->isChecked(),
            u"The workbook would not be opened afterwards."_s);
    camera_.Take(u"27b-forward-new"_s, {stage.window.get(), dialog});
    stage.CloseDialog(dialog, u"btCancel"_s);
    AwaitIdle(stage);
    Require(stage.DataWindows().size() == 1, u"A download that was given up has left a window."_s);
}

void Tour::ForwardDownload(Stage &stage)
{
    QDir().mkpath(QFileInfo(LoopBook()).path());
    stage.Answer(AskForDownload(stage), QMessageBox::Yes);
    QDialog *const dialog = stage.AwaitDialog(u"frmForward"_s);
    stage.Type(dialog, u"tbTitle"_s, QString::fromUtf16(Title));
    stage.CloseDialog(dialog, u"btOk"_s);
    QDialog *const fileDialog = stage.AwaitFileDialog();
    RequireWholeSet(stage, stage.DataWindows().last());
    const QString proposed = stage.Find<QLineEdit>(u"fileNameEdit"_s, fileDialog)->text();
    Require(proposed.startsWith(QString::fromUtf16(Title) + u" 20"_s) && proposed.endsWith(u".xlsx"_s),
            u"\"%1\" is proposed for the new workbook."_s.arg(proposed));
    camera_.Take(u"27c-forward-new-workbook"_s, {stage.window.get(), fileDialog});
    stage.ChooseFile(fileDialog, LoopBook());
    AwaitIdle(stage);
    RequireText(u"The status bar after a download was forwarded"_s, stage.Message(),
                OutcomeText({50, LoopBook(), true}));
    Require(stage.desktop.shown == QStringList(LoopBook()), u"The written workbook is not opened."_s);
    Require(!stage.DataWindows().last()->Data()->Saved(), u"Forwarding has marked the readings as saved."_s);
    camera_.Take(u"27d-download-forwarded"_s, {stage.window.get()});
}

void Tour::ForwardRefusals(Stage &stage)
{
    const QString missing = QFileInfo(LoopBook()).path() + u"/loop 17.xlsx"_s;
    const QString old = DocumentPath(u"reference 1998.xls"_s);
    // The beginning of such a file, and the name under which it holds the sheets.
    const QByteArray signature("\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1", 8);
    WriteFile(old, signature + QByteArray(504, '\0') + QByteArray("W\0o\0r\0k\0b\0o\0o\0k\0", 16));

    stage.Choose(u"mnuFile"_s, u"mnuFileForward"_s);
    QDialog *const dialog = stage.AwaitDialog(u"frmForward"_s);
    RequireFields(stage, dialog, QString(), QString::fromUtf16(Title)); // "New" keeps no file in mind
    QMessageBox *box = PressRefused(stage, dialog, missing, Str::ForwardFileNotFound);
    camera_.Take(u"27e-forward-file-missing"_s, {stage.window.get(), dialog, box});
    stage.Answer(box, QMessageBox::Ok);
    RequireReadyForAnother(stage, dialog, missing);
    box = PressRefused(stage, dialog, old, Str::BookLegacy);
    camera_.Take(u"27f-forward-older-kind"_s, {stage.window.get(), dialog, box});
    stage.Answer(box, QMessageBox::Ok);
    RequireReadyForAnother(stage, dialog, old);
    stage.CloseDialog(dialog, u"btCancel"_s);
    AwaitIdle(stage);
}

/// A second set for the same workbook, which is not to be opened this time.
void Tour::ForwardToSameBook(Stage &stage)
{
    const QStringList shown = stage.desktop.shown;
    stage.ClickTool(u"Forward"_s);
    QDialog *const dialog = stage.AwaitDialog(u"frmForward"_s);
    stage.Type(dialog, u"tbTitle"_s, u"Loop 7, as left"_s);
    stage.Type(dialog, u"tbFile"_s, LoopBook());
    QTest::keyClick(stage.Find<QCheckBox>(u"cbShow"_s, dialog), Qt::Key_Space);
    stage.CloseDialog(dialog, u"btOk"_s);
    AwaitIdle(stage);
    RequireText(u"The status bar after a sheet was added"_s, stage.Message(),
                OutcomeText({50, LoopBook(), true}));
    Require(stage.desktop.shown == shown, u"The workbook is opened although that was switched off."_s);
}

/// LibreOffice on another computer has the workbook open, and closes it later.
void Tour::ForwardToHeldBook(Stage &stage)
{
    const QByteArray before = Content(LoopBook());
    const QString lock = QFileInfo(LoopBook()).path() + u"/.~lock.loop 7.xlsx#"_s;
    WriteFile(lock, "A. Meyer,meyer,bench-pc-2,21.11.2026 09:12,file:///home/meyer/.config/libreoffice/4;");
    stage.ClickTool(u"Forward"_s);
    QDialog *const dialog = stage.AwaitDialog(u"frmForward"_s);
    RequireFields(stage, dialog, LoopBook(), u"Loop 7, as left"_s);
    Require(!stage.Find<QCheckBox>(u"cbShow"_s, dialog)->isChecked(),
            u"It is forgotten that the workbook is not to be opened."_s);
    camera_.Take(u"27g-forward-remembered"_s, {stage.window.get(), dialog});
    stage.CloseDialog(dialog, u"btOk"_s);

    QMessageBox *box = AwaitHolder(stage);
    camera_.Take(u"27h-forward-workbook-in-use"_s, {stage.window.get(), box});
    stage.Answer(box, Text(Str::Retry));
    stage.Answer(AwaitHolder(stage), Text(Str::NewWorkbook));
    stage.CancelFileDialog(stage.AwaitFileDialog());
    box = AwaitHolder(stage);
    Require(Content(LoopBook()) == before, u"A workbook that is open elsewhere was written."_s);
    QFile::remove(lock);
    stage.Answer(box, Text(Str::Retry));
    AwaitIdle(stage);
    Require(Content(LoopBook()) != before, u"Retry does not write the workbook that is free again."_s);
    camera_.Take(u"27i-forwarded-after-retry"_s, {stage.window.get()});
}

} // namespace px40
