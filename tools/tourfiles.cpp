// Readings saved to files, opened again, and kept from being lost.

#include "tools/tour.h"

#include "document/frmdata.h"
#include "tools/stage.h"
#include "tools/tourchecks.h"

#include <QAbstractItemView>
#include <QDialogButtonBox>
#include <QDir>
#include <QFile>
#include <QLineEdit>
#include <QMdiArea>
#include <QMessageBox>
#include <QPushButton>

using namespace Qt::Literals::StringLiterals;

namespace px40 {

namespace {

constexpr char16_t First[] = u"bench 3.CSV";
constexpr char16_t Second[] = u"bench 3 again.CSV";
constexpr char16_t Protected[] = u"reference.CSV";

QString Path(const char16_t *name)
{
    return DocumentPath(QString::fromUtf16(name));
}

QByteArray Content(const QString &name)
{
    QFile file(name);
    Require(file.open(QIODevice::ReadOnly), u"There is no file \"%1\"."_s.arg(name));
    return file.readAll();
}

void WriteFile(const QString &name, const QByteArray &content)
{
    QFile file(name);
    Require(file.open(QIODevice::WriteOnly) && file.write(content) == content.size(),
            u"The file \"%1\" cannot be made."_s.arg(name));
}

void RequireBox(const QMessageBox *box, const QString &first, const QString &name)
{
    Require(box->text().startsWith(first) && box->text().contains(QDir::toNativeSeparators(name)),
            u"The box about \"%1\" says \"%2\"."_s.arg(name, box->text()));
}

/// The dialog reads its folder in the background, and puts it in order after that.
void AwaitList(const Stage &stage, const QDialog *dialog, const QStringList &files)
{
    const auto *const list = stage.Find<QAbstractItemView>(u"listView"_s, dialog);
    const auto listed = [list] {
        QStringList names;
        for (int row = 0; row < list->model()->rowCount(list->rootIndex()); ++row)
            names << list->model()->index(row, 0, list->rootIndex()).data().toString();
        return names;
    };
    Await([&] { return listed() == files; },
          u"The file dialog lists \"%1\"."_s.arg(listed().join(u"\", \""_s)));
}

} // namespace

void Tour::SaveReadings(Stage &stage)
{
    stage.ClickTool(u"Save"_s); // without a name as yet
    QDialog *const dialog = stage.AwaitFileDialog();
    const QString proposed = stage.Find<QLineEdit>(u"fileNameEdit"_s, dialog)->text();
    Require(proposed.startsWith(u"1New 20"_s) && proposed.endsWith(u".CSV"_s),
            u"\"%1\" is proposed for the new file."_s.arg(proposed));
    camera_.Take(u"18a-save-as"_s, {stage.window.get(), dialog});
    stage.TypeFileName(dialog, u"bench 3"_s);
    Stage::Click(stage.Find<QDialogButtonBox>(u"buttonBox"_s, dialog)->button(QDialogButtonBox::Save));
    AwaitIdle(stage);
    RequireSaved(stage.DataWindows().last(), Path(First));
    RequireText(u"The status bar after saving"_s, stage.Message(), u"bench 3.CSV saved."_s);
    camera_.Take(u"18b-saved"_s, {stage.window.get()});
}

void Tour::SaveOverReadOnly(Stage &stage)
{
    const QString name = Path(Protected);
    const QByteArray content = Content(Path(First));
    WriteFile(name, content);
    QFile::setPermissions(name, QFile::ReadOwner | QFile::ReadGroup | QFile::ReadOther);

    stage.Choose(u"mnuFile"_s, u"mnuFileSaveAs"_s);
    QDialog *dialog = stage.AwaitFileDialog();
    stage.ChooseFile(dialog, name);
    QMessageBox *box = stage.AwaitBox();
    RequireBox(box, u"This file already exists. Do you want to replace it?"_s, name);
    stage.Answer(box, QMessageBox::Yes);
    box = stage.AwaitBox();
    RequireBox(box, u"This file is a read-only file; you cannot save data to it."_s, name);
    camera_.Take(u"18c-save-read-only"_s, {stage.window.get(), box});
    stage.Answer(box, QMessageBox::Ok);
    dialog = stage.AwaitFileDialog();
    stage.CancelFileDialog(dialog);
    AwaitIdle(stage);
    Require(Content(name) == content, u"A read-only file was written."_s);
    RequireSaved(stage.DataWindows().last(), Path(First));
}

void Tour::SaveOverAnother(Stage &stage)
{
    const QString name = Path(Second);
    WriteFile(name, "old");
    stage.Choose(u"mnuFile"_s, u"mnuFileSaveAs"_s);
    QDialog *const dialog = stage.AwaitFileDialog();
    stage.ChooseFile(dialog, name);
    QMessageBox *box = stage.AwaitBox();
    RequireBox(box, u"This file already exists. Do you want to replace it?"_s, name);
    camera_.Take(u"18d-save-replace"_s, {stage.window.get(), dialog, box});
    stage.Answer(box, QMessageBox::No);
    Require(dialog->isVisible() && Content(name) == "old", u"No does not lead back to the file dialog."_s);
    stage.ChooseFile(dialog, name);
    stage.Answer(stage.AwaitBox(), QMessageBox::Yes);
    AwaitIdle(stage);
    RequireSaved(stage.DataWindows().last(), name);
    Require(Content(name) == Content(Path(First)), u"The same readings make two different files."_s);
}

/// What was saved, opened and saved again is the same file.
void Tour::OpenReadings(Stage &stage)
{
    CloseSaved(stage);
    stage.ClickTool(u"Open"_s);
    QDialog *const dialog = stage.AwaitFileDialog();
    AwaitList(stage, dialog,
              {QString::fromUtf16(Second), QString::fromUtf16(First), QString::fromUtf16(Protected)});
    camera_.Take(u"19a-open"_s, {stage.window.get(), dialog});
    stage.CancelFileDialog(dialog);
    AwaitIdle(stage);

    const QByteArray before = Content(Path(First));
    OpenFile(stage, Path(First));
    frmData *const left = stage.DataWindows().last();
    Require(Rows(left) == StoredReadings, u"The opened file has %1 readings."_s.arg(Rows(left)));
    stage.ClickTool(u"Save"_s);
    AwaitIdle(stage);
    Require(Content(Path(First)) == before, u"A file that was opened and saved is another one."_s);

    OpenFile(stage, Path(Second));
    frmData *const right = stage.DataWindows().last();
    const QRect room = stage.Workspace()->viewport()->rect();
    const QRect half(room.topLeft(), QSize(room.width() / 2, room.height()));
    left->setGeometry(half);
    right->setGeometry(half.translated(half.width(), 0));
    camera_.Take(u"19b-two-files"_s, {stage.window.get()});
}

void Tour::OpenAnotherType(Stage &stage)
{
    const QString name = Path(u"parts.CSV");
    WriteFile(name, "part,quantity\r\nfuse 63 mA,2\r\ntest lead,4\r\n");
    const qsizetype before = stage.DataWindows().size();
    stage.Choose(u"mnuFile"_s, u"mnuFileOpen"_s);
    stage.ChooseFile(stage.AwaitFileDialog(), name);
    QMessageBox *const box = stage.AwaitBox();
    RequireBox(box, u"This file is a different data type."_s, name);
    camera_.Take(u"19c-open-another-type"_s, {stage.window.get(), box});
    stage.Answer(box, QMessageBox::Ok);
    AwaitIdle(stage);
    Require(stage.DataWindows().size() == before, u"A file that cannot be read left a window."_s);
}

void Tour::CloseAndSave(Stage &stage)
{
    const QString name = Path(u"bench 4.CSV");
    stage.ClickTool(u"Mdata"_s);
    stage.DownloadOnly();
    AwaitIdle(stage);
    frmData *const data = stage.DataWindows().last();
    const qsizetype before = stage.DataWindows().size();
    for (const bool save : {false, true}) {
        stage.Choose(u"mnuFile"_s, u"mnuFileClose"_s);
        QMessageBox *const box = stage.AwaitBox();
        if (!save)
            camera_.Take(u"19d-close-question"_s, {stage.window.get(), box});
        stage.Answer(box, QMessageBox::Yes);
        QDialog *const dialog = stage.AwaitFileDialog();
        if (save) {
            stage.ChooseFile(dialog, name);
        } else {
            stage.CancelFileDialog(dialog);
            AwaitIdle(stage);
            Require(stage.DataWindows().contains(data) && !data->Data()->Saved(),
                    u"Cancel in the file dialog did not keep the readings."_s);
        }
    }
    Await([&stage, before] { return stage.Idle() && stage.DataWindows().size() == before - 1; },
          u"The data window did not close after saving."_s);
    OpenFile(stage, name);
    Require(Rows(stage.DataWindows().last()) == StoredReadings, u"The saved readings are not complete."_s);
}

} // namespace px40
