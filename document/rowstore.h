#pragma once

#include <QString>
#include <QStringView>
#include <QtGlobal>

#include <array>
#include <cstddef>
#include <deque>
#include <memory>
#include <memory_resource>
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

    RowStore() = default;
    RowStore(const RowStore &) = delete; // two would append to the same memory
    RowStore &operator=(const RowStore &) = delete;
    RowStore(RowStore &&) = default;
    RowStore &operator=(RowStore &&) = default;

    qsizetype Count() const { return static_cast<qsizetype>(rows_.size()); }

    /// Throws std::bad_alloc when memory is short; the store is then as it was.
    void Append(const Row &row);

    /// The same from Latin-1 bytes.
    void AppendLatin1(const Bytes &row);

    /// Rows from bytes as `Raw` gives them, one after the other. Returns how many: none, where the bytes are
    /// not of that form.
    qsizetype AppendRaw(std::string_view rows);

    /// `row` is 0-based and below `Count()`, `text` 0 to 4.
    QString Cell(qsizetype row, int text) const;

    /// The texts of a row in UTF-8. Valid as long as the store.
    Bytes Utf8(qsizetype row) const;

    /// One of them.
    std::string_view Utf8(qsizetype row, int text) const;

    /// All of them in one piece: each text followed by the byte 0xFF.
    std::string_view Raw(qsizetype row) const;

  private:
    friend class RowReader;
    static constexpr std::size_t FirstBytes = 64 * 1024;

    /// The memory of one more row, which is the caller's to fill.
    char *NewRow(std::size_t size);

    std::shared_ptr<std::pmr::monotonic_buffer_resource> bytes_ = // readers have it too
        std::make_shared<std::pmr::monotonic_buffer_resource>(FirstBytes);
    /// The five texts, each followed by a byte that UTF-8 does not use.
    std::deque<const char *> rows_;
};

/// The rows of a store as they are at one moment, one after the other. Another thread may read them while
/// the store grows or is destroyed.
class RowReader
{
  public:
    explicit RowReader(const RowStore &store)
        : bytes_(store.bytes_), rows_(store.rows_.begin(), store.rows_.end())
    {
    }

    /// Back to the first row.
    void Rewind() { next_ = 0; }

    /// The next row, the first one at the first call; valid as long as this. Not to be called after the last
    /// row.
    RowStore::Bytes Next();
    /// The same as `RowStore::Raw` gives it.
    std::string_view NextRaw();

    bool AtEnd() const { return next_ == rows_.size(); }
    qsizetype Count() const { return static_cast<qsizetype>(rows_.size()); }

  private:
    std::shared_ptr<const void> bytes_;
    std::vector<const char *> rows_;
    std::size_t next_ = 0;
};

} // namespace px40
