#pragma once

#include "xlsx/bookfailure.h"
#include "xlsx/writewatch.h"
#include "xlsx/zipsource.h"

#include <QFile>
#include <QString>

#include <memory>

namespace px40 {

class Replacement;

struct ZipDiscard
{
    void operator()(zip_t *archive) const { zip_discard(archive); }
};

/// An open archive, which is left as it was unless it is closed by `zip_close`.
using Zip = std::unique_ptr<zip_t, ZipDiscard>;

/// The files of an archive: one from which libzip reads it, and another one to which it writes its new state.
/// So it is copied once, and the names of files are the system's own everywhere.
class ArchiveFile : public ZipSource
{
  public:
    /// Reads the file of that name; an empty one is an archive that has yet to be made.
    explicit ArchiveFile(const QString &name) : file_(name) {}

    /// From now on the archive may be closed into that file; both must outlive it.
    void WriteTo(Replacement *file, WriteWatch *watch);

    /// The archive, with whatever its directory leads to: not as strict as some are about headers that nobody
    /// reads. It must not outlive this.
    BookResult<Zip> Open();

    /// Of the archive that is read.
    qint64 Size() const { return size_; }

    /// What the disk said when it could not be read or written; empty while it could.
    QString ReadError() const { return readError_; }
    QString WriteError() const { return writeError_; }

  protected:
    zip_int64_t Do(zip_source_cmd_t command, void *data, zip_uint64_t length) override;

  private:
    zip_int64_t Read(char *to, qint64 length);
    zip_int64_t Write(const char *from, qint64 length);
    zip_int64_t FailToRead();
    zip_int64_t FailToWrite(const QString &reason);

    QFile file_;
    qint64 size_ = 0;
    Replacement *written_ = nullptr;
    WriteWatch *watch_ = nullptr;
    QString readError_;
    QString writeError_;
};

} // namespace px40
