#include "document/rowstore.h"

#include <QByteArray>

#include <algorithm>
#include <cstring>

namespace px40 {

namespace {

constexpr char TextEnd = '\xFF';

bool IsAscii(char character)
{
    return static_cast<signed char>(character) >= 0;
}

/// The texts of the row that begins there.
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

} // namespace

void RowStore::Append(const Row &row)
{
    record_.clear();
    for (const QStringView text : row) {
        const QByteArray bytes = text.toUtf8();
        record_.append(bytes.constData(), static_cast<std::size_t>(bytes.size()));
        record_ += TextEnd;
    }
    Keep();
}

void RowStore::AppendLatin1(const Bytes &row)
{
    record_.clear();
    for (const std::string_view text : row) {
        if (std::all_of(text.begin(), text.end(), IsAscii)) {
            record_ += text;
        } else {
            for (const char character : text) {
                if (!IsAscii(character))
                    record_ += static_cast<char>(0xC0 | static_cast<unsigned char>(character) >> 6);
                record_ += static_cast<char>(IsAscii(character) ? character : character & 0xBF);
            }
        }
        record_ += TextEnd;
    }
    Keep();
}

void RowStore::Keep()
{
    auto *const bytes = static_cast<char *>(bytes_->allocate(record_.size(), 1));
    std::memcpy(bytes, record_.data(), record_.size());
    rows_.push_back(bytes);
}

RowStore::Bytes RowStore::Utf8(qsizetype row) const
{
    return TextsAt(rows_[static_cast<std::size_t>(row)]);
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
