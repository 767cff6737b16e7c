#include "forward/zipdevice.h"

#include "forward/bookfault.h"
#include "forward/writeprogress.h"
#include "platform/files.h"
#include "platform/replacefile.h"
#include "resources/strings.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace px40 {

namespace {

// Headers are read here and there, the entries themselves in a row, and so are the headers of small ones.
constexpr qint64 SmallBlock = 4 * 1024;
constexpr qint64 SmallGap = 32 * 1024;
constexpr qint64 LargeBlock = 256 * 1024;

/// Why an archive cannot be opened, in the user's words.
QString DamageText(zip_error_t *problem)
{
    switch (zip_error_code_zip(problem)) {
    case ZIP_ER_NOZIP:
        return Text(Str::BookEndMissing);
    case ZIP_ER_INCONS:
        return Text(Str::BookDirectoryDamaged);
    default:
        return QString::fromUtf8(zip_error_strerror(problem));
    }
}

} // namespace

ZipDevice::ZipDevice(const QString &name) : file_(name)
{
    zip_error_init(&zipError_);
}

void ZipDevice::WriteTo(Replacement *file, WriteProgress *progress)
{
    written_ = file;
    progress_ = progress;
}

Zip ZipDevice::Open()
{
    const bool anew = file_.fileName().isEmpty();
    if (!anew && !file_.open(QIODevice::ReadOnly | QIODevice::Unbuffered))
        throw BookFault{Text(Str::BookNotRead).arg(file_.errorString())};
    size_ = anew ? 0 : file_.size();

    zip_error_t problem;
    zip_error_init(&problem);
    zip_source_t *source = zip_source_function_create(&ZipDevice::Call, this, &problem);
    const int flags = (anew ? ZIP_CREATE : 0) | (written_ ? 0 : ZIP_RDONLY);
    Zip archive(source ? zip_open_from_source(source, flags, &problem) : nullptr);
    const QString damage = DamageText(&problem);
    zip_error_fini(&problem);
    if (archive)
        return archive;
    zip_source_free(source);
    throw BookFault{readError_.isEmpty() ? Text(Str::BookDamaged).arg(damage)
                                         : Text(Str::BookNotRead).arg(readError_)};
}

zip_int64_t ZipDevice::Call(void *self, void *to, zip_uint64_t length, zip_source_cmd_t command)
{
    return static_cast<ZipDevice *>(self)->Do(to, length, command);
}

zip_int64_t ZipDevice::Do(void *to, zip_uint64_t length, zip_source_cmd_t command)
{
    switch (command) {
    case ZIP_SOURCE_SUPPORTS:
        return written_ ? ZIP_SOURCE_SUPPORTS_WRITABLE : ZIP_SOURCE_SUPPORTS_SEEKABLE;
    case ZIP_SOURCE_STAT:
        return Stat(to);
    case ZIP_SOURCE_OPEN:
        at_ = 0;
        return 0;
    case ZIP_SOURCE_READ:
        return Read(static_cast<char *>(to), static_cast<qint64>(length));
    case ZIP_SOURCE_SEEK:
        return Seek(to, length);
    case ZIP_SOURCE_TELL:
        return at_;
    case ZIP_SOURCE_WRITE:
        return Write(static_cast<const char *>(to), static_cast<qint64>(length));
    case ZIP_SOURCE_SEEK_WRITE:
        return SeekWrite(to, length);
    case ZIP_SOURCE_TELL_WRITE:
        return written_->File().pos();
    case ZIP_SOURCE_COMMIT_WRITE:
        return Written(written_->Finish());
    case ZIP_SOURCE_ERROR:
        return zip_error_to_data(&zipError_, to, length);
    case ZIP_SOURCE_BEGIN_WRITE:
    case ZIP_SOURCE_ROLLBACK_WRITE:
    case ZIP_SOURCE_CLOSE:
    case ZIP_SOURCE_FREE:
        return 0;
    default:
        return Fail(ZIP_ER_OPNOTSUPP);
    }
}

zip_int64_t ZipDevice::Fail(int error, int systemError)
{
    zip_error_set(&zipError_, error, systemError);
    return -1;
}

zip_int64_t ZipDevice::Stat(void *to)
{
    if (file_.fileName().isEmpty())
        return Fail(ZIP_ER_READ, ENOENT);
    auto *stat = static_cast<zip_stat_t *>(to);
    zip_stat_init(stat);
    stat->size = static_cast<zip_uint64_t>(size_);
    stat->valid |= ZIP_STAT_SIZE;
    return sizeof(zip_stat_t);
}

bool ZipDevice::Fill()
{
    const qint64 gap = at_ - blockAt_ - block_.size();
    const bool inARow = gap >= 0 && gap < SmallGap;
    blockAt_ = at_;
    block_.resize(inARow ? LargeBlock : SmallBlock);
    const qint64 got = file_.seek(at_) ? file_.read(block_.data(), block_.size()) : -1;
    block_.resize(std::max<qint64>(got, 0));
    if (got < 0)
        readError_ = file_.errorString();
    return got >= 0;
}

zip_int64_t ZipDevice::Read(char *to, qint64 length)
{
    qint64 made = 0;
    while (made < length && at_ < size_) {
        if (at_ < blockAt_ || at_ >= blockAt_ + block_.size()) {
            if (!Fill())
                return Fail(ZIP_ER_READ, EIO);
            if (block_.isEmpty()) // cut off meanwhile
                break;
        }
        const qint64 from = at_ - blockAt_;
        const qint64 part = std::min<qint64>(length - made, block_.size() - from);
        std::memcpy(to + made, block_.constData() + from, static_cast<size_t>(part));
        made += part;
        at_ += part;
    }
    if (progress_ && !progress_->Advance(made))
        return Fail(ZIP_ER_CANCELLED);
    return made;
}

zip_int64_t ZipDevice::Seek(void *arguments, zip_uint64_t length)
{
    const zip_int64_t to = zip_source_seek_compute_offset(
        static_cast<zip_uint64_t>(at_), static_cast<zip_uint64_t>(size_), arguments, length, &zipError_);
    if (to >= 0)
        at_ = to;
    return to < 0 ? -1 : 0;
}

zip_int64_t ZipDevice::SeekWrite(void *arguments, zip_uint64_t length)
{
    const zip_int64_t to = zip_source_seek_compute_offset(static_cast<zip_uint64_t>(written_->File().pos()),
                                                          static_cast<zip_uint64_t>(written_->File().size()),
                                                          arguments, length, &zipError_);
    if (to < 0)
        return -1;
    QFile &file = written_->File();
    return Written(file.seek(to) ? Result<>() : Result<>(px40::Fail(file.errorString())));
}

zip_int64_t ZipDevice::Write(const char *from, qint64 length)
{
    if (progress_->IsCancelled())
        return Fail(ZIP_ER_CANCELLED);
    return Written(WriteBytes(written_->File(), from, length)) == 0 ? length : -1;
}

zip_int64_t ZipDevice::Written(const Result<> &result)
{
    if (result)
        return 0;
    writeError_ = result.error().text;
    return Fail(ZIP_ER_WRITE, EIO);
}

} // namespace px40
