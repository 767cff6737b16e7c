#pragma once

#include "platform/replacefile.h"
#include "xlsx/bookfailure.h"
#include "xlsx/bookholder.h"
#include "xlsx/sheet.h"
#include "xlsx/writewatch.h"

#include <QString>

namespace px40 {

/// Workbooks of the kinds .xlsx and .xlsm, which are packages of XML parts, take one more sheet here without
/// any spreadsheet program. Other folders need only this header and sheet.h.

/// The file that a sheet goes into.
struct WorkbookFile
{
    QString name;
    bool isNew = false;            ///< is to be made
    FileFingerprint replaced = {}; ///< what a new one may replace

    /// One that gets another sheet after its last one; nothing else in it changes.
    static WorkbookFile Existing(const QString &name) { return {name}; }

    /// One that replaces the file that is there now, but none that comes later.
    static WorkbookFile New(const QString &name);
};

/// Whether a sheet can be added to that workbook. Reads little of it, writes nothing.
BookResult<> CheckWorkbook(const QString &name);

/// Whether a new workbook can be made there.
BookResult<> CheckNewWorkbook(const QString &name);

/// Writes the sheet into the file, which is made as a temporary file and renamed at the very end: until
/// then, and whatever happens, an existing workbook is as it was. If another program changes it meanwhile,
/// the sheet is added to what that has written. May be called on any thread if no other one uses `sheet`.
BookResult<> AddSheet(const WorkbookFile &file, const Sheet &sheet, WriteWatch *watch);

/// Removes what a program that was killed while it wrote that workbook has left beside it.
void SweepWorkbook(const QString &name);

} // namespace px40
