#include "forward/spreadsheet.h"

#include "forward/sheettarget.h"

#include <QtGlobal>

#ifdef Q_OS_WIN
#include "forward/excelautomation.h"
#endif

namespace px40 {

#ifdef Q_OS_WIN

bool HasSpreadsheet()
{
    return ExcelAutomation::IsInstalled();
}

std::unique_ptr<SheetTarget> MakeSpreadsheetTarget()
{
    return HasSpreadsheet() ? std::make_unique<ExcelAutomation>() : nullptr;
}

#else

bool HasSpreadsheet()
{
    return false;
}

std::unique_ptr<SheetTarget> MakeSpreadsheetTarget()
{
    return nullptr;
}

#endif

} // namespace px40
