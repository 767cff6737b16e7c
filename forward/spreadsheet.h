#pragma once

#include "forward/sheettarget.h"
#include "platform/result.h"

#include <QCoro/QCoroTask>

#include <functional>
#include <memory>

namespace px40 {

/// Whether this computer has the spreadsheet program that sheets are written to by automation.
bool HasSpreadsheet();

/// Its automation; null where there is none.
std::unique_ptr<Spreadsheet> MakeSpreadsheet();

constexpr int BusySpreadsheetMs = 250; ///< after which a busy one is asked again
constexpr int AtAStretchMs = 8;        ///< of steps, then the windows live

/// Calls `next` until it gives `Done`, or fails, as a spreadsheet does by an exception. In between the
/// windows live, and one that is busy gets its time.
QCoro::Task<Result<>> TakeSteps(std::function<Result<SheetStep>()> next);

} // namespace px40
