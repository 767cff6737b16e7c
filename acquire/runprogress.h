#pragma once

#include <QString>

namespace px40 {

/// How a real-time run is getting on.
struct RunProgress
{
    QString name;              ///< of the data set
    qint32 elapsedSeconds = 0; ///< since the start
    int rows = 0;              ///< stored in this run
    int errorRows = 0;         ///< of these: seconds without an answer
    bool answered = true;      ///< the last request was
    bool portOpen = true;
    bool portLost = false; ///< the device has gone
    bool stopping = false; ///< the user has asked for the end
    bool ended = false;
    bool forwardFailed = false; ///< rows are no longer forwarded
    bool forwardFull = false;   ///< for want of room
    QString forwardReason;      ///< why it failed
};

/// The text for the status bar; `forwarded`: what has come of the worksheet, once that is known.
QString RunText(const RunProgress &progress, const QString &forwarded = {});

/// "hh:mm:ss", with the days in front once there are any.
QString ElapsedText(qint32 seconds);

/// Rows that a run of that period stores: at second 0 and every `interval` seconds after it, the last second
/// included. Both in seconds, `interval` at least 1.
int RunRows(qint32 interval, qint32 period);

} // namespace px40
