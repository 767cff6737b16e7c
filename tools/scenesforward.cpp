// Readings forwarded to a workbook: what is asked, what comes of it, which workbooks are refused.

#include "resources/strings.h"
#include "testing/files.h"
#include "tools/scenes.h"
#include "tools/stage.h"

#include <QDialog>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLabel>
#include <QProcess>
#include <QProgressBar>
#include <QStandardPaths>
#include <QTest>
#include <QTime>
#include <QUrl>

#include <cmath>
#include <cstdio>

using namespace Qt::Literals::StringLiterals;

namespace px40 {

namespace {

QString LoopBook()
{
    return Stage::Document(u"Plant 2/Pressure transmitters, yearly calibration/loop 7.xlsx"_s);
}

QString OvenBook()
{
    return Stage::Document(u"oven 2.xlsx"_s);
}

void Write(const QString &name, const QByteArray &bytes)
{
    Require(Put(name, bytes), u"The file \"%1\" cannot be made."_s.arg(name));
}

/// Answers the forward dialog and the file dialog: a new workbook of that name.
void ForwardToNew(Stage &stage, const QString &title, const QString &book)
{
    QDialog *const dialog = stage.Dialog("frmForward");
    stage.Click("obNew", dialog); // also if a workbook is remembered
    stage.Type(dialog, {{"tbTitle", title}});
    stage.CloseDialog(dialog, "btOk");
    stage.ChooseFile(book);
}

/// Presses OK on a workbook that cannot be used.
void TakeRefused(Stage &stage, const char *picture, const QString &file)
{
    QDialog *const dialog = stage.Dialog("frmForward");
    stage.Type(dialog, {{"tbFile", file}});
    stage.Click("btOk", dialog);
    stage.Take(picture, {dialog, stage.Box()});
    stage.Answer(u"OK"_s);
}

/// A data file of more than a day, as a run leaves it: an oven that is switched on and off.
QByteArray Night()
{
    static constexpr int Rows = 100'000;
    static constexpr double SecondsPerTurn = 1500;
    QByteArray file = "2\r\n9600,4800,0\r\n00,00,00,01\r\nTrue,,,,\r\n32767\r\nTrue,1,1\r\nTrue,0,10,1,1\r\n";
    for (int second = 0; second < Rows; ++second) {
        const QString time = QTime(21, 0).addSecs(second).toString(u"HH:mm:ss"_s);
        const double degrees = 180 + 12 * std::sin(second / SecondsPerTurn);
        file += time.toLatin1() + ',' + QByteArray::number(degrees, 'f', 1) + ",C.,0.0,C.\r\n";
    }
    return file + ",,,,\r\n";
}

/// The progress dialog when its bar has come over 40 % of the writing, but not to its end.
void TakeProgress(Stage &stage, const char *picture)
{
    const QDialog *const dialog = stage.Cancel();
    const auto *const bar = stage.Find<QProgressBar>("pbNow", dialog);
    const auto *const part = stage.Find<QLabel>("llMsg", dialog);
    const auto reached = [&] {
        return dialog->isVisible() && part->text() == Text(Str::ForwardWriting) && bar->value() >= 40 &&
               bar->value() < bar->maximum();
    };
    stage.Wait(reached);
    stage.Take(picture, {stage.Cancel()});
}

/// A new data set of three rows, Start and Yes; until the second row has come.
void StartForwardedRun(Stage &stage, const QString &book)
{
    stage.Choose("New");
    stage.Choose("Interval");
    QDialog *const interval = stage.Dialog("frmInterval");
    stage.Type(interval, {{"tbIsec", u"1"_s}, {"tbPsec", u"2"_s}});
    stage.CloseDialog(interval, "btOk");
    stage.Choose("Start");
    stage.Answer(u"Yes"_s);
    ForwardToNew(stage, u"Oven 2, warming up"_s, book);
    stage.Idle();
    stage.SecondsUntil([&] { return stage.Rows() == 2; });
}

/// What a spreadsheet program makes of each sheet of the workbook.
void DrawSheets(Stage &stage, const QString &book, const QList<const char *> &names)
{
    const QString office = QStandardPaths::findExecutable(u"soffice"_s);
    const QString drawer = QStandardPaths::findExecutable(u"pdftoppm"_s);
    if (office.isEmpty() || drawer.isEmpty()) {
        std::puts("Skipped: pictures of worksheets, because soffice or pdftoppm is not installed.");
        return;
    }
    const QDir work(stage.folder.path());
    const QString name = QFileInfo(book).completeBaseName();
    const QString profile = QUrl::fromLocalFile(work.filePath(u"profile"_s)).toString(QUrl::FullyEncoded);
    // However large a sheet is, its chart is not cut off.
    const QString form = uR"(pdf:calc_pdf_Export:{"SinglePageSheets":{"type":"boolean","value":"true"}})"_s;
    QProcess::execute(office, {u"-env:UserInstallation="_s + profile, u"--headless"_s, u"--convert-to"_s,
                               form, u"--outdir"_s, work.path(), book});
    QProcess::execute(drawer,
                      {u"-png"_s, u"-r"_s, u"100"_s, work.filePath(name + u".pdf"_s), work.filePath(name)});
    const QStringList pictures = work.entryList({name + u"-*.png"_s}, QDir::Files, QDir::Name);
    Require(pictures.size() == names.size(), u"\"%1\" was not drawn."_s.arg(book));
    for (qsizetype i = 0; i < names.size(); ++i)
        stage.Keep(names[i], work.filePath(pictures[i]));
}

} // namespace

void ForwardReadings(Stage &stage)
{
    StartWithReadings(stage);
    const QString folder = QFileInfo(LoopBook()).path();
    QDir().mkpath(folder);
    stage.Choose("Mdata");
    stage.Take("27a-download-question", {stage.Box()});
    stage.Answer(u"Yes"_s);
    QDialog *dialog = stage.Dialog("frmForward");
    stage.Take("27b-forward-new", {dialog});
    stage.Type(dialog, {{"tbTitle", u"Loop 7, as found"_s}});
    stage.CloseDialog(dialog, "btOk");
    stage.Take("27c-forward-new-workbook", {stage.FileDialog()});
    stage.ChooseFile(LoopBook());
    stage.Idle();
    stage.Take("27d-download-forwarded");

    // The beginning of an older kind of workbook, and the name under which it holds the sheets.
    const QString old = Stage::Document(u"reference 1998.xls"_s);
    const QByteArray signature("\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1", 8);
    Write(old, signature + QByteArray(504, '\0') + QByteArray("W\0o\0r\0k\0b\0o\0o\0k\0", 16));
    stage.Choose("mnuFileForward");
    TakeRefused(stage, "27e-forward-file-missing", folder + u"/loop 17.xlsx"_s);
    TakeRefused(stage, "27f-forward-older-kind", old);

    // A second sheet in the same workbook, which is not to be opened this time.
    dialog = stage.Dialog("frmForward");
    stage.Type(dialog, {{"tbTitle", u"Loop 7, as left"_s}});
    stage.Type(dialog, {{"tbFile", LoopBook()}});
    QTest::keyClick(stage.Find<QWidget>("cbShow", dialog), Qt::Key_Space);
    stage.CloseDialog(dialog, "btOk");
    stage.Idle();

    // And a third, while LibreOffice on another computer has the workbook open.
    const QString lock = folder + u"/.~lock.loop 7.xlsx#"_s;
    Write(lock, "A. Meyer,meyer,bench-pc-2,21.11.2026 09:12,file:///home/meyer/.config/libreoffice/4;");
    stage.Choose("Forward");
    dialog = stage.Dialog("frmForward");
    stage.Take("27g-forward-remembered", {dialog});
    stage.CloseDialog(dialog, "btOk");
    stage.Take("27h-forward-workbook-in-use", {stage.Box()});
    QFile::remove(lock);
    stage.Answer(Text(Str::Retry).remove(u'&'));
    stage.Idle();
    stage.Take("27i-forwarded-after-retry");

    // So many rows that the progress is seen.
    Write(Stage::Document(u"night.CSV"_s), Night());
    stage.Open(Stage::Document(u"night.CSV"_s));
    stage.Choose("Forward");
    ForwardToNew(stage, u"Oven 2, night of November 20"_s, Stage::Document(u"night.xlsx"_s));
    stage.Wait([&stage] { return stage.Cancel()->isVisible(); });
    stage.Click("btCancel", stage.Cancel()); // at once: the writing does not wait for it
    stage.Take("28b-forwarding-canceled", {stage.Box()});
    stage.Dismiss();
    stage.Choose("Forward");
    ForwardToNew(stage, u"Oven 2, night of November 20"_s, Stage::Document(u"night.xlsx"_s));
    TakeProgress(stage, "28a-forwarding");
    stage.Idle();
    stage.Take("28d-many-rows-forwarded");
    DrawSheets(stage, LoopBook(), {"30a-sheet-of-download", "30b-second-sheet", "30c-third-sheet"});
}

void ForwardRuns(Stage &stage)
{
    stage.StartUp();
    StartForwardedRun(stage, OvenBook());
    stage.TakeAll("29a-run-forwarded-meanwhile");
    stage.Second();
    stage.TakeAll("29b-run-forwarded");

    // The folder of the workbook goes while rows come: a memory stick that is taken out.
    const QString stick = Stage::Document(u"stick"_s);
    QDir().mkdir(stick);
    StartForwardedRun(stage, stick + u"/oven 3.xlsx"_s);
    Require(QDir().rmdir(stick), u"The folder \"%1\" cannot be removed."_s.arg(stick));
    stage.BeginSecond();
    stage.TakeAll("29c-run-not-forwarded", {stage.Box()});
    stage.Dismiss();
    DrawSheets(stage, OvenBook(), {"30d-sheet-of-run"});
}

} // namespace px40
