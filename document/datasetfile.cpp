// A data set and its file. Both ways lead through the work file: what cannot be written or read to the end
// never shows under the user's name, and the user's file is never held open. Where the work file cannot be
// written another one in the folder for temporary files stands in for it, and where that cannot be written
// either the way leads straight: a file is only ever replaced as a whole.

#include "document/dataset.h"

#include "document/datafile.h"
#include "link/linkstate.h"
#include "platform/filenames.h"
#include "platform/files.h"
#include "resources/strings.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryFile>

#include <exception>
#include <memory>
#include <utility>

namespace px40 {

namespace {

/// The work file while it is needed; it goes with this object.
class WorkFile
{
  public:
    /// `path`: empty for one in the folder for temporary files.
    explicit WorkFile(const QString &path) : path_(path)
    {
        if (path.isEmpty())
            file_ = std::make_unique<QTemporaryFile>(QDir::tempPath() + QStringLiteral("/px40-XXXXXX.tmp"));
        else
            file_ = std::make_unique<QFile>(path);
    }
    ~WorkFile()
    {
        if (path_.isEmpty())
            return; // Qt's own kind removes itself
        file_->close();
        ClearAttributes(path_);
        file_->remove(); // one that stays is overwritten the next time
    }
    WorkFile(const WorkFile &) = delete;
    WorkFile &operator=(const WorkFile &) = delete;

    /// False with the reason in `error`, which stays empty where it is none of this file's.
    bool Fill(const WriteTo &write, QString *error)
    {
        if (path_.isEmpty() && QDir::tempPath().isEmpty()) {
            *error = Text(Str::FolderNotThere);
            return false;
        }
        if (!path_.isEmpty())
            ClearAttributes(path_);
        constexpr QIODevice::OpenMode mode =
            QIODevice::ReadWrite | QIODevice::Truncate | QIODevice::Unbuffered;
        if (!file_->open(mode)) {
            *error = file_->errorString();
            return false;
        }
        if (!path_.isEmpty())
            SetHidden(path_);
        return write(*file_, error);
    }

    /// From its beginning.
    QFile &Filled()
    {
        file_->seek(0);
        return *file_;
    }

  private:
    QString path_;
    std::unique_ptr<QFile> file_;
};

bool OpenToRead(QFile *file, QString *error)
{
    // A folder or a device opens as well, and a device may never answer or never end.
    const QFileInfo info(file->fileName());
    if (info.exists() && !info.isFile())
        *error = Text(Str::FileNotRegular);
    else if (!file->open(QIODevice::ReadOnly | QIODevice::Unbuffered))
        *error = file->errorString();
    return file->isOpen();
}

void NoteWork(DocumentShared *shared, Str note, const QString &reason)
{
    if (std::exchange(shared->WorkNoted, true))
        return;
    shared->WorkNote = Text(note).arg(shared->WorkPath, reason);
}

/// The work file with what `write` gives it, or the one that stands in for it; null where there is none.
std::unique_ptr<WorkFile> FilledWork(DocumentShared *shared, const WriteTo &write)
{
    if (shared->WorkPath.isEmpty())
        return nullptr;
    QString reason;
    for (const QString &path : {shared->WorkPath, QString()}) {
        auto work = std::make_unique<WorkFile>(path);
        QString error;
        if (work->Fill(write, &error)) {
            if (!reason.isEmpty())
                NoteWork(shared, Str::WorkFileElsewhere, reason);
            return work;
        }
        if (error.isEmpty())
            return nullptr;
        if (reason.isEmpty())
            reason = error;
    }
    NoteWork(shared, Str::WorkFileNowhere, reason);
    return nullptr;
}

} // namespace

QString NothingSaved(const QString &name)
{
    return Text(QFileInfo(name).isFile() ? Str::NothingSavedOld : Str::NothingSaved);
}

bool DataSet::OpenFile(const QString &name)
{
    if (IsWorkFile(name))
        return false;
    QString &error = state_->ErrorMessage;
    try {
        QFile from(name);
        if (!OpenToRead(&from, &error))
            return false;
        QString readError;
        const auto copy = [&from, &readError](QIODevice &to, QString *reason) {
            from.seek(0);
            return CopyBytes(from, to, &readError, reason);
        };
        const std::unique_ptr<WorkFile> work = FilledWork(shared_, copy);
        if (!readError.isEmpty()) {
            error = readError;
            return false;
        }
        if (work)
            from.close();
        else
            from.seek(0);
        std::optional<DataFile> contents = ReadDataFile(work ? work->Filled() : from, &error);
        if (!contents)
            return false;
        Adopt(std::move(*contents));
    } catch (const std::exception &problem) { // no memory
        error = QString::fromLocal8Bit(problem.what());
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

bool DataSet::Write(QIODevice &to, QString *error) const
{
    DataFileHeader header;
    header.kind = DataKind(kind_);
    header.shape = shape_;
    header.interval = interval_;
    header.periodNone = periodNone_;
    header.period = period_;
    header.graph = graph_;
    return WriteDataFile(header, table_.Rows(), table_.TableRows(), to, error);
}

bool DataSet::SaveFile(const QString &name)
{
    if (IsWorkFile(name))
        return false;
    QString &error = state_->ErrorMessage;
    const auto write = [this](QIODevice &to, QString *reason) { return Write(to, reason); };
    try {
        const std::unique_ptr<WorkFile> work = FilledWork(shared_, write);
        const auto copy = [&work](QIODevice &to, QString *reason) {
            return CopyBytes(work->Filled(), to, reason, reason);
        };
        if (!ReplaceFile(name, work ? WriteTo(copy) : WriteTo(write), &error))
            return false;
    } catch (const std::exception &problem) {
        error = QString::fromLocal8Bit(problem.what());
        return false;
    }
    Keep(name);
    return true;
}

void DataSet::Keep(const QString &name)
{
    SetSaved(true);
    fileName_ = name;
    caption_ = name;
    Q_EMIT captionChanged(caption_);
}

} // namespace px40
