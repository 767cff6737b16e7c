#include "document/linereader.h"

#include <QIODevice>

#include <algorithm>
#include <cstring>

namespace px40 {

LineReader::LineReader(QIODevice &file, int longestLine)
    : file_(&file), buffer_(std::max(4 * longestLine, 16), Qt::Uninitialized), longestLine_(longestLine)
{
}

/// Moves what is left to the front and reads more behind it. False when nothing more came.
bool LineReader::Fill()
{
    if (ended_)
        return false;
    char *const bytes = buffer_.data();
    std::memmove(bytes, bytes + from_, static_cast<std::size_t>(to_ - from_));
    to_ -= from_;
    from_ = 0;
    const qint64 got = file_->read(bytes + to_, buffer_.size() - to_);
    failed_ = got < 0;
    ended_ = got <= 0;
    to_ += std::max<qint64>(got, 0);
    return !ended_;
}

bool LineReader::SkipToLineEnd()
{
    for (;;) {
        const char *const begin = buffer_.constData() + from_;
        if (const void *const end = std::memchr(begin, '\n', static_cast<std::size_t>(to_ - from_))) {
            from_ += static_cast<const char *>(end) - begin + 1;
            return true;
        }
        from_ = to_;
        if (!Fill())
            return !failed_;
    }
}

bool LineReader::Next()
{
    cut_ = false;
    qsizetype searched = 0;
    for (;;) {
        const char *const begin = buffer_.constData() + from_;
        const qsizetype room = std::min(to_ - from_, longestLine_ + 1);
        const void *const end =
            std::memchr(begin + searched, '\n', static_cast<std::size_t>(room - searched));
        if (end || room > longestLine_ || (ended_ && room > 0)) {
            const qsizetype length = end ? static_cast<const char *>(end) - begin : room;
            cut_ = length > longestLine_;
            line_ = {begin, static_cast<std::size_t>(std::min(length, longestLine_))};
            from_ += length + (end ? 1 : 0);
            break;
        }
        searched = room;
        if (!Fill() && (failed_ || from_ == to_))
            return false;
    }
    ++number_;
    if (cut_) {
        // Skipping reads over the buffer, so what is kept of the line moves out of it.
        kept_.assign(line_);
        line_ = kept_;
        return SkipToLineEnd();
    }
    if (!line_.empty() && line_.back() == '\r')
        line_.remove_suffix(1);
    return true;
}

} // namespace px40
