#include "document/datafile.h"

#include "document/numbers.h"
#include "platform/files.h"
#include "resources/strings.h"

#include <QBuffer>

#include <algorithm>
#include <array>
#include <limits>

namespace px40 {

namespace {

/// The texts between the commas. For a line with too few of them, reading begins again at its first one.
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

[[noreturn]] void RefuseType()
{
    throw Failure{Text(Str::OtherDataType)};
}

int CheckedNumber(const QString &text, int least)
{
    const std::optional<int> number = WholeNumber(text);
    if (!number || *number < least)
        RefuseType();
    return *number;
}

QString CheckedLimit(const QString &text)
{
    const std::optional<QString> limit = AxisLimitOf(text);
    if (!limit)
        RefuseType();
    return *limit;
}

Duration CheckedDuration(Duration duration)
{
    if (ValidateDuration(&duration))
        RefuseType();
    return duration;
}

/// Short and printable enough for a box.
QString Excerpt(QString text)
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

/// Goes through the lines of a file. Throws `Failure`.
class Reader
{
  public:
    explicit Reader(std::string_view bytes) : rest_(bytes) {}

    void ReadHeader(DataFileHeader *header);
    void ReadRows(DataFile *data);

  private:
    bool NextLine()
    {
        if (rest_.empty())
            return false;
        const std::size_t end = std::min(rest_.find('\n'), rest_.size());
        line_ = rest_.substr(0, end);
        rest_.remove_prefix(std::min(end + 1, rest_.size()));
        cut_ = line_.size() > DataFile::LongestLine;
        if (cut_)
            line_ = line_.substr(0, DataFile::LongestLine);
        else if (line_.ends_with('\r'))
            line_.remove_suffix(1);
        ++number_;
        return true;
    }

    template <std::size_t N>
    std::array<std::string_view, N> Fields() const
    {
        if (cut_ && std::count(line_.begin(), line_.end(), ',') < static_cast<std::ptrdiff_t>(N))
            throw Failure{Text(Str::FileLineTooLong).arg(number_)};
        return Split<N>(line_);
    }

    template <std::size_t N>
    std::array<QString, N> HeaderFields()
    {
        if (!NextLine())
            throw Failure{Text(Str::FileEndsEarly).arg(number_ + 1)};
        std::array<QString, N> texts;
        const std::array<std::string_view, N> fields = Fields<N>();
        std::transform(fields.begin(), fields.end(), texts.begin(), [](std::string_view field) {
            return QString::fromLatin1(field.data(), static_cast<qsizetype>(field.size()));
        });
        return texts;
    }

    int Whole(const QString &text) const
    {
        const std::optional<int> number = WholeNumber(text);
        if (!number)
            throw Failure{Text(Str::FileNoNumber).arg(number_).arg(Excerpt(text))};
        return *number;
    }

    bool Boolean(const QString &text) const
    {
        const std::optional<bool> value = BooleanValue(text);
        if (!value)
            throw Failure{Text(Str::FileNoBoolean).arg(number_).arg(Excerpt(text))};
        return *value;
    }

    std::string_view rest_;
    std::string_view line_;
    qint64 number_ = 0; ///< of that line, from 1
    bool cut_ = false;  ///< only its beginning is kept
};

void Reader::ReadHeader(DataFileHeader *header)
{
    if (!NextLine())
        throw Failure{Text(Str::FileEndsEarly).arg(1)};
    const std::string_view kind = Split<1>(line_)[0];
    header->kind = DataKind(QString::fromLatin1(kind.data(), static_cast<qsizetype>(kind.size())));
    if (!IsFileKind(header->kind))
        RefuseType();
    const bool realtime = header->kind == KindRealtime;

    const auto shape = HeaderFields<3>();
    header->shape.width = Whole(shape[0]);
    header->shape.height = Whole(shape[1]);
    header->shape.state = Whole(shape[2]);

    const auto interval = HeaderFields<4>();
    if (realtime)
        header->interval = CheckedDuration({interval[0], interval[1], interval[2], interval[3]});
    else if (header->kind == KindMemory)
        header->interval = {interval[0], interval[1], interval[2], interval[3]};

    const auto period = HeaderFields<5>();
    if (realtime) {
        header->periodNone = Boolean(period[0]);
        // Without a period its texts mean nothing and are not checked.
        const Duration texts = {period[1], period[2], period[3], period[4]};
        header->period = header->periodNone ? texts : CheckedDuration(texts);
    }

    GraphSettings &graph = header->graph;
    graph.count = CheckedNumber(HeaderFields<1>()[0], 2); // a line needs two points

    const auto xAxis = HeaderFields<3>();
    graph.xLabels = CheckedNumber(xAxis[1], 1);
    graph.xTicks = CheckedNumber(xAxis[2], 1);
    graph.xAuto = Boolean(xAxis[0]);

    const auto yAxis = HeaderFields<5>();
    graph.yMinimum = CheckedLimit(yAxis[1]);
    graph.yMaximum = CheckedLimit(yAxis[2]);
    graph.yMajor = CheckedNumber(yAxis[3], 1);
    graph.yMinor = CheckedNumber(yAxis[4], 1);
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
            continue; // an empty row of the table, not a sample
        data->rows.AppendLatin1(fields);
        data->readings.Count(ReadingOf(fields[1]));
    }
    data->tableRows = std::max(1, static_cast<int>(rows));
}

} // namespace

Result<DataFile> ReadDataFile(QIODevice &file)
{
    QByteArray bytes;
    bytes.reserve(file.size());
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    const Result<> copied = CopyBytes(file, buffer);
    if (!copied)
        return Fail(copied.error());
    try {
        DataFile data;
        Reader reader({bytes.constData(), static_cast<std::size_t>(bytes.size())});
        reader.ReadHeader(&data.header);
        reader.ReadRows(&data);
        return data;
    } catch (const Failure &failure) {
        return Fail(failure);
    }
}

} // namespace px40
