#pragma once

#include "document/datakind.h"
#include "document/duration.h"
#include "document/rowstore.h"
#include "document/statistics.h"
#include "graph/graphsettings.h"
#include "platform/result.h"

class QIODevice;

namespace px40 {

/// Size and state of a data window as the data file keeps them. What is in a file stays as it is until the
/// user changes the window: even a size that the window cannot have, and a number that is no state.
struct WindowShape
{
    static constexpr int Normal = 0;
    static constexpr int Minimised = 1;
    static constexpr int Maximised = 2;
    static constexpr int Smallest = -32768;
    static constexpr int Largest = 32767;

    int width = 9600; ///< of the normal state, outer frame included, in twips (1/1440 inch)
    int height = 4800;
    int state = Normal;
};

/// The seven lines with which a data file begins.
struct DataFileHeader
{
    int kind = KindMemory; ///< one of the file kinds
    WindowShape shape;     ///< size and state of the data window
    Duration interval;     ///< of a real-time set; of a MEMORY-mode set only the seconds, or nothing
    bool periodNone = true;
    Duration period;
    GraphSettings graph;
};

/// A data file: Latin-1 text, fields separated by commas without quoting, lines that end with CR LF (LF alone
/// is read as well).
///
///     line 1     kind code: 0 MEMORY-mode, 2 real-time, 4 SAVE-mode
///     line 2     width and height of the window in twips, its state (0 normal, 1 minimised, 2 maximised)
///     line 3     interval: days, hours, minutes, seconds
///     line 4     period: "True" for none or "False", days, hours, minutes, seconds
///     line 5     number of samples that the graph shows
///     line 6     X axis: "True" for automatic or "False", categories between labels, between ticks
///     line 7     Y axis: "True" for automatic or "False", minimum, maximum, major and minor divisions
///     line 8...  time, data, mode, source data, source mode of each row of the table
///
/// The file ends with an empty row. In files of kinds 0 and 2 a row without data is no sample.
struct DataFile
{
    /// A line is read up to here; the fields that are needed must lie in that part of it.
    static constexpr std::size_t LongestLine = 65536;

    DataFileHeader header;
    RowStore rows;
    Readings readings;
    int tableRows = 1; ///< rows of the table: the samples, and the empty rows after them
};

/// Fails, with one sentence, when the file cannot be read or is no data file. Takes time and memory in
/// proportion to the file. Throws std::bad_alloc.
Result<DataFile> ReadDataFile(QIODevice &file);

// A data file in pieces, for one that grows: the header, rows of the store from `first` to before `end`
// (0-based), and the empty row with which it ends.
Result<> WriteHeader(const DataFileHeader &header, QIODevice &file);
Result<> WriteRows(const RowStore &rows, qsizetype first, qsizetype end, QIODevice &file);
Result<> WriteEnd(QIODevice &file);

/// Writes the rows 1 to `tableRows` of a table whose samples are `rows`. A comma or a line end inside a text
/// becomes a blank.
Result<> WriteDataFile(const DataFileHeader &header, const RowStore &rows, int tableRows, QIODevice &file);

} // namespace px40
