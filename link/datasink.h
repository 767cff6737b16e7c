#pragma once

#include <QString>

namespace px40 {

/// Where a download puts its rows: the part of a data set's public operations that it drives.
class DataSink
{
  public:
    DataSink() = default;
    DataSink(const DataSink &) = delete;
    DataSink &operator=(const DataSink &) = delete;
    virtual ~DataSink() = default;

    /// Makes room for one more row; false with the reason in the link's `ErrorMessage`.
    virtual bool AddGridrow() = 0;
    virtual void AddData(const QString &time, const QString &data, const QString &meas,
                         const QString &srcData, const QString &srcMeas) = 0;
    virtual int GetDatacount() const = 0;
    virtual void SetGraphcount(int count) = 0;
    virtual void PaintGraphtop() = 0;
    virtual void DispCalculation() = 0;

    /// The table is hidden while rows stream in.
    virtual void ShowGrid(bool shown) = 0;
};

} // namespace px40
