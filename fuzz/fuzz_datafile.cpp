// Data files: whatever the bytes are they are read or refused in bounded time and memory, and what was read
// is written so that it reads the same.

#include "document/datafile.h"
#include "document/linereader.h"
#include "fuzz/check.h"

#include <QBuffer>

#include <cstddef>
#include <cstdint>

namespace {

using namespace px40;

Result<DataFile> Read(QByteArray bytes)
{
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    return ReadDataFile(buffer);
}

QByteArray Written(const DataFile &file)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    PX40_CHECK(WriteDataFile(file.header, file.rows, file.tableRows, buffer));
    return bytes;
}

/// The quick way and the usual way to a number agree.
void CheckReadings(const DataFile &file)
{
    for (qint32 sample = 1; sample <= file.rows.Count(); ++sample) {
        const std::optional<float> value = ReadingNumber(file.rows.Cell(sample - 1, 1));
        const GraphPoint &point = file.readings.series.At(sample);
        PX40_CHECK(value.has_value() == point.HasReading());
        PX40_CHECK(!value || *value == point.reading);
    }
}

/// Lines come as they are, also those that are longer than the limit and than the reader's buffer.
void CheckLines(QByteArray bytes)
{
    constexpr int Limit = 5;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    LineReader lines(buffer, Limit);
    for (qsizetype from = 0; from < bytes.size();) {
        const qsizetype end = bytes.indexOf('\n', from);
        QByteArray line = bytes.mid(from, end < 0 ? -1 : end - from);
        const bool cut = line.size() > Limit;
        line.truncate(Limit);
        if (!cut && line.endsWith('\r'))
            line.chop(1);
        PX40_CHECK(lines.Next());
        PX40_CHECK(lines.Cut() == cut);
        PX40_CHECK(lines.Line() == std::string_view(line.constData(), static_cast<std::size_t>(line.size())));
        from = end < 0 ? bytes.size() : end + 1;
    }
    PX40_CHECK(!lines.Next() && !lines.Failed());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const QByteArray input(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));
    CheckLines(input);
    const Result<DataFile> file = Read(input);
    if (!file) {
        PX40_CHECK(!file.error().text.isEmpty());
        return 0;
    }
    PX40_CHECK(file->tableRows >= file->rows.Count() && file->readings.series.Count() == file->rows.Count());
    CheckReadings(*file);
    const QByteArray once = Written(*file);
    const Result<DataFile> again = Read(once);
    PX40_CHECK(again.has_value());
    PX40_CHECK(Written(*again) == once);
    return 0;
}
