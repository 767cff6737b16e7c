#pragma once

#include <memory>

namespace px40 {

class DataSet;

/// Where the rows of a real-time run are forwarded to as they come in.
class RowForward
{
  public:
    RowForward() = default;
    RowForward(const RowForward &) = delete;
    RowForward &operator=(const RowForward &) = delete;
    virtual ~RowForward() = default;

    /// Before the first row of a run. False when it cannot be had.
    virtual bool Open(std::shared_ptr<DataSet> dataSet) = 0;

    /// After each row: `sample` is its 1-based number. False when it failed; nothing more is then forwarded.
    virtual bool Write(int sample) = 0;

    /// At the end of the run, unless something has failed.
    virtual void Close() = 0;
};

} // namespace px40
