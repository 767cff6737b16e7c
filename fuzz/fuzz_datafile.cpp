// Data files: whatever the bytes are they are read or refused in bounded time and memory, and what was read
// is written so that it reads the same.

#include "document/datafile.h"
#include "fuzz/check.h"
#include "testing/datafiles.h"

#include <cmath>

namespace px40 {

namespace {

/// A reading is the number that Qt reads in it.
void CheckReadings(const DataFile &file)
{
    for (qint32 sample = 1; sample <= file.rows.Count(); ++sample) {
        const QString text = file.rows.Cell(sample - 1, 1);
        bool number = false;
        const float value = text.toFloat(&number);
        const GraphPoint &point = file.readings.series.At(sample);
        PX40_CHECK((IsValidReading(text) && number && std::isfinite(value)) == point.HasReading());
        PX40_CHECK(!point.HasReading() || value == point.reading);
    }
}

} // namespace

void CheckInput(const QByteArray &input)
{
    const Result<DataFile> file = Read(input);
    if (!file) {
        PX40_CHECK(!file.error().text.isEmpty());
        return;
    }
    PX40_CHECK(file->tableRows >= file->rows.Count() && file->readings.series.Count() == file->rows.Count());
    CheckReadings(*file);
    const QByteArray once = Written(*file);
    const Result<DataFile> again = Read(once);
    PX40_CHECK(again.has_value());
    PX40_CHECK(Written(*again) == once);
}

} // namespace px40
