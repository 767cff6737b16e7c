// What takes its time to be forwarded: very many rows, and a run whose rows come one by one. Then the sheets
// that all of it has made.

#include "tools/tour.h"

#include "document/datafile.h"
#include "document/frmdata.h"
#include "forward/forwardoutcome.h"
#include "resources/strings.h"
#include "source/frmsource.h"
#include "tools/sheetpictures.h"
#include "tools/stage.h"
#include "tools/tourchecks.h"

#include <QDir>
#include <QFile>
#include <QLabel>
#include <QMessageBox>
#include <QProgressBar>
#include <QPushButton>
#include <QRadioButton>
#include <QTime>

#include <cmath>
#include <cstdio>

using namespace Qt::Literals::StringLiterals;

namespace px40 {

namespace {

constexpr int DataRange = 32767; // samples that the graph shows, at most
constexpr int ManyRows = 100000;
constexpr int RunRows = 3;

QString NightBook()
{
    return DocumentPath(u"night.xlsx"_s);
}

QString OvenBook()
{
    return DocumentPath(u"oven 2.xlsx"_s);
}

/// A data file of more than a day, as a run leaves it: an oven that is switched on and off.
void WriteNight(const QString &name)
{
    static constexpr double SecondsPerTurn = 1500;
    DataFileHeader header;
    header.kind = 2;
    header.interval = {u"00"_s, u"00"_s, u"00"_s, u"01"_s};
    header.graph.count = DataRange;
    RowStore rows;
    for (int second = 0; second < ManyRows; ++second) {
        const QString time = QTime(21, 0).addSecs(second).toString(u"HH:mm:ss"_s);
        const double degrees = 180 + 12 * std::sin(second / SecondsPerTurn);
        const QString value = QString::number(degrees, 'f', 1);
        rows.Append({time, value, u"C."_s, u"0.0"_s, u"C."_s});
    }
    QFile file(name);
    Require(file.open(QIODevice::WriteOnly) && WriteDataFile(header, rows, ManyRows, file),
            u"The file \"%1\" cannot be made."_s.arg(name));
}

/// Answers the forward dialog and the file dialog: a new workbook of that name.
void ForwardToNew(Stage &stage, const QString &title, const QString &book)
{
    QDialog *const dialog = stage.AwaitDialog(u"frmForward"_s);
    Stage::Click(stage.Find<QRadioButton>(u"obNew"_s, dialog)); // also if a workbook is remembered
    stage.Type(dialog, u"tbTitle"_s, title);
    stage.CloseDialog(dialog, u"btOk"_s);
    stage.ChooseFile(stage.AwaitFileDialog(), book);
}

/// A new data set, its interval and period, Start and Yes.
void StartForwardedRun(Stage &stage, const QString &book)
{
    stage.ClickTool(u"New"_s);
    stage.ClickTool(u"Interval"_s);
    QDialog *const interval = stage.AwaitDialog(u"frmInterval"_s);
    stage.Type(interval, u"tbIsec"_s, u"1"_s);
    stage.Type(interval, u"tbPsec"_s, QString::number(RunRows - 1));
    stage.CloseDialog(interval, u"btOk"_s);
    stage.ClickTool(u"Start"_s);
    QMessageBox *const question = stage.AwaitBox();
    RequireText(u"The question at the start of a run"_s, question->text(), Text(Str::AskForwardRealtime));
    stage.Answer(question, QMessageBox::Yes);
    ForwardToNew(stage, u"Oven 2, warming up"_s, book);
}

/// Waits until the bar has come so far, in percent, in that part of the work, but not to its end.
QDialog *AwaitProgress(const Stage &stage, Str message, int percent)
{
    const auto reached = [&] {
        const QDialog *const dialog = stage.ProgressDialog();
        const auto *const bar = stage.Find<QProgressBar>(u"pbNow"_s, dialog);
        return dialog->isVisible() && stage.Find<QLabel>(u"llMsg"_s, dialog)->text() == Text(message) &&
               bar->value() >= percent && bar->value() < bar->maximum();
    };
    Await(reached, u"The progress dialog does not tell \"%1\"."_s.arg(Text(message)));
    return stage.ProgressDialog();
}

} // namespace

void Tour::ForwardManyRows(Stage &stage)
{
    const QString data = DocumentPath(u"night.CSV"_s);
    WriteNight(data);
    OpenFile(stage, data);
    const QString before = stage.Message();
    stage.ClickTool(u"Forward"_s);
    ForwardToNew(stage, u"Oven 2, night of November 20"_s, NightBook());
    QDialog *progress = AwaitProgress(stage, Str::Forwarding, 40);
    RequireText(u"The caption of the progress dialog"_s, progress->windowTitle(), Text(Str::ForwardData));
    camera_.Take(u"28a-forwarding"_s, {stage.window.get(), progress});
    stage.ClickButton(progress, u"btCancel"_s);
    QMessageBox *const box = stage.AwaitBox();
    RequireText(u"The message of a cancelled forwarding"_s, box->text(), Text(Str::Canceled));
    camera_.Take(u"28b-forwarding-canceled"_s, {stage.window.get(), box});
    stage.Answer(box, QMessageBox::Ok);
    AwaitIdle(stage);
    Require(!QFile::exists(NightBook()), u"A cancelled forwarding leaves a workbook."_s);
    RequireText(u"The status bar after a cancelled forwarding"_s, stage.Message(), before);

    stage.ClickTool(u"Forward"_s);
    ForwardToNew(stage, u"Oven 2, night of November 20"_s, NightBook());
    progress = AwaitProgress(stage, Str::ForwardWriting, 40);
    Require(stage.Find<QPushButton>(u"btCancel"_s, progress)->isEnabled(),
            u"Writing the workbook cannot be cancelled."_s);
    camera_.Take(u"28c-forward-writing"_s, {stage.window.get(), progress});
    AwaitIdle(stage);
    RequireText(u"The status bar after many rows were forwarded"_s, stage.Message(),
                OutcomeText({ManyRows, NightBook(), true}));
    camera_.Take(u"28d-many-rows-forwarded"_s, {stage.window.get()});
}

void Tour::ForwardRun(Stage &stage)
{
    StartForwardedRun(stage, OvenBook());
    AwaitRows(stage, RunRows - 1);
    Require(stage.services.state.RealtimeRun && !QFile::exists(OvenBook()),
            u"The workbook of a run is written before it ends."_s);
    camera_.Take(u"29a-run-forwarded-meanwhile"_s, stage.Windows());
    Await([&stage] { return !stage.services.state.RealtimeRun && stage.Idle(); }, u"The run does not end."_s);
    RequireText(u"The status bar after a run that was forwarded"_s, stage.Message(),
                OutcomeText({RunRows, OvenBook(), true}) +
                    u"  1New has ended: 00:00:02 elapsed, 3 rows, no error rows."_s);
    Require(stage.desktop.shown == QStringList(OvenBook()), u"The workbook of a run is not opened."_s);
    camera_.Take(u"29b-run-forwarded"_s, stage.Windows());
}

/// The folder of the workbook goes while rows come: a memory stick that was taken out.
void Tour::ForwardRunInVain(Stage &stage)
{
    const QString stick = DocumentPath(u"stick"_s);
    Require(QDir().mkdir(stick), u"The folder \"%1\" cannot be made."_s.arg(stick));
    StartForwardedRun(stage, stick + u"/oven 3.xlsx"_s);
    AwaitRows(stage, RunRows - 1);
    Require(QDir().rmdir(stick), u"The folder \"%1\" cannot be removed."_s.arg(stick));
    QMessageBox *const box = stage.AwaitBox();
    Require(stage.Message().startsWith(Text(Str::ForwardError)),
            u"The status bar after a run that could not be forwarded: "_s + stage.Message());
    QWidgetList windows = stage.Windows();
    windows.append(box);
    camera_.Take(u"29c-run-not-forwarded"_s, windows);
    stage.Answer(box, QMessageBox::Ok);
    Await([&stage] { return stage.Idle(); }, u"The run does not end."_s);
}

/// What a spreadsheet program makes of the workbooks.
void Tour::DrawWorkbooks(Stage &stage)
{
    const QString obstacle = WhyNoSheetPictures();
    if (!obstacle.isEmpty()) {
        std::printf("%s\n", qPrintable(obstacle));
        return;
    }
    const auto draw = [&](const QString &book, const QStringList &names) {
        const QStringList pictures = DrawSheets(book, stage.folder.path());
        Require(pictures.size() == names.size(),
                u"\"%1\" is drawn on %2 pages."_s.arg(book).arg(pictures.size()));
        for (qsizetype i = 0; i < names.size(); ++i)
            camera_.Keep(names[i], pictures[i]);
    };
    draw(LoopBook(), {u"30a-sheet-of-download"_s, u"30b-second-sheet"_s, u"30c-third-sheet"_s});
    draw(OvenBook(), {u"30d-sheet-of-run"_s});
}

} // namespace px40
