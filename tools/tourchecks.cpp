#include "tools/tourchecks.h"

#include "acquire/frmmoniter.h"
#include "acquire/status.h"
#include "document/frmdata.h"
#include "source/frmsource.h"
#include "tools/stage.h"

#include <QAction>
#include <QDir>
#include <QLabel>
#include <QMessageBox>
#include <QStandardPaths>
#include <QTableView>

using namespace Qt::Literals::StringLiterals;

namespace px40 {

QString DocumentPath(const QString &name)
{
    return QDir(QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation)).filePath(name);
}

QString LoopBook()
{
    return DocumentPath(u"Plant 2/Pressure transmitters, yearly calibration/loop 7.xlsx"_s);
}

int Rows(const frmData *data)
{
    return data->Data()->GetDatacount();
}

void RequireText(const QString &what, const QString &is, const QString &wanted)
{
    Require(is == wanted, u"%1 is \"%2\" instead of \"%3\"."_s.arg(what, is, wanted));
}

void RequireRefusal(const QMessageBox *box, const QWidget *field, const QString &wanted)
{
    RequireText(u"The refusal"_s, box->text(), wanted);
    const QRect place(field->mapToGlobal(QPoint()), field->size());
    Require(!box->frameGeometry().intersects(place), u"The refusal lies on its field."_s);
}

void RequirePort(const Stage &stage, const QString &wanted)
{
    RequireText(u"The port panel"_s, stage.PortPanel(), wanted);
}

void RequireWholeSet(const Stage &stage, const frmData *data)
{
    const auto *const table = stage.Find<QTableView>(u"fgData"_s, data);
    Require(table->isVisible(), u"The table of the finished download is hidden."_s);
    const int rows = table->model()->rowCount();
    Require(rows == StoredReadings && Rows(data) == rows,
            u"The finished download has %1 rows."_s.arg(table->model()->rowCount()));
    for (const auto &[bar, key] :
         {std::pair(u"stBar1", u"Max"), std::pair(u"stBar2", u"Min"), std::pair(u"stBar3", u"Avg")}) {
        const QString name = QString::fromUtf16(key);
        Require(
            !stage.Find<QWidget>(QString::fromUtf16(bar), data)->findChild<QLabel *>(name)->text().isEmpty(),
            u"The panel %1 is empty after a download."_s.arg(name));
    }
    RequireText(u"The status bar after a download"_s, stage.Message(), u"50 stored readings received."_s);
}

void AwaitRows(const Stage &stage, int rows)
{
    const auto arrived = [&stage, rows] {
        const QList<frmData *> windows = stage.DataWindows();
        return !windows.isEmpty() && Rows(windows.last()) >= rows;
    };
    Await(arrived, u"The %1. reading did not arrive."_s.arg(rows));
}

void AwaitIdle(const Stage &stage)
{
    Await([&stage] { return stage.Idle(); }, u"The procedure under way did not end."_s);
}

void RequireSaved(const frmData *data, const QString &name)
{
    Require(data->Data()->Saved() && data->Data()->GetFilename() == QDir::toNativeSeparators(name),
            u"The readings are not saved as \"%1\"."_s.arg(name));
    Require(data->windowTitle().contains(QDir::toNativeSeparators(name)) && !data->isWindowModified(),
            u"The data window is called \"%1\"."_s.arg(data->windowTitle()));
}

void CloseSaved(Stage &stage)
{
    const qsizetype before = stage.DataWindows().size();
    stage.Choose(u"mnuFile"_s, u"mnuFileClose"_s);
    Await([&stage, before] { return stage.DataWindows().size() == before - 1; },
          u"The saved data window did not close."_s);
}

void OpenFile(Stage &stage, const QString &name)
{
    const qsizetype before = stage.DataWindows().size();
    stage.Choose(u"mnuFile"_s, u"mnuFileOpen"_s);
    stage.ChooseFile(stage.AwaitFileDialog(), name);
    AwaitIdle(stage);
    Require(stage.DataWindows().size() == before + 1, u"\"%1\" was not opened."_s.arg(name));
    RequireSaved(stage.DataWindows().last(), name);
}

