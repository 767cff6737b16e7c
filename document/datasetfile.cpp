// A data set and its file. Both ways lead through the work file: what cannot be written or read to the end
// never shows under the user's name, and the user's file is never held open.

#include "document/dataset.h"

#include "document/datafile.h"
#include "link/linkstate.h"
#include "platform/filenames.h"
#include "platform/files.h"
#include "resources/strings.h"

#include <QFile>
#include <QFileInfo>

#include <exception>

namespace px40 {

namespace {

/// The work file while it is needed; it goes with this object.
class WorkFile
{
  public:
    explicit WorkFile(const QString &path) : path_(path) { ClearAttributes(path_); }
    ~WorkFile()
    {
        ClearAttributes(path_);
        QFile::remove(path_); // one that stays is overwritten the next time
    }
    WorkFile(const WorkFile &) = delete;
    WorkFile &operator=(const WorkFile &) = delete;

    const QString &Path() const { return path_; }

    /// The reason of a failure that has to do with this file, which the user does not know of.
    QString Told(const QString &reason) const { return path_ + QStringLiteral(": ") + reason; }

  private:
    QString path_;
};

bool FetchToWork(const QString &name, const WorkFile &work, QString *error)
{
    // A folder or a device opens as well, and a device may never answer or never end.
    const QFileInfo info(name);
    if (info.exists() && !info.isFile()) {
        *error = Text(Str::FileNotRegular);
        return false;
    }
    QFile from(name);
    if (!from.open(QIODevice::ReadOnly | QIODevice::Unbuffered)) {
        *error = from.errorString();
        return false;
    }
    QFile to(work.Path());
    if (!to.open(QIODevice::WriteOnly | QIODevice::Unbuffered)) {
        *error = work.Told(to.errorString());
        return false;
    }
    SetHidden(work.Path());
    QString writeError;
    if (CopyBytes(from, to, error, &writeError) && Close(to, &writeError))
        return true;
    if (!writeError.isEmpty())
        *error = work.Told(writeError);
    return false;
}

bool WriteWork(const DataFileHeader &header, const TableModel &table, const WorkFile &work, QString *error)
{
    QFile file(work.Path());
    if (!file.open(QIODevice::WriteOnly | QIODevice::Unbuffered)) {
        *error = work.Told(file.errorString());
        return false;
    }
    QString reason;
    if (!WriteDataFile(header, table.Rows(), table.TableRows(), file, &reason) || !Close(file, &reason)) {
        *error = work.Told(reason);
        return false;
    }
    SetHidden(work.Path());
    return true;
}

} // namespace

bool DataSet::OpenFile(const QString &name)
{
    if (IsWorkFile(name))
        return false;
    try {
        const WorkFile work(shared_->WorkPath);
        if (!FetchToWork(name, work, &state_->ErrorMessage))
            return false;
        QFile file(work.Path());
        if (!file.open(QIODevice::ReadOnly | QIODevice::Unbuffered)) {
            state_->ErrorMessage = work.Told(file.errorString());
            return false;
        }
        std::optional<DataFile> contents = ReadDataFile(file, &state_->ErrorMessage);
        if (!contents)
            return false;
        Adopt(std::move(*contents));
    } catch (const std::exception &problem) { // no memory
        state_->ErrorMessage = QString::fromLocal8Bit(problem.what());
        return false;
    }
    DispCalculation();
    PaintGraphtop();
    Keep(name);
    return true;
}

/// It would be taken away from under the user.
bool DataSet::IsWorkFile(const QString &name)
{
    if (!SameFile(name, shared_->WorkPath))
        return false;
    state_->ErrorMessage = Text(Str::FileIsWorkFile);
    return true;
}

void DataSet::Adopt(DataFile &&file)
{
    const DataFileHeader &header = file.header;
    SetKind(header.kind);
    shape_ = header.shape;
    if (header.kind == KindRealtime) {
        SetInterval(header.interval);
        SetPeriod(header.periodNone, header.period);
    } else if (header.kind == KindMemory) {
        interval_ = header.interval; // to be written again as it stood there
        if (!header.interval.Sec.isEmpty())
            DispInterval(header.interval.Sec);
    }
    const GraphSettings &graph = header.graph;
    SetGraphcount(graph.count);
    SetAxisX(false, graph.xLabels, graph.xTicks); // kept also where they do not apply
    SetAxisX(graph.xAuto, graph.xLabels, graph.xTicks);
    SetAxisY(graph.yAuto, graph.yMinimum, graph.yMaximum, graph.yMajor, graph.yMinor);
    table_.Adopt(std::move(file.rows), file.tableRows);
    readings_ = std::move(file.readings);
}

bool DataSet::SaveFile(const QString &name)
{
    if (IsWorkFile(name))
        return false;
    DataFileHeader header;
    header.kind = DataKind(kind_);
    header.shape = shape_;
    header.interval = interval_;
    header.periodNone = periodNone_;
    header.period = period_;
    header.graph = graph_;
    try {
        const WorkFile work(shared_->WorkPath);
        if (!WriteWork(header, table_, work, &state_->ErrorMessage) ||
            !ReplaceFile(work.Path(), name, &state_->ErrorMessage))
            return false;
    } catch (const std::exception &problem) {
        state_->ErrorMessage = QString::fromLocal8Bit(problem.what());
        return false;
    }
    Keep(name);
    return true;
}

void DataSet::Keep(const QString &name)
{
    saved_ = true;
    fileName_ = name;
    caption_ = name;
    Q_EMIT captionChanged(caption_);
}

} // namespace px40
