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

    /// `Texts`: a list of QString, or of string views in UTF-8.
    template <typename Texts>
    void Line(const Texts &texts)
    {
        for (auto text = texts.begin(); text != texts.end(); ++text) {
            if (text != texts.begin())
                pending_ += ',';
            Put(*text);
        }
        pending_ += "\r\n";
        if (pending_.size() >= PieceSize)
            Flush();
    }

    Result<> Finish()
    {
        Flush();
        return written_;
    }

  private:
    static constexpr std::size_t PieceSize = 256 * 1024;

    void Put(const QString &text) { Put(text.toUtf8().toStdString()); }

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
                pending_ += '?'; // not in Latin-1
            }
        }
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

void PutHeader(const DataFileHeader &header, Writer *writer)
{
    const auto line = [writer](const QStringList &texts) { writer->Line(texts); };
    line({QString::number(header.kind)});
    line({Twips(header.shape.width), Twips(header.shape.height), QString::number(header.shape.state)});
    line(Texts(header.interval));
    line(QStringList(BooleanText(header.periodNone)) + Texts(header.period));
    const GraphSettings &graph = header.graph;
    line({QString::number(graph.count)});
    line({BooleanText(graph.xAuto), QString::number(graph.xLabels), QString::number(graph.xTicks)});
    line({BooleanText(graph.yAuto), graph.yMinimum, graph.yMaximum, QString::number(graph.yMajor),
          QString::number(graph.yMinor)});
}

/// Returns whether the last one was empty; if there was none it was not.
bool PutRows(const RowStore &rows, qsizetype first, qsizetype end, Writer *writer)
{
    bool lastIsEmpty = false;
    for (qsizetype row = first; row < end; ++row) {
        const RowStore::Bytes texts = row < rows.Count() ? rows.Utf8(row) : RowStore::Bytes();
        lastIsEmpty = texts == RowStore::Bytes();
        writer->Line(texts);
    }
    return lastIsEmpty;
}

} // namespace

Result<> WriteHeader(const DataFileHeader &header, QIODevice &file)
{
    Writer writer(file);
    PutHeader(header, &writer);
    return writer.Finish();
}

Result<> WriteRows(const RowStore &rows, qsizetype first, qsizetype end, QIODevice &file)
{
    Writer writer(file);
    PutRows(rows, first, end, &writer);
    return writer.Finish();
}

Result<> WriteEnd(QIODevice &file)
{
    return WriteRows({}, 0, 1, file);
}

Result<> WriteDataFile(const DataFileHeader &header, const RowStore &rows, int tableRows, QIODevice &file)
{
    Writer writer(file);
    PutHeader(header, &writer);
    if (!PutRows(rows, 0, std::max<qsizetype>(tableRows, rows.Count()), &writer))
        writer.Line(RowStore::Bytes()); // the spare row at the end of every file
    return writer.Finish();
}

} // namespace px40