void AwaitReading(const Stage &stage)
{
    const auto shown = [&stage] {
        const frmMoniter *const moniter = stage.Moniter();
        bool number = false;
        if (moniter)
            stage.Find<QLabel>(u"llValue"_s, moniter)->text().trimmed().toDouble(&number);
        return number;
    };
    Await(shown, u"MEASURE shows no reading."_s);
}

QMessageBox *AwaitNoAnswer(Stage &stage)
{
    QMessageBox *const box = stage.AwaitBox();
    RequireText(u"The message of a status check without answer"_s, box->text(),
                NoAnswerMessage().replace(u"\r\n"_s, u"\n"_s));
    return box;
}

void RequireCheckEnded(const Stage &stage)
{
    AwaitIdle(stage);
    Require(!stage.Box() && !stage.window->tmCheckStat.Enabled(), u"The status check goes on."_s);
    Require(!stage.Moniter() && !stage.Find<QAction>(u"mnuViewMoniter"_s)->isChecked(),
            u"MEASURE stays open without an instrument."_s);
    Require(!stage.Source(), u"SOURCE stays open without an instrument."_s);
    RequireSourceChecked(stage, false);
}

void RequireSourceChecked(const Stage &stage, bool open)
{
    for (const QString &name : {u"mnuViewSource"_s, u"Source"_s})
        Require(stage.Find<QAction>(name)->isChecked() == open,
                u"\"%1\" does not tell whether SOURCE is open."_s.arg(name));
}

QString SourceFaceText(const Stage &stage)
{
    const auto text = [&](const QString &name) { return stage.Find<QLabel>(name, stage.Source())->text(); };
    const auto shown = [&](const QString &name) {
        return stage.Find<QWidget>(name, stage.Source())->isVisible();
    };
    QString value = text(u"llValue0"_s);
    for (int i = 0; i < 5; ++i) {
        value += text(u"llValue%1"_s.arg(i + 1));
        if (i < 4 && shown(u"shDec%1"_s.arg(i)))
            value += u'.';
    }
    QStringList parts = {value, text(u"llUnit"_s)};
    for (int i = 0; i < 3; ++i) {
        if (shown(u"imUnit%1"_s.arg(i)))
            parts << u"imUnit%1"_s.arg(i);
    }
    parts << text(u"llFunction"_s) << text(u"llState"_s);
    for (int i = 0; i < 7; ++i)
        parts << text(u"llDipsw%1"_s.arg(i));
    parts.removeAll(QString());
    return parts.join(u' ');
}

void AwaitSource(const Stage &stage, const QString &face)
{
    const auto shown = [&] { return stage.Source() && SourceFaceText(stage) == face; };
    AwaitIfPossible(shown);
    Require(stage.Source(), u"SOURCE is not open."_s);
    RequireText(u"SOURCE"_s, SourceFaceText(stage), face);
}

SourceLog::SourceLog(const Stage &stage) : stage_(&stage), before_(All().size()) {}

void SourceLog::Await(const QStringList &commands) const
{
    AwaitIfPossible([&] { return All().size() - before_ >= commands.size(); });
    AwaitIdle(*stage_);
    Require(All().mid(before_) == commands, u"SOURCE has sent \"%1\" instead of \"%2\"."_s.arg(
                                                All().mid(before_).join(u' '), commands.join(u' ')));
}

QStringList SourceLog::All() const
{
    static const QStringList ofSource = {u"SO"_s, u"UP"_s, u"DW"_s, u"NM"_s, u"ND"_s,
                                         u"SR"_s, u"TE"_s, u"PU"_s, u"SD"_s};
    QStringList all;
    for (const std::string &bytes : stage_->server.Commands()) {
        const QString command = QString::fromLatin1(bytes.data(), static_cast<qsizetype>(bytes.size()));
        if (ofSource.contains(command.left(2)))
            all << command;
    }
    return all;
}

} // namespace px40
