#pragma once

#include "document/duration.h"
#include "platform/result.h"

#include <QList>
#include <QString>
#include <QStringList>

#include <optional>
#include <utility>

namespace px40 {

/// What the program was asked for on its command line.
struct CommandLine
{
    bool demo = false;
    bool splash = true;
    QString dataFolder; ///< empty: the program chooses
    QList<std::pair<int, QString>> portDevices;
    QStringList files;              ///< data files to open
    QString downloadTo;             ///< data file to fetch what is stored into, without any window; empty: no
    bool saveMode = false;          ///< the SAVE-mode records, not the readings
    QString logTo;                  ///< data file that a run is logged to, without any window; empty: no
    Duration interval;              ///< of that run
    std::optional<Duration> period; ///< nothing: until it is ended
    int port = 0;                   ///< port number to use without a window; 0: not said
    bool recover = false;           ///< list what was left unsaved, or save it
    QString recoverTo;              ///< into that folder; empty: list it
    QString exportFrom;             ///< data file to forward, without any window; empty: none
    QString exportTo;               ///< workbook that gets its sheet
    QString exportTitle;            ///< above its table

    QString answer; ///< to be printed instead of starting: the help, the version
};

/// `arguments` with the program's name first.
Result<CommandLine> ParseCommandLine(const QStringList &arguments);

} // namespace px40
