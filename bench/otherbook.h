#pragma once

#include <string>

namespace px40 {
class SheetSource;
} // namespace px40

namespace px40::bench {

/// Writes the sheet of a data set, cell for cell and line for line, into a new workbook by means of
/// libxlsxwriter in its usual mode. Not for SAVE-mode data; there must be two samples or more. False when it
/// cannot be written.
bool WriteOtherBook(const SheetSource &source, const std::string &name);

} // namespace px40::bench
