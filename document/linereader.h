#pragma once

#include <QByteArray>

#include <string>
#include <string_view>

class QIODevice;

namespace px40 {

/// Reads a file of text line by line, whatever is in it: of a line that is longer than a limit only the
/// beginning is kept.
class LineReader
{
  public:
    /// `file` must be open and outlive the reader.
    LineReader(QIODevice &file, int longestLine);

    /// False at the end of the file, and when it cannot be read (see `Failed`).
    bool Next();

    /// The line without its CR LF or LF. Valid until the next call of `Next`.
    std::string_view Line() const { return line_; }
    /// The line was longer than the limit.
    bool Cut() const { return cut_; }
    /// Number of the line, from 1.
    qint64 Number() const { return number_; }
    bool Failed() const { return failed_; }

  private:
    bool Fill();
    bool SkipToLineEnd();

    QIODevice *file_;
    QByteArray buffer_;
    qsizetype from_ = 0; ///< what has been read and not been given out
    qsizetype to_ = 0;
    qsizetype longestLine_;
    std::string_view line_;
    std::string kept_; ///< what is kept of a line that was cut
    qint64 number_ = 0;
    bool cut_ = false;
    bool ended_ = false;
    bool failed_ = false;
};

} // namespace px40
