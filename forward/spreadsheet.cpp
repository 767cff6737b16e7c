#include "forward/spreadsheet.h"

#include "platform/waiting.h"

#include <QElapsedTimer>

#include <exception>

#ifdef Q_OS_WIN
#include "forward/excelautomation.h"
#endif

namespace px40 {

namespace {

Result<SheetStep> TryStep(const std::function<Result<SheetStep>()> &next)
{
    try {
        return next();
    } catch (const std::exception &error) {
        return Fail(QString::fromUtf8(error.what()));
    }
}

} // namespace

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

QCoro::Task<Result<>> TakeSteps(std::function<Result<SheetStep>()> next)
{
    QElapsedTimer stretch;
    stretch.start();
    Result<SheetStep> step = SheetStep::Again;
    while (step && *step != SheetStep::Done) {
        if (*step == SheetStep::Busy) {
            co_await Delay(BusySpreadsheetMs);
            stretch.restart();
        } else if (stretch.hasExpired(AtAStretchMs)) {
            co_await NextEventLoopTurn();
            stretch.restart();
        }
        step = TryStep(next);
    }
    if (!step)
        co_return Fail(step.error());
    co_return Result<>();
}

} // namespace px40
