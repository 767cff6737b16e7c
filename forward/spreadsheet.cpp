#include "forward/spreadsheet.h"

#include "forward/sheettarget.h"

#include <QtGlobal>

#ifdef Q_OS_WIN
#include "forward/excelautomation.h"
#endif

namespace px40 {

bool HasSpreadsheet()
{
#ifdef Q_OS_WIN
    return ExcelAutomation::IsInstalled();
#else
    return false;
#endif
}

std::unique_ptr<Spreadsheet> MakeSpreadsheet()
{
#ifdef Q_OS_WIN
    if (HasSpreadsheet())
        return std::make_unique<ExcelAutomation>();
#endif
    return nullptr;
}

} // namespace px40
