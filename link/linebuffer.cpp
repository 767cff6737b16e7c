#include "link/linebuffer.h"

#include "link/pendingreplies.h"

#include <algorithm>

namespace px40 {

QStringList LineBuffer::Take(const QByteArray &bytes, const PendingReplies &pending)
{
    QStringList lines;
    qsizetype from = 0;
    while (from < bytes.size()) {
        const qsizetype lineFeed = bytes.indexOf('\n', from);
        const qsizetype end = lineFeed < 0 ? bytes.size() : lineFeed;
        line_.append(bytes.constData() + from, std::min(end - from, MaxLength - line_.size()));
        from = end + 1;
        if (lineFeed < 0)
            break;
        line_.chop(1);
        QString line = QString::fromLatin1(line_);
        if (before_ > 0 && !pending.Expects(line))
            line.remove(0, before_);
        lines.append(line);
        Clear();
    }
    return lines;
}

void LineBuffer::Clear()
{
    line_.clear();
    before_ = 0;
}

} // namespace px40
