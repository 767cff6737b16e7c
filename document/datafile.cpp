#include "document/datafile.h"

#include "document/linereader.h"
#include "document/numbers.h"
#include "resources/strings.h"

#include <QIODevice>

#include <algorithm>
#include <array>
#include <limits>

namespace px40 {

namespace {

/// The texts between the commas. A line that has fewer than asked for begins again at its first one.
template <std::size_t N>
std::array<std::string_view, N> Split(std::string_view line)
{
    std::array<std::string_view, N> fields;
    std::size_t start = 0;
    for (std::string_view &field : fields) {
        const std::size_t comma = line.find(',', start);
        field = line.substr(start, comma == std::string_view::npos ? comma : comma - start);
        start = comma == std::string_view::npos ? 0 : comma + 1;
    }
    return fields;
}

QString FromLatin1(std::string_view text)
{
    return QString::fromLatin1(text.data(), static_cast<qsizetype>(text.size()));
}

[[noreturn]] void RefuseType()
{
    throw Failure{Text(Str::OtherDataType)};
}

/// The value of a setting that passed its check.
template <typename T>
T Checked(const std::optional<T> &value)
{
    if (!value)
        RefuseType();
    return *value;
}

Duration CheckedDuration(Duration duration)
{
    if (ValidateDuration(&duration))
        RefuseType();
    return duration;
}

template <std::size_t N>
Duration DurationAt(const std::array<std::string_view, N> &fields, std::size_t first)
{
    return {FromLatin1(fields.at(first)), FromLatin1(fields.at(first + 1)), FromLatin1(fields.at(first + 2)),
            FromLatin1(fields.at(first + 3))};
}

class Reader
{
  public:
    explicit Reader(QIODevice &file) : lines_(file, DataFile::LongestLine), device_(&file) {}

    void ReadHeader(DataFileHeader *header);
    void ReadRows(DataFile *data);

  private:
    bool NextLine()
    {
        if (lines_.Next())
            return true;
        if (lines_.Failed())
            throw Failure{device_->errorString()};
        return false;
    }

    template <std::size_t N>
    std::array<std::string_view, N> HeaderFields()
    {
        if (!NextLine())
            throw Failure{Text(Str::FileEndsEarly).arg(lines_.Number() + 1)};
        return Fields<N>();
    }

    template <std::size_t N>
    std::array<std::string_view, N> Fields() const
    {
        const std::string_view line = lines_.Line();
        if (lines_.Cut() && std::count(line.begin(), line.end(), ',') < static_cast<std::ptrdiff_t>(N))
            throw Failure{Text(Str::FileLineTooLong).arg(lines_.Number())};
        return Split<N>(line);
    }

    int Whole(std::string_view field) const
    {
        const QString text = FromLatin1(field);
        const std::optional<int> number = WholeNumber(text);
        if (!number)
            throw Failure{Text(Str::FileNoNumber).arg(lines_.Number()).arg(Excerpt(text))};
        return *number;
    }

    bool Boolean(std::string_view field) const
    {
        const QString text = FromLatin1(field);
        const std::optional<bool> value = BooleanValue(text);
        if (!value)
            throw Failure{Text(Str::FileNoBoolean).arg(lines_.Number()).arg(Excerpt(text))};
        return *value;
    }

    /// Short and printable enough for a box.
    static QString Excerpt(QString text)
    {
        constexpr int Longest = 40;
        if (text.size() > Longest)
            text = text.left(Longest) + QChar(0x2026);
        for (QChar &character : text) {
            if (!character.isPrint())
                character = u'?';
        }
        return text;
    }

    LineReader lines_;
    QIODevice *device_;
};

void Reader::ReadHeader(DataFileHeader *header)
{
    if (!NextLine())
        throw Failure{Text(Str::FileEndsEarly).arg(1)};
    const std::string_view kind = Split<1>(lines_.Line())[0];
    header->kind = DataKind(FromLatin1(kind));
    if (!IsFileKind(header->kind))
        RefuseType();
    const bool realtime = header->kind == KindRealtime;

    const auto shape = HeaderFields<3>();
    header->shape.width = Whole(shape[0]);
    header->shape.height = Whole(shape[1]);
    header->shape.state = Whole(shape[2]);

    const auto interval = HeaderFields<4>();
    if (realtime)
        header->interval = CheckedDuration(DurationAt(interval, 0));
    else if (header->kind == KindMemory)
        header->interval = DurationAt(interval, 0);

    const auto period = HeaderFields<5>();
    if (realtime) {
        header->periodNone = Boolean(period[0]);
        // Without a period its texts mean nothing and are not looked at.
        const Duration texts = DurationAt(period, 1);
        header->period = header->periodNone ? texts : CheckedDuration(texts);
    }

    GraphSettings &graph = header->graph;
    graph.count = Checked(GraphCountOf(FromLatin1(HeaderFields<1>()[0])));

    const auto xAxis = HeaderFields<3>();
    graph.xLabels = Checked(DivisionsOf(FromLatin1(xAxis[1])));
    graph.xTicks = Checked(DivisionsOf(FromLatin1(xAxis[2])));
    graph.xAuto = Boolean(xAxis[0]);

    const auto yAxis = HeaderFields<5>();
    graph.yMinimum = Checked(AxisLimitOf(FromLatin1(yAxis[1])));
    graph.yMaximum = Checked(AxisLimitOf(FromLatin1(yAxis[2])));
    graph.yMajor = Checked(DivisionsOf(FromLatin1(yAxis[3])));
    graph.yMinor = Checked(DivisionsOf(FromLatin1(yAxis[4])));
    graph.yAuto = Boolean(yAxis[0]);
}

void Reader::ReadRows(DataFile *data)
{
    constexpr qint64 MostRows = std::numeric_limits<int>::max() - 1;
    const bool emptyRowsCount = data->header.kind == KindSave;
    qint64 rows = 0;
    while (NextLine()) {
        if (++rows > MostRows)
            throw Failure{Text(Str::TableFull)};
        const RowStore::Bytes fields = Fields<RowStore::Texts>();
        if (fields[1].empty() && !emptyRowsCount)
            continue; // only a row of the table more
        data->rows.AppendLatin1(fields);
        const ReadingBytes reading = ReadingOf(fields[1]);
        data->readings.unreadable += reading.unreadable ? 1 : 0;
        data->readings.Count(reading.value, static_cast<qint32>(data->rows.Count()));
    }
    data->tableRows = std::max(1, static_cast<int>(rows));
}

} // namespace

Result<DataFile> ReadDataFile(QIODevice &file)
{
    try {
        DataFile data;
        Reader reader(file);
        reader.ReadHeader(&data.header);
        reader.ReadRows(&data);
        return data;
    } catch (const Failure &failure) {
        return Fail(failure);
    }
}

} // namespace px40
