#include "forward/rowspool.h"

#include "platform/files.h"
#include "platform/replacefile.h"
#include "resources/strings.h"

#include <QDir>
#include <QTemporaryFile>

#include <algorithm>
#include <cstring>

namespace px40 {

namespace {

constexpr std::size_t MemoryBytes = 1'000'000;
constexpr std::size_t ReadBytes = 256'000;

template <typename Head>
void AppendHead(const Head &head, std::string &out)
{
    char bytes[sizeof(Head)];
    std::memcpy(bytes, &head, sizeof(Head));
    out.append(bytes, sizeof(Head));
}

} // namespace

bool RowSpool::Put(int row, int column, CellFormat format, CellKind kind, std::string_view value)
{
    if (row != openRow_)
        CloseRow();
    if (openCells_.empty() && memory_.size() >= MemoryBytes && !Spill())
        return false;
    openRow_ = row;
    const OpenCell cell = {{static_cast<quint16>(column), format, kind, static_cast<quint32>(value.size())},
                           openValues_.size()};
    openValues_ += value;
    if (openCells_.empty() || openCells_.back().head.column < cell.head.column) {
        openCells_.push_back(cell);
        return true;
    }
    const auto found =
        std::lower_bound(openCells_.begin(), openCells_.end(), cell.head.column,
                         [](const OpenCell &open, quint16 wanted) { return open.head.column < wanted; });
    if (found->head.column == cell.head.column)
        *found = cell;
    else
        openCells_.insert(found, cell);
    return true;
}

void RowSpool::CloseRow()
{
    if (openCells_.empty())
        return;
    quint64 bytes = 0;
    for (const OpenCell &cell : openCells_)
        bytes += sizeof(CellHead) + cell.head.length;
    AppendHead(RowHead{bytes, static_cast<quint32>(openRow_), static_cast<quint32>(openCells_.size())},
               memory_);
    for (const OpenCell &cell : openCells_) {
        AppendHead(cell.head, memory_);
        memory_.append(openValues_, cell.from, cell.head.length);
    }
    openCells_.clear();
    openValues_.clear();
    ++openRow_;
}

bool RowSpool::Spill()
{
    if (file_ ? Append(*file_) : MoveTo(QDir::tempPath()))
        return true;
    if (otherFolder_.isEmpty() || !MoveTo(otherFolder_))
        return false;
    otherFolder_.clear();
    return true;
}

/// Where an earlier attempt broke off, this one begins anew.
bool RowSpool::Append(QFile &file)
{
    if (!file.seek(fileBytes_)) {
        error_ = file.errorString();
        return false;
    }
    const Result<> written = WriteBytes(file, memory_.data(), static_cast<qint64>(memory_.size()));
    if (!written) {
        error_ = written.error().text;
        return false;
    }
    fileBytes_ += static_cast<qint64>(memory_.size());
    memory_.clear();
    return true;
}

/// Goes on in a new file there; until that has all, the one before it stays.
bool RowSpool::MoveTo(const QString &folder)
{
    if (folder.isEmpty()) { // so the system names a folder for temporary files that is not there
        error_ = Text(Str::FolderNotThere);
        return false;
    }
    auto next = std::make_unique<QTemporaryFile>(NeighbourTemplate(folder));
    QFile &file = *next;
    // Without a buffer: what cannot be written would stand in the way of what is read.
    if (!file.open(QIODevice::ReadWrite | QIODevice::Unbuffered)) {
        error_ = file.errorString();
        return false;
    }
    if (file_) {
        const Result<> copied =
            file_->seek(0) ? CopyBytes(*file_, file) : Result<>(Fail(file_->errorString()));
        if (!copied) {
            error_ = copied.error().text;
            return false;
        }
    }
    if (!Append(file))
        return false;
    file_ = std::move(next);
    return true;
}

qint64 RowSpool::ReadAt(qint64 from, char *to, qint64 room)
{
    if (from < fileBytes_) {
        const qint64 got = file_->seek(from) ? file_->read(to, std::min(room, fileBytes_ - from)) : -1;
        return got > 0 ? got : -1;
    }
    const auto inMemory = static_cast<std::size_t>(from - fileBytes_);
    return static_cast<qint64>(memory_.copy(to, static_cast<std::size_t>(room), inMemory));
}

RowReader::RowReader(RowSpool &spool) : spool_(&spool), buffer_(ReadBytes)
{
    spool.CloseRow();
}

/// Sees to it that so many bytes stand in the buffer. False, without a failure, when nothing is left at all.
bool RowReader::Fetch(std::size_t bytes)
{
    if (end_ - at_ >= bytes)
        return true;
    std::memmove(buffer_.data(), buffer_.data() + at_, end_ - at_);
    end_ -= at_;
    at_ = 0;
    if (buffer_.size() < bytes)
        buffer_.resize(bytes);
    while (end_ < bytes) {
        const qint64 got =
            spool_->ReadAt(next_, buffer_.data() + end_, static_cast<qint64>(buffer_.size() - end_));
        if (got <= 0) {
            failed_ = got < 0 || end_ > 0;
            return false;
        }
        next_ += got;
        end_ += static_cast<std::size_t>(got);
    }
    return true;
}

bool RowReader::Next()
{
    RowSpool::RowHead rowHead{};
    if (failed_ || !Fetch(sizeof rowHead))
        return false;
    std::memcpy(&rowHead, buffer_.data() + at_, sizeof rowHead);
    at_ += sizeof rowHead;
    if (!Fetch(rowHead.bytes)) {
        failed_ = true;
        return false;
    }
    row_ = static_cast<int>(rowHead.row);
    cells_.clear();
    for (quint32 i = 0; i < rowHead.cells; ++i) {
        RowSpool::CellHead head{};
        std::memcpy(&head, buffer_.data() + at_, sizeof head);
        at_ += sizeof head;
        cells_.push_back({head.column, head.format, head.kind, {buffer_.data() + at_, head.length}});
        at_ += head.length;
    }
    return true;
}

} // namespace px40
