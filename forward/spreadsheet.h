#pragma once

#include <memory>

namespace px40 {

class SheetTarget;

/// Whether this computer has the spreadsheet program that sheets are written to by automation.
bool HasSpreadsheet();

/// Its automation; null where it does not have it.
std::unique_ptr<SheetTarget> MakeSpreadsheetTarget();

} // namespace px40
