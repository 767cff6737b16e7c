#include "document/rowstore.h"

#include <QByteArray>
#include <QStringEncoder>

#include <algorithm>
#include <cstring>

namespace px40 {

namespace {

constexpr std::size_t MaxLengthBytes = 5;

char *PutLength(char *to, std::size_t length)
{
    while (length >= 0x80) {
        *to++ = static_cast<char>((length & 0x7F) | 0x80);
        length >>= 7;
    }
    *to++ = static_cast<char>(length);
    return to;
}

const char *TakeLength(const char *from, std::size_t *length)
{
    std::size_t value = 0;
    unsigned shift = 0;
    unsigned char byte = 0;
    do {
        byte = static_cast<unsigned char>(*from++);
        value |= static_cast<std::size_t>(byte & 0x7F) << shift;
        shift += 7;
    } while (byte & 0x80);
    *length = value;
    return from;
}

} // namespace

void RowStore::Append(const Row &row)
{
    // Room for the worst case (three bytes a character) on the stack for every usual row.
    std::array<char, 512> small;
    QByteArray large;
    std::size_t worst = 0;
    for (const QStringView text : row)
        worst += MaxLengthBytes + 3 * static_cast<std::size_t>(text.size());
    char *record = small.data();
    if (worst > small.size()) {
        large.resize(static_cast<qsizetype>(worst));
        record = large.data();
    }

    char *end = record;
    for (const QStringView text : row) {
        // The length stands before the characters but is known after them.
        char *const characters = end + MaxLengthBytes;
        QStringEncoder encoder(QStringEncoder::Utf8);
        const auto length = static_cast<std::size_t>(encoder.appendToBuffer(characters, text) - characters);
        end = PutLength(end, length);
        std::memmove(end, characters, length);
        end += length;
    }

    Keep(record, static_cast<std::size_t>(end - record));
}

void RowStore::AppendLatin1(const Bytes &row)
{
    std::array<char, 512> small;
    QByteArray large;
    std::size_t worst = 0;
    for (const std::string_view text : row)
        worst += MaxLengthBytes + 2 * text.size();
    char *record = small.data();
    if (worst > small.size()) {
        large.resize(static_cast<qsizetype>(worst));
        record = large.data();
    }

    char *end = record;
    for (const std::string_view text : row) {
        const auto wide = static_cast<std::size_t>(
            std::count_if(text.begin(), text.end(), [](char c) { return static_cast<signed char>(c) < 0; }));
        end = PutLength(end, text.size() + wide);
        if (wide == 0) {
            end = std::copy(text.begin(), text.end(), end);
            continue;
        }
        for (const char character : text) {
            const auto byte = static_cast<unsigned char>(character);
            if (byte >= 0x80) {
                *end++ = static_cast<char>(0xC0 | byte >> 6);
                *end++ = static_cast<char>(0x80 | (byte & 0x3F));
            } else {
                *end++ = character;
            }
        }
    }
    Keep(record, static_cast<std::size_t>(end - record));
}

void RowStore::Keep(const char *record, std::size_t size)
{
    char *const to = Reserve(size);
    Chunk &chunk = chunks_.back();
    places_.push_back(Place{static_cast<quint32>(chunks_.size() - 1), static_cast<quint32>(chunk.used)});
    std::memcpy(to, record, size);
    chunk.used += size;
}

char *RowStore::Reserve(std::size_t size)
{
    if (chunks_.empty() || chunks_.back().size - chunks_.back().used < size) {
        Chunk chunk;
        chunk.size = std::max(ChunkSize, size);
        chunk.bytes = std::make_unique_for_overwrite<char[]>(chunk.size);
        chunks_.push_back(std::move(chunk));
    }
    return chunks_.back().bytes.get() + chunks_.back().used;
}

RowStore::Bytes RowStore::Utf8(qsizetype row) const
{
    const Place place = places_[static_cast<std::size_t>(row)];
    const char *at = chunks_[place.chunk].bytes.get() + place.offset;
    Bytes texts;
    for (std::string_view &text : texts) {
        std::size_t length = 0;
        at = TakeLength(at, &length);
        text = {at, length};
        at += length;
    }
    return texts;
}

QString RowStore::Cell(qsizetype row, int text) const
{
    const std::string_view bytes = Utf8(row).at(static_cast<std::size_t>(text));
    return QString::fromUtf8(bytes.data(), static_cast<qsizetype>(bytes.size()));
}

std::size_t RowStore::MemoryUsed() const
{
    std::size_t bytes = places_.size() * sizeof(Place) + chunks_.capacity() * sizeof(Chunk);
    for (const Chunk &chunk : chunks_)
        bytes += chunk.size;
    return bytes;
}

} // namespace px40
