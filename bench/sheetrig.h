#pragma once

#include "document/dataset.h"
#include "link/linkstate.h"

#include <QString>

#include <memory>

namespace px40::bench {

/// What the sheets are called.
QString SheetTitle();

/// Adds a reading each five seconds, wandering about 1 V; now and then one is beyond the range.
void AddReadings(DataSet *data, int rows);

/// Makes real-time data sets of such readings, which it must outlive.
class SetMaker
{
  public:
    std::shared_ptr<DataSet> Make(int rows);

  private:
    LinkState state_;
    DocumentShared shared_;
};

enum class Book { New, Existing };

/// All of forwarding but the windows; false when something went wrong, which is printed.
bool ForwardTo(const QString &name, Book book, const std::shared_ptr<const DataSet> &data);

/// A workbook of 50 MB and some 200 entries: forwarded sheets, each with its chart, and pictures, which
/// cannot be compressed. False when it cannot be written.
bool MakeLargeBook(const QString &name);

/// Bytes that this process had in memory at most since `ForgetPeak`; 0 when the system does not tell.
double PeakBytes();
bool ForgetPeak();

} // namespace px40::bench
