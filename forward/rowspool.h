#pragma once

#include "forward/celltext.h"

#include <QFile>
#include <QString>

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace px40 {

/// Rows of cells in ascending order, most of them in a temporary file that goes with this.
class RowSpool
{
  public:
    /// Where the temporary file is to be if the folder for such files takes nothing, or no more.
    void SetOtherFolder(const QString &folder) { otherFolder_ = folder; }

    /// A cell of the last row, or of one behind it. False when there is no room for it: nothing is kept then,
    /// and the reason stands in `ErrorText`.
    bool Put(int row, int column, CellFormat format, CellKind kind, std::string_view value);

    /// Cells can be put into this row and those behind it.
    int OpenRow() const { return openRow_; }

    QString ErrorText() const { return error_; }

  private:
    friend class RowReader;
    struct CellHead
    {
        quint16 column;
        CellFormat format;
        CellKind kind;
        quint32 length;
    };
    struct RowHead
    {
        quint64 bytes;
        quint32 row;
        quint32 cells;
    };
    struct OpenCell
    {
        CellHead head;
        std::size_t from;
    };
    void CloseRow();
    bool Spill();
    bool Append(QFile &file);
    bool MoveTo(const QString &folder);
    qint64 ReadAt(qint64 from, char *to, qint64 room);

    std::unique_ptr<QFile> file_; ///< null as long as there is none
    QString otherFolder_;         ///< empty once the file is there
    QString error_;
    qint64 fileBytes_ = 0;
    std::string memory_; ///< closed rows that are not in the file yet
    int openRow_ = 0;
    std::vector<OpenCell> openCells_; ///< of the last row, by column
    std::string openValues_;
};

/// Reads the rows of a spool, each once. Any number may read, while nothing is put.
class RowReader
{
  public:
    struct Cell
    {
        int column;
        CellFormat format;
        CellKind kind;
        std::string_view value;
    };

    explicit RowReader(RowSpool &spool);

    /// Goes to the next row, which is the first one at the first call. False at the end, or when the file
    /// cannot be read.
    bool Next();
    bool Failed() const { return failed_; }

    /// 1-based number and cells, by column, of the row; they hold until the next call.
    int Row() const { return row_; }
    const std::vector<Cell> &Cells() const { return cells_; }

  private:
    bool Fetch(std::size_t bytes);

    RowSpool *spool_;
    qint64 next_ = 0; ///< where in the spool reading goes on
    std::vector<char> buffer_;
    std::size_t at_ = 0;
    std::size_t end_ = 0;
    int row_ = 0;
    std::vector<Cell> cells_;
    bool failed_ = false;
};

} // namespace px40
