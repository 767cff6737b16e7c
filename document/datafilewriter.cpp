// The writing half of data files.

#include "document/datafile.h"

#include "document/numbers.h"
#include "platform/files.h"

#include <QStringList>

#include <algorithm>
#include <string>

namespace px40 {

namespace {

/// Collects bytes for the file in large pieces.
class Writer
{
  public:
    explicit Writer(QIODevice &file) : file_(&file) { pending_.reserve(PieceSize + 1024); }

    void Line(const QStringList &texts)
    {
        for (qsizetype i = 0; i < texts.size(); ++i) {
            if (i > 0)
                pending_ += ',';
            Put(texts.at(i).toUtf8().toStdString());
        }
        EndLine();
    }

    void Row(const RowStore::Bytes &texts)
    {
        for (std::size_t i = 0; i < texts.size(); ++i) {
            if (i > 0)
                pending_ += ',';
            Put(texts[i]);
        }
        EndLine();
    }

    Result<> Finish()
    {
        Flush();
        return written_;
    }

  private:
    static constexpr std::size_t PieceSize = 256 * 1024;

    /// UTF-8 in, Latin-1 out.
    void Put(std::string_view text)
    {
        for (std::size_t i = 0; i < text.size(); ++i) {
            const auto byte = static_cast<unsigned char>(text[i]);
            if (byte == ',' || byte == '\r' || byte == '\n') {
                pending_ += ' ';
            } else if (byte < 0x80) {
                pending_ += text[i];
            } else if ((byte == 0xC2 || byte == 0xC3) && i + 1 < text.size()) {
                pending_ += static_cast<char>(byte << 6 | (static_cast<unsigned char>(text[++i]) & 0x3F));
            } else if (byte >= 0xC0) {
                pending_ += '?'; // no such character there
            }
        }
    }

    void EndLine()
    {
        pending_ += "\r\n";
        if (pending_.size() >= PieceSize)
            Flush();
    }

    void Flush()
    {
        if (written_)
            written_ = WriteBytes(*file_, pending_.data(), static_cast<qint64>(pending_.size()));
        pending_.clear();
    }

    QIODevice *file_;
    std::string pending_;
    Result<> written_;
};

QString Twips(int value)
{
    return QString::number(std::clamp(value, WindowShape::Smallest, WindowShape::Largest));
}

QStringList Texts(const Duration &duration)
{
    return {duration.Day, duration.Hour, duration.Min, duration.Sec};
}

} // namespace

QStringList XAxisTexts(const GraphSettings &settings)
{
    return {BooleanText(settings.xAuto), QString::number(settings.xLabels), QString::number(settings.xTicks)};
}

QStringList YAxisTexts(const GraphSettings &settings)
{
    return {BooleanText(settings.yAuto), settings.yMinimum, settings.yMaximum,
            QString::number(settings.yMajor), QString::number(settings.yMinor)};
}

Result<> WriteDataFile(const DataFileHeader &header, const RowStore &rows, int tableRows, QIODevice &file)
{
    Writer writer(file);
    writer.Line({QString::number(header.kind)});
    writer.Line({Twips(header.shape.width), Twips(header.shape.height), QString::number(header.shape.state)});
    writer.Line(Texts(header.interval));
    writer.Line(QStringList(BooleanText(header.periodNone)) + Texts(header.period));
    writer.Line({QString::number(header.graph.count)});
    writer.Line(XAxisTexts(header.graph));
    writer.Line(YAxisTexts(header.graph));

    const RowStore::Bytes empty;
    bool lastIsEmpty = false;
    const auto samples = static_cast<int>(rows.Count());
    for (int row = 0; row < std::max(tableRows, samples); ++row) {
        const RowStore::Bytes texts = row < samples ? rows.Utf8(row) : empty;
        lastIsEmpty = texts == empty;
        writer.Row(texts);
    }
    if (!lastIsEmpty)
        writer.Row(empty); // the spare row at the end of every file
    return writer.Finish();
}

} // namespace px40
