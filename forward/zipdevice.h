#pragma once

#include "platform/result.h"

#include <QByteArray>
#include <QFile>
#include <QString>

#include <memory>
#include <zip.h>

namespace px40 {

class Replacement;
class WriteProgress;

struct ZipDiscard
{
    void operator()(zip_t *archive) const { zip_discard(archive); }
};

/// An open archive, which is left as it was unless it is closed by `zip_close`.
using Zip = std::unique_ptr<zip_t, ZipDiscard>;

/// What libzip reads an archive from and writes its new state to, which are two files: so an archive is
/// copied once, in large blocks, and the names of files are the system's own everywhere.
class ZipDevice
{
  public:
    /// Reads the file of that name; an empty one is an archive that has yet to be made.
    explicit ZipDevice(const QString &name);
    ZipDevice(const ZipDevice &) = delete;
    ZipDevice &operator=(const ZipDevice &) = delete;

    /// From now on the archive may be closed into that file; both must outlive it.
    void WriteTo(Replacement *file, WriteProgress *progress);

    /// The archive, with whatever its directory leads to: not as strict as some are about headers that nobody
    /// reads. It must not outlive this. Throws `BookFault`.
    Zip Open();

    /// Lets go of the file that is read, once the archive is closed.
    void Close() { file_.close(); }

    /// Of the archive that is read.
    qint64 Size() const { return size_; }

    /// What the disk said when it could not be read or written; empty while it could.
    QString ReadError() const { return readError_; }
    QString WriteError() const { return writeError_; }

  private:
    static zip_int64_t Call(void *self, void *to, zip_uint64_t length, zip_source_cmd_t command);
    zip_int64_t Do(void *to, zip_uint64_t length, zip_source_cmd_t command);
    zip_int64_t Stat(void *to);
    zip_int64_t Read(char *to, qint64 length);
    zip_int64_t Seek(void *arguments, zip_uint64_t length);
    zip_int64_t SeekWrite(void *arguments, zip_uint64_t length);
    zip_int64_t Write(const char *from, qint64 length);
    /// 0, or -1 with the reason kept.
    zip_int64_t Written(const Result<> &result);
    zip_int64_t Fail(int error, int systemError = 0);
    bool Fill();

    QFile file_;
    qint64 size_ = 0;
    qint64 at_ = 0;
    QByteArray block_;   ///< read ahead
    qint64 blockAt_ = 0; ///< where it stands in the file
    Replacement *written_ = nullptr;
    WriteProgress *progress_ = nullptr;
    zip_error_t zipError_;
    QString readError_;
    QString writeError_;
};

} // namespace px40
