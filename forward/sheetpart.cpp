#include "forward/sheetpart.h"

#include "forward/writeprogress.h"

#include <utility>

namespace px40 {

namespace {

/// A byte of a sheet, made and compressed, takes as long as this many that are copied.
constexpr qint64 Weight = 6;

} // namespace

SheetPart::SheetPart(SheetContent &content, std::vector<int> formats, const SheetVocabulary &vocabulary,
                     const std::string &drawingId, bool selected)
    : xml_(content, std::move(formats), vocabulary, drawingId, selected), size_(xml_.Size()),
      failed_(size_ < 0)
{
    zip_error_init(&error_);
}

SheetPart::~SheetPart()
{
    zip_error_fini(&error_);
}

zip_source_t *SheetPart::Source(zip_t *archive)
{
    return zip_source_function(archive, &SheetPart::Call, this);
}

qint64 SheetPart::Work() const
{
    return size_ * Weight;
}

zip_int64_t SheetPart::Call(void *self, void *to, zip_uint64_t length, zip_source_cmd_t command)
{
    return static_cast<SheetPart *>(self)->Do(to, length, command);
}

zip_int64_t SheetPart::Do(void *to, zip_uint64_t length, zip_source_cmd_t command)
{
    switch (command) {
    case ZIP_SOURCE_SUPPORTS:
        return ZIP_SOURCE_SUPPORTS_READABLE;
    case ZIP_SOURCE_STAT:
        return Stat(to);
    case ZIP_SOURCE_OPEN:
        xml_.Rewind();
        return 0;
    case ZIP_SOURCE_READ:
        return Read(to, length);
    case ZIP_SOURCE_ERROR:
        return zip_error_to_data(&error_, to, length);
    case ZIP_SOURCE_CLOSE:
    case ZIP_SOURCE_FREE:
        return 0;
    default:
        return Fail(ZIP_ER_OPNOTSUPP);
    }
}

zip_int64_t SheetPart::Fail(int error)
{
    zip_error_set(&error_, error, 0);
    return -1;
}

zip_int64_t SheetPart::Stat(void *to) const
{
    auto *stat = static_cast<zip_stat_t *>(to);
    zip_stat_init(stat);
    // Without it a header for more than 4 GB would be written, which strict readers object to.
    stat->size = static_cast<zip_uint64_t>(size_);
    stat->valid |= ZIP_STAT_SIZE;
    return sizeof(zip_stat_t);
}

zip_int64_t SheetPart::Read(void *to, zip_uint64_t length)
{
    const qint64 made = xml_.Read(static_cast<char *>(to), static_cast<qint64>(length));
    if (made < 0) {
        failed_ = true;
        return Fail(ZIP_ER_READ);
    }
    return progress_->Advance(made * Weight) ? made : Fail(ZIP_ER_CANCELLED);
}

} // namespace px40
