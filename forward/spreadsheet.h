#pragma once

#include <memory>

namespace px40 {

class Spreadsheet;

/// Whether this computer has the spreadsheet program that sheets are written to by automation.
bool HasSpreadsheet();

/// Its automation; null where it does not have it.
std::unique_ptr<Spreadsheet> MakeSpreadsheet();

} // namespace px40
