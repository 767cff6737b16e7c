// A data set and its file. Both ways lead through the work file: what cannot be written or read to the end
// never shows under the user's name, and the user's file is never held open. Where the work file cannot be
// written another one in the folder for temporary files stands in for it, and where that cannot be written
// either the way leads straight: a file is only ever replaced as a whole.

#include "document/dataset.h"

#include "document/datafile.h"
#include "platform/filenames.h"
#include "platform/files.h"
#include "platform/replacefile.h"
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

    Result<> Fill(const WriteTo &write)
    {
        if (path_.isEmpty() && QDir::tempPath().isEmpty())
            return Fail(Text(Str::FolderNotThere));
        if (!path_.isEmpty())
            ClearAttributes(path_);
        constexpr QIODevice::OpenMode mode =
            QIODevice::ReadWrite | QIODevice::Truncate | QIODevice::Unbuffered;
        if (!file_->open(mode))
            return Fail(file_->errorString());
        if (!path_.isEmpty())
            SetHidden(path_);
        return write(*file_);
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

Result<> OpenToRead(QFile *file)
{
    // A folder or a device opens as well, and a device may never answer or never end.
    const QFileInfo info(file->fileName());
    if (info.exists() && !info.isFile())
        return Fail(Text(Str::FileNotRegular));
    if (!file->open(QIODevice::ReadOnly | QIODevice::Unbuffered))
        return Fail(file->errorString());
    return {};
}

void NoteWork(DocumentShared *shared, Str note, const QString &reason)
{
    if (std::exchange(shared->WorkNoted, true))
        return;
    shared->WorkNote = Text(note).arg(shared->WorkPath, reason);
}

/// The work file with what `write` gives it, or the one that stands in for it; null where there is none.
Result<std::unique_ptr<WorkFile>> FilledWork(DocumentShared *shared, const WriteTo &write)
{
    if (shared->WorkPath.isEmpty())
        return nullptr;
    QString reason;
    for (const QString &path : {shared->WorkPath, QString()}) {
        auto work = std::make_unique<WorkFile>(path);
        const Result<> filled = work->Fill(write);
        if (filled) {
            if (!reason.isEmpty())
                NoteWork(shared, Str::WorkFileElsewhere, reason);
            return work;
        }
        if (filled.error().code == FailureCode::Unreadable) // no other work file helps
            return Fail(filled.error());
        if (reason.isEmpty())
            reason = filled.error().text;
    }
    NoteWork(shared, Str::WorkFileNowhere, reason);
    return nullptr;
}

Result<DataFile> ReadThroughWork(const QString &name, DocumentShared *shared)
{
    QFile from(name);
    const Result<> opened = OpenToRead(&from);
    if (!opened)
        return Fail(opened.error());
    const auto copy = [&from](QIODevice &to) {
        from.seek(0);
        return CopyBytes(from, to);
    };
    const auto work = FilledWork(shared, copy);
    if (!work)
        return Fail(work.error());
    if (*work) {
        from.close();
        return ReadDataFile((*work)->Filled());
    }
    from.seek(0);
    return ReadDataFile(from);
}

Result<> WriteThroughWork(const WriteTo &write, const QString &name, DocumentShared *shared)
{
    const auto work = FilledWork(shared, write);
    if (!work)
        return Fail(work.error());
    if (!*work)
        return ReplaceFile(name, write);
    return ReplaceFile(name, [&work](QIODevice &to) { return CopyBytes((*work)->Filled(), to); });
}

} // namespace

QString NothingSaved(const QString &name)
{
    return Text(QFileInfo(name).isFile() ? Str::NothingSavedOld : Str::NothingSaved);
}

Result<> DataSet::OpenFile(const QString &name)
{
    // It would be taken away from under the user.
    if (SameFile(name, shared_->WorkPath))
        return Fail(Text(Str::FileIsWorkFile));
    try {
        Result<DataFile> contents = ReadThroughWork(name, shared_);
        if (!contents)
            return Fail(contents.error());
        Adopt(std::move(*contents));
    } catch (const std::exception &problem) { // no memory
        return Fail(QString::fromLocal8Bit(problem.what()));
    }
    DispCalculation();
    PaintGraphtop();
    Keep(name);
    return {};
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

Result<> DataSet::Write(QIODevice &to) const
{
    const DataFileHeader header = {DataKind(kind_), shape_, interval_, periodNone_, period_, graph_};
    return WriteDataFile(header, table_.Rows(), table_.TableRows(), to);
}

Result<> DataSet::SaveFile(const QString &name)
{
    if (SameFile(name, shared_->WorkPath))
        return Fail(Text(Str::FileIsWorkFile));
    try {
        const auto write = [this](QIODevice &to) { return Write(to); };
        Result<> written = WriteThroughWork(write, name, shared_);
        if (!written)
            return written;
    } catch (const std::exception &problem) {
        return Fail(QString::fromLocal8Bit(problem.what()));
    }
    Keep(name);
    return {};
}

void DataSet::Keep(const QString &name)
{
    SetSaved(true);
    fileName_ = name;
    caption_ = name;
    Q_EMIT captionChanged(caption_);
}

} // namespace px40
