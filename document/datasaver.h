#pragma once

#include <QCoro/QCoroTask>

#include <memory>

namespace px40 {

class DataSet;

/// Saves data sets for their windows, which know no file dialogs.
class DataSaver
{
  public:
    DataSaver() = default;
    DataSaver(const DataSaver &) = delete;
    DataSaver &operator=(const DataSaver &) = delete;
    virtual ~DataSaver() = default;

    /// Saves under the data set's own name, or asks for one when there is none or it may not be written.
    /// True only when saved; a failure was told to the user.
    virtual QCoro::Task<bool> Save(std::shared_ptr<DataSet> set) = 0;
};

} // namespace px40
