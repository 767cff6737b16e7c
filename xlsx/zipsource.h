#pragma once

#include <zip.h>

namespace px40 {

/// Bytes that libzip reads or writes by the commands of its own protocol.
class ZipSource
{
  public:
    ZipSource() { zip_error_init(&error_); }
    virtual ~ZipSource() { zip_error_fini(&error_); }
    ZipSource(const ZipSource &) = delete;
    ZipSource &operator=(const ZipSource &) = delete;

    /// For libzip, which frees it; this must outlive that. Null, with the reason in `problem`, without
    /// memory.
    zip_source_t *Create(zip_error_t *problem)
    {
        return zip_source_function_create(&ZipSource::Call, this, problem);
    }

  protected:
    /// The answer to a command; `Fail` where it does not know the command or cannot do it.
    virtual zip_int64_t Do(zip_source_cmd_t command, void *data, zip_uint64_t length) = 0;

    zip_int64_t Fail(int error, int systemError = 0)
    {
        zip_error_set(&error_, error, systemError);
        return -1;
    }

    /// The answer to `ZIP_SOURCE_STAT`.
    static zip_int64_t TellSize(void *data, zip_int64_t size)
    {
        auto *const stat = static_cast<zip_stat_t *>(data);
        zip_stat_init(stat);
        stat->size = static_cast<zip_uint64_t>(size);
        stat->valid |= ZIP_STAT_SIZE;
        return sizeof(zip_stat_t);
    }

    /// The answer to a seek; -1 where that leads nowhere.
    zip_int64_t SeekTarget(zip_int64_t at, zip_int64_t size, void *data, zip_uint64_t length)
    {
        return zip_source_seek_compute_offset(static_cast<zip_uint64_t>(at), static_cast<zip_uint64_t>(size),
                                              data, length, &error_);
    }

  private:
    static zip_int64_t Call(void *self, void *data, zip_uint64_t length, zip_source_cmd_t command)
    {
        auto *const source = static_cast<ZipSource *>(self);
        if (command == ZIP_SOURCE_ERROR)
            return zip_error_to_data(&source->error_, data, length);
        return source->Do(command, data, length);
    }

    zip_error_t error_;
};

} // namespace px40
