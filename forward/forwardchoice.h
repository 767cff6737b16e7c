#pragma once

#include <QString>

namespace px40 {

/// What the forward dialog shows when it opens; kept between runs. Paths are absolute, with the separators of
/// the system.
struct ForwardMemory
{
    QString file; ///< empty: a new workbook is proposed
    QString title;
    bool openAfter = true;
};

/// What the user chose for one forwarding.
struct ForwardChoice
{
    QString fileName; ///< workbook that gets the sheet; empty: a new one
    QString title;
    bool openAfter = true; ///< the written workbook is to be shown; never where a spreadsheet shows it anyway
    QString newName = {};  ///< of a new workbook, which replaces nothing; empty: the user is asked
};

/// What a forwarding has come to.
struct ForwardOutcome
{
    int samples = 0;       ///< written to the sheet
    QString file;          ///< the workbook's file; empty where it stays open in a spreadsheet program
    bool openAfter = true; ///< the user wants to see it
};

} // namespace px40
