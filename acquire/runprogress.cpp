#include "acquire/runprogress.h"

#include "resources/strings.h"

#include <QStringList>
#include <QTime>

namespace px40 {

QString ElapsedText(qint32 seconds)
{
    constexpr qint32 Day = 86400;
    const QString time = QTime(0, 0).addSecs(seconds % Day).toString(QStringLiteral("hh:mm:ss"));
    return seconds < Day ? time : QString::number(seconds / Day) + QStringLiteral("d ") + time;
}

int RunRows(qint32 interval, qint32 period)
{
    return period / interval + 1;
}

QString RunText(const RunProgress &progress, const QString &forwarded)
{
    const QString rows = Counted(Str::Rows, progress.rows);
    const QString errors =
        progress.errorRows == 0 ? Text(Str::NoErrorRows) : Counted(Str::ErrorRows, progress.errorRows);
    QStringList parts; // the most important first: a narrow window cuts off the end
    if (progress.forwardFailed)
        parts << Text(Str::ForwardError) + QStringLiteral(" (") + progress.name + u')'
              << progress.forwardReason;
    else if (progress.forwardFull)
        parts << Text(Str::ForwardSheetFull);
    parts << forwarded;
    if (!progress.ended && !progress.portOpen)
        parts << Text(progress.portLost ? Str::RunRetries : Str::RunNoPort);
    else if (!progress.ended && !progress.answered)
        parts << Text(Str::RunNoAnswer);
    if (!progress.ended && progress.stopping)
        parts << Text(Str::RunStopping);
    const Str state = !progress.ended ? Str::RunStatus : progress.stopping ? Str::RunStopped : Str::RunEnded;
    parts << Text(state).arg(progress.name, ElapsedText(progress.elapsedSeconds), rows, errors);
    parts.removeAll(QString());
    return parts.join(QStringLiteral("  "));
}

} // namespace px40
