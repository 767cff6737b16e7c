#pragma once

#include <QString>
#include <QStringView>
#include <QtGlobal>

#include <array>
#include <cstddef>
#include <deque>
#include <memory>
#include <string_view>
#include <vector>

namespace px40 {

/// The samples of a data set: rows of five texts, appended at the end and never changed.
///
/// Compact, so that a run of weeks stays in memory: a row takes its characters (UTF-8) and about 13 bytes.
/// Rows never move, so appending costs the same at the first row and at the millionth.
class RowStore
{
  public:
    static constexpr int Texts = 5;
    using Row = std::array<QStringView, Texts>;
    using Bytes = std::array<std::string_view, Texts>;

    qsizetype Count() const { return static_cast<qsizetype>(places_.size()); }

    /// Throws std::bad_alloc when memory is short; the store is then as it was.
    void Append(const Row &row);

    /// The same from Latin-1 bytes.
    void AppendLatin1(const Bytes &row);

    /// `row` is 0-based and below `Count()`, `text` 0 to 4.
    QString Cell(qsizetype row, int text) const;

    /// The texts of a row in UTF-8. Valid as long as the store.
    Bytes Utf8(qsizetype row) const;

    /// Makes sure that the next usual row needs no more memory. Throws std::bad_alloc.
    void MakeRoom() { Reserve(UsualRow); }

    /// Memory taken in bytes, characters included.
    std::size_t MemoryUsed() const;

  private:
    static constexpr std::size_t ChunkSize = 256 * 1024;
    static constexpr std::size_t UsualRow = 256;

    struct Chunk
    {
        std::unique_ptr<char[]> bytes;
        std::size_t size = 0;
        std::size_t used = 0;
    };

    /// Where a row begins. Each of its texts stands there as a length (7 bits a byte, low ones first) and
    /// its characters.
    struct Place
    {
        quint32 chunk;
        quint32 offset;
    };

    char *Reserve(std::size_t size);
    void Keep(const char *record, std::size_t size);

    std::vector<Chunk> chunks_;
    std::deque<Place> places_;
};

} // namespace px40
