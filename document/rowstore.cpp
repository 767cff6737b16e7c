#include "document/rowstore.h"

#include <QByteArray>

#include <algorithm>
#include <cstring>
#include <functional>

namespace px40 {

namespace {

constexpr char TextEnd = '\xFF';

bool IsAscii(char character)
{
    return static_cast<signed char>(character) >= 0;
}

/// The texts of the row that begins at `at`.
RowStore::Bytes TextsAt(const char *at)
{
    RowStore::Bytes texts;
    for (std::string_view &text : texts) {
        const char *end = at;
        while (*end != TextEnd)
            ++end;
        text = {at, static_cast<std::size_t>(end - at)};
        at = end + 1;
    }
    return texts;
}

std::string_view RawOf(const RowStore::Bytes &texts)
{
    const char *const begin = texts.front().data();
    return {begin, static_cast<std::size_t>(texts.back().data() + texts.back().size() + 1 - begin)};
}

} // namespace

void RowStore::Append(const Row &row)
{
    std::array<QByteArray, Texts> utf8;
    std::transform(row.begin(), row.end(), utf8.begin(), [](QStringView text) { return text.toUtf8(); });
    qsizetype size = Texts;
    for (const QByteArray &text : utf8)
        size += text.size();
    char *to = NewRow(static_cast<std::size_t>(size));
    for (const QByteArray &text : utf8) {
        to = std::copy(text.begin(), text.end(), to);
        *to++ = TextEnd;
    }
}

// Byte by byte, straight to its final place: the texts are so short that a second copy would cost more.
void RowStore::AppendLatin1(const Bytes &row)
{
    std::ptrdiff_t size = Texts;
    for (const std::string_view text : row)
        size += std::ssize(text) + std::count_if(text.begin(), text.end(), std::not_fn(IsAscii));
    char *to = NewRow(static_cast<std::size_t>(size));
    for (const std::string_view text : row) {
        for (const char character : text) {
            if (!IsAscii(character))
                *to++ = static_cast<char>(0xC0 | static_cast<unsigned char>(character) >> 6);
            *to++ = static_cast<char>(IsAscii(character) ? character : character & 0xBF);
        }
        *to++ = TextEnd;
    }
}

qsizetype RowStore::AppendRaw(std::string_view rows)
{
    const auto texts = std::count(rows.begin(), rows.end(), TextEnd);
    if (texts == 0 || texts % Texts != 0 || rows.back() != TextEnd)
        return 0;
    const char *at =
        static_cast<const char *>(std::memcpy(bytes_->allocate(rows.size(), 1), rows.data(), rows.size()));
    const qsizetype count = texts / Texts;
    for (qsizetype row = 0; row < count; ++row) {
        rows_.push_back(at);
        for (int text = 0; text < Texts; ++text) {
            while (*at != TextEnd)
                ++at;
            ++at;
        }
    }
    return count;
}

std::string_view RowStore::Utf8(qsizetype row, int text) const
{
    const char *begin = rows_[static_cast<std::size_t>(row)];
    const char *end = begin;
    for (int passed = 0;; ++passed) {
        while (*end != TextEnd)
            ++end;
        if (passed == text)
            return {begin, static_cast<std::size_t>(end - begin)};
        begin = ++end;
    }
}

char *RowStore::NewRow(std::size_t size)
{
    auto *const bytes = static_cast<char *>(bytes_->allocate(size, 1));
    rows_.push_back(bytes);
    return bytes;
}

RowStore::Bytes RowStore::Utf8(qsizetype row) const
{
    return TextsAt(rows_[static_cast<std::size_t>(row)]);
}

std::string_view RowStore::Raw(qsizetype row) const
{
    return RawOf(Utf8(row));
}

std::string_view RowReader::NextRaw()
{
    return RawOf(Next());
}

RowStore::Bytes RowReader::Next()
{
    return TextsAt(rows_[next_++]);
}

QString RowStore::Cell(qsizetype row, int text) const
{
    const std::string_view bytes = Utf8(row).at(static_cast<std::size_t>(text));
    return QString::fromUtf8(bytes.data(), static_cast<qsizetype>(bytes.size()));
}

} // namespace px40
