#pragma once

#include "xlsx/sheetxml.h"
#include "xlsx/writewatch.h"
#include "xlsx/zipsource.h"

namespace px40 {

/// A sheet on its way into an archive: its text is made as libzip takes it.
class SheetPart : public ZipSource
{
  public:
    /// Both must outlive it.
    SheetPart(SheetXml &xml, WriteWatch &watch) : xml_(&xml), watch_(&watch) {}

    /// How much work it is, in bytes that are copied.
    qint64 Work() const { return xml_->Size() * Weight; }

  protected:
    zip_int64_t Do(zip_source_cmd_t command, void *data, zip_uint64_t length) override
    {
        switch (command) {
        case ZIP_SOURCE_SUPPORTS:
            return ZIP_SOURCE_SUPPORTS_READABLE;
        case ZIP_SOURCE_STAT: // without it a header for more than 4 GB is written, which strict readers
                              // object to
            return TellSize(data, xml_->Size());
        case ZIP_SOURCE_OPEN:
            xml_->Rewind();
            return 0;
        case ZIP_SOURCE_READ:
            return Read(static_cast<char *>(data), static_cast<qint64>(length));
        case ZIP_SOURCE_CLOSE:
        case ZIP_SOURCE_FREE:
            return 0;
        default:
            return Fail(ZIP_ER_OPNOTSUPP);
        }
    }

  private:
    /// A byte of a sheet, made and compressed, takes as long as this many that are copied.
    static constexpr qint64 Weight = 6;

    zip_int64_t Read(char *to, qint64 room)
    {
        const qint64 made = xml_->Read(to, room);
        return watch_->Advance(made * Weight) ? made : Fail(ZIP_ER_CANCELLED);
    }

    SheetXml *xml_;
    WriteWatch *watch_;
};

} // namespace px40
