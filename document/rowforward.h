#pragma once

#include "platform/result.h"

#include <QCoro/QCoroTask>

#include <memory>

namespace px40 {

class DataSet;

/// Where the rows of a real-time run are forwarded to as they come in.
class RowForward
{
  public:
    enum class Row {
        Taken, ///< it is forwarded, or will be
        Full,  ///< there is no room for it: to be closed
    };

    virtual ~RowForward() = default;

    /// Before the first row of a run. Fails also when the run is to stop (`RealtimeStop`) meanwhile.
    virtual QCoro::Task<Result<>> Open(std::shared_ptr<DataSet> dataSet) = 0;

    /// After each row of the run. After a failure nothing more is forwarded.
    virtual Result<Row> Write() = 0;

    /// At the end of the run, or when there is no more room; not after a failure. Fails when what was
    /// forwarded is lost.
    virtual QCoro::Task<Result<>> Close() = 0;
};

} // namespace px40
