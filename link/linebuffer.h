#pragma once

#include <QByteArray>
#include <QStringList>

namespace px40 {

class PendingReplies;

/// Cuts what comes over the line into replies: the text before each LF, less the character before it (the
/// CR). Characters are Latin-1, byte for byte.
class LineBuffer
{
  public:
    /// Longest line kept; what follows up to the LF is noise and is dropped.
    static constexpr int MaxLength = 4096;

    /// Call this before a command is written. A line received in part so far is either the beginning of a
    /// slow reply or a fragment that will run into the next reply; which of the two is decided when the line
    /// is complete.
    void BeginAttempt() { before_ = line_.size(); }

    /// The lines that these bytes end.
    QStringList Take(const QByteArray &bytes, const PendingReplies &pending);

    void Clear();

  private:
    QByteArray line_;      ///< what has come of a line under way
    qsizetype before_ = 0; ///< how much of it when the present attempt began
};

} // namespace px40
