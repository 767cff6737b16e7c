#pragma once

#include "platform/result.h"

#include <QList>
#include <QString>
#include <QStringList>

#include <utility>

namespace px40 {

/// What the program was asked for on its command line.
struct CommandLine
{
    bool demo = false;
    bool splash = true;
    QString dataFolder; ///< empty: the program chooses
    QList<std::pair<int, QString>> portDevices;
    QStringList files;     ///< data files to open
    QString downloadTo;    ///< data file to fetch what is stored into, without any window; empty: no
    bool saveMode = false; ///< the SAVE-mode records, not the readings
    int downloadPort = 0;  ///< port number to use for that; 0: not said
    QString exportFrom;    ///< data file to forward, without any window; empty: none
    QString exportTo;      ///< workbook that gets its sheet
    QString exportTitle;   ///< above its table

    QString answer; ///< to be printed instead of starting: the help, the version
};

/// `arguments` with the program's name first.
Result<CommandLine> ParseCommandLine(const QStringList &arguments);

} // namespace px40
