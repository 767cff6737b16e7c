#pragma once

#include <QString>

namespace px40 {

/// What a forwarding has come to.
struct ForwardOutcome
{
    int samples = 0;       ///< written to the sheet
    QString file;          ///< the workbook's file; empty where it stays open in a spreadsheet program
    bool openAfter = true; ///< the user wants to see it
};

/// "3 rows forwarded to NAME in FOLDER." for the status bar.
QString OutcomeText(const ForwardOutcome &outcome);

} // namespace px40
