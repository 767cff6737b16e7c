// The whole program as a client of Excel: the same words as for client.cpp, and the same is told. A run takes
// its readings from the simulated instrument, and its first failure does not end it.
#include "app/maincommands.h"
#include "forward/spreadsheet.h"
#include "testing/files.h"
#include "testing/operatedprogram.h"
#include "tests/excel/sample.h"

#include <QDir>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QRadioButton>
#include <QTest>

#include <fcntl.h>
#include <io.h>

#include <cstdio>
#include <limits>

namespace px40 {

namespace {

class ExcelProgram : public OperatedProgram
{
  public:
    ExcelProgram() : OperatedProgram(Port::Assigned)
    {
        clock.utcMs = QDateTime(QDate(2030, 3, 17), QTime(9, 59, 58)).toMSecsSinceEpoch() + 300;
        StartUp(); // takes a second
    }

    /// A data file that holds the readings.
    void OpenFile(const Sample &sample)
    {
        const QString name = folder.filePath(u"sample.px4"_qs);
        QByteArrayList lines = SampleFile(sample.IsSaveMode() ? "4" : "2").split('\n').first(7);
        for (int row = 1; row <= sample.Samples(); ++row) {
            QByteArrayList cells;
            for (int column = 1; column <= 5; ++column)
                cells << QString::fromStdString(sample.Cell(row, column)).toLatin1();
            lines << cells.join(',') + '\r';
        }
        if (!sample.IsSaveMode()) // where it would be a reading
            lines << ",,,,\r";
        lines << "";
        Require(Put(name, lines.join('\n')), u"The data file cannot be written."_qs);
        services.jobs.Launch(window->Commands().Files().Open({name}), "opening");
        Idle();
    }

    /// Fills in the dialog, which does not ask what Excel does anyway.
    void Accept(const QString &workbook)
    {
        QDialog *const dialog = Dialog("frmForward");
        Require(!dialog->findChild<QWidget *>(u"cbShow"_qs), u"The dialog knows nothing of Excel."_qs);
        Find<QLineEdit>("tbTitle", dialog)->setText(QString::fromUtf8(Sample::SheetTitle));
        Find<QLineEdit>("tbFile", dialog)->setText(workbook);
        if (workbook.isEmpty())
            Click("obNew", dialog);
        CloseDialog(dialog, "btOk");
    }

    bool ForwardWhole(const QString &workbook, bool isCanceled)
    {
        auto *const bar = Find<QProgressBar>("pbNow");
        const auto cancelHalfway = [this, bar](int value) {
            if (value == bar->maximum() / 2)
                Press(Cancel(), "btCancel");
        };
        if (isCanceled)
            QObject::connect(bar, &QProgressBar::valueChanged, bar, cancelHalfway);
        Choose("mnuFileForward");
        Accept(workbook);
        return TellEnd();
    }

    /// A run that brings those readings.
    bool ForwardRun(const Sample &sample, const QString &workbook)
    {
        Choose("New");
        Hold("1100VDCN 1.0023E-30301T  N-05.500E+00000000012340 00");
        Choose("Start");
        Answer(u"Yes"_qs);
        Accept(workbook);
        AwaitEnd();
        Second();
        Hold("1100VDCO 99.999E+00301T  N-05.500E+00000000012340 00");
        for (int row = 2; row <= sample.Samples(); ++row)
            Seconds(5);
        Require(Data()->Data()->GetDatacount() == sample.Samples(), u"Not all readings are there."_qs);
        Choose("Stop");
        BeginSecond();
        return TellEnd();
    }

  private:
    void Hold(const char *status)
    {
        server.WithInstrument([status](sim::Instrument &instrument) { instrument.HoldStatus(status); });
    }

    /// However long a busy Excel takes, until nothing is under way or a box is up. A user who finds that it
    /// was hidden each time has enough of it.
    void AwaitEnd()
    {
        const auto hasEnded = [this] {
            auto *const cancel = Find<QPushButton>("btCancel", Cancel());
            if (cancel->isEnabled() && Contents(u"calls.txt"_qs).count("Application.Visible -> False") >= 3)
                cancel->click();
            return services.jobs.Running() == 0 || OpenOne<QMessageBox>();
        };
        WaitUntil(hasEnded, std::numeric_limits<int>::max());
    }

    bool TellEnd()
    {
        AwaitEnd();
        // A box says why a sheet could not be ended, the status bar also why a row could not be written.
        const QMessageBox *const box = OpenOne<QMessageBox>();
        QString why = box ? box->text() : QString();
        if (box)
            Dismiss();
        if (why.isEmpty() && Message().startsWith(u"Forward error occurred."_qs))
            why = Message().section(u"  "_qs, 1, 1);
        const bool done = Message().contains(u"forwarded to Microsoft Excel."_qs);
        Require(done == why.isEmpty(), u"What is told is not clear: "_qs + Message());
        std::printf("%s\n", done ? "Done" : ("Failed: " + why.toUtf8()).constData());
        return done;
    }
};

bool Forward(const QString &task, const Sample &sample, const QString &workbook)
{
    std::printf("Excel is %s\n", HasSpreadsheet() ? "installed" : "not installed");
    if (!HasSpreadsheet()) {
        std::puts("Failed: a file would be written.");
        return false;
    }
    ExcelProgram program;
    if (task == u"running")
        return program.ForwardRun(sample, workbook);
    program.OpenFile(sample);
    const bool done = program.ForwardWhole(workbook, task == u"canceled");
    return done || (task == u"again" && program.ForwardWhole(workbook, false));
}

} // namespace

} // namespace px40

int main(int argc, char *argv[])
{
    using namespace px40;

    _setmode(_fileno(stdout), _O_BINARY);
    QApplication application(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    const QStringList words = QApplication::arguments();
    const QString workbook = words.value(3);
    try {
        if (!workbook.isEmpty()) // Excel need not find it, but the dialog does
            Require(QDir().mkpath(QFileInfo(workbook).absolutePath()) && Put(workbook, ""), workbook);
        const Sample sample(words.value(2).toInt(), words.value(1) == u"save");
        return Forward(words.value(1), sample, workbook) ? 0 : 1;
    } catch (const RigError &error) {
        std::printf("%s\n", error.what());
        return 2;
    }
}
