#include "xlsx/archive.h"

#include "platform/files.h"
#include "platform/replacefile.h"

#include <cerrno>

namespace px40 {

namespace {

BookFailure WhyNotOpened(zip_error_t *problem, const QString &readError)
{
    if (!readError.isEmpty())
        return {BookProblem::Unreadable, readError};
    switch (zip_error_code_zip(problem)) {
    case ZIP_ER_NOZIP:
        return {BookProblem::EndMissing, {}};
    case ZIP_ER_INCONS:
        return {BookProblem::DirectoryDamaged, {}};
    default:
        return {BookProblem::Damaged, QString::fromUtf8(zip_error_strerror(problem))};
    }
}

} // namespace

void ArchiveFile::WriteTo(Replacement *file, WriteWatch *watch)
{
    written_ = file;
    watch_ = watch;
}

BookResult<Zip> ArchiveFile::Open()
{
    const bool isNew = file_.fileName().isEmpty();
    if (!isNew && !file_.open(QIODevice::ReadOnly))
        return Refuse(BookProblem::Unreadable, file_.errorString());
    size_ = isNew ? 0 : file_.size();

    zip_error_t problem;
    zip_error_init(&problem);
    zip_source_t *source = Create(&problem);
    const int flags = (isNew ? ZIP_CREATE : 0) | (written_ ? 0 : ZIP_RDONLY);
    Zip archive(source ? zip_open_from_source(source, flags, &problem) : nullptr);
    const BookFailure failure = WhyNotOpened(&problem, readError_);
    zip_error_fini(&problem);
    if (archive)
        return archive;
    zip_source_free(source);
    return Refuse(failure);
}

zip_int64_t ArchiveFile::Do(zip_source_cmd_t command, void *data, zip_uint64_t length)
{
    const auto size = static_cast<qint64>(length);
    qint64 to = 0;
    switch (command) {
    case ZIP_SOURCE_SUPPORTS:
        return written_ ? ZIP_SOURCE_SUPPORTS_WRITABLE : ZIP_SOURCE_SUPPORTS_SEEKABLE;
    case ZIP_SOURCE_STAT:
        return file_.isOpen() ? TellSize(data, size_) : Fail(ZIP_ER_READ, ENOENT);
    case ZIP_SOURCE_OPEN:
        return file_.seek(0) ? 0 : FailToRead();
    case ZIP_SOURCE_READ:
        return Read(static_cast<char *>(data), size);
    case ZIP_SOURCE_SEEK:
        to = SeekTarget(file_.pos(), size_, data, length);
        return to < 0 ? -1 : file_.seek(to) ? 0 : FailToRead();
    case ZIP_SOURCE_TELL:
        return file_.pos();
    case ZIP_SOURCE_WRITE:
        return Write(static_cast<const char *>(data), size);
    case ZIP_SOURCE_SEEK_WRITE:
        to = SeekTarget(written_->File().pos(), written_->File().size(), data, length);
        return to < 0 ? -1 : written_->File().seek(to) ? 0 : FailToWrite(written_->File().errorString());
    case ZIP_SOURCE_TELL_WRITE:
        return written_->File().pos();
    case ZIP_SOURCE_COMMIT_WRITE: {
        const Result<> finished = written_->Finish();
        return finished ? 0 : FailToWrite(finished.error().text);
    }
    case ZIP_SOURCE_BEGIN_WRITE:
    case ZIP_SOURCE_ROLLBACK_WRITE:
    case ZIP_SOURCE_CLOSE:
    case ZIP_SOURCE_FREE:
        return 0;
    default:
        return Fail(ZIP_ER_OPNOTSUPP);
    }
}

zip_int64_t ArchiveFile::FailToRead()
{
    readError_ = file_.errorString();
    return Fail(ZIP_ER_READ, EIO);
}

zip_int64_t ArchiveFile::FailToWrite(const QString &reason)
{
    writeError_ = reason;
    return Fail(ZIP_ER_WRITE, EIO);
}

zip_int64_t ArchiveFile::Read(char *to, qint64 length)
{
    const qint64 got = file_.read(to, length);
    if (got < 0)
        return FailToRead();
    return !watch_ || watch_->Advance(got) ? got : Fail(ZIP_ER_CANCELLED);
}

zip_int64_t ArchiveFile::Write(const char *from, qint64 length)
{
    if (watch_->cancelled)
        return Fail(ZIP_ER_CANCELLED);
    const Result<> written = WriteBytes(written_->File(), from, length);
    return written ? length : FailToWrite(written.error().text);
}

} // namespace px40
