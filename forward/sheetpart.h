#pragma once

#include "forward/sheetxml.h"

#include <string>
#include <vector>
#include <zip.h>

namespace px40 {

class SheetContent;
class WriteProgress;

/// A sheet on its way into an archive: its text is made as the archive takes it, and is never all there.
class SheetPart
{
  public:
    /// As for `SheetXml`.
    SheetPart(SheetContent &content, std::vector<int> formats, const SheetVocabulary &vocabulary,
              const std::string &drawingId, bool selected);
    ~SheetPart();
    SheetPart(const SheetPart &) = delete;
    SheetPart &operator=(const SheetPart &) = delete;

    /// What libzip reads it from, for `archive`; this must outlive that.
    zip_source_t *Source(zip_t *archive);

    /// How much work it is, in bytes that are copied.
    qint64 Work() const;

    /// To be called before it is read.
    void Watch(WriteProgress *progress) { progress_ = progress; }

    /// The rows could not be read back from the temporary file.
    bool HasFailed() const { return failed_; }

  private:
    static zip_int64_t Call(void *self, void *to, zip_uint64_t length, zip_source_cmd_t command);
    zip_int64_t Do(void *to, zip_uint64_t length, zip_source_cmd_t command);
    zip_int64_t Read(void *to, zip_uint64_t length);
    zip_int64_t Stat(void *to) const;
    zip_int64_t Fail(int error);

    SheetXml xml_;
    qint64 size_;
    WriteProgress *progress_ = nullptr;
    bool failed_;
    zip_error_t error_;
};

} // namespace px40
