// Forwards a small data set by automation, and waits where the target is busy, for tests under wine.
//   client whole|save|canceled|again|running SAMPLES [WORKBOOK]
// save: SAVE-mode data, whole; canceled: whole, until the heading and a reading are written; again: whole,
// and once more after a failure. Tells how each forwarding ended: "Done", or "Failed: " and why; for one that
// stays busy the user cancels. Ends with 1 if the last one failed.
#include "forward/dispatch.h"
#include "forward/excelautomation.h"
#include "forward/forwardsteps.h"
#include "tests/excel/sample.h"

#include <fcntl.h>
#include <io.h>

#include <cstdio>
#include <cstdlib>
#include <string>

using namespace px40;

namespace {

/// Makes a step until it has ended, or stays busy too long.
template <class Step>
SheetStep Make(const Step &step)
{
    SheetStep made = SheetStep::Again;
    for (int patience = 100; patience > 0 && made != SheetStep::Done; --patience) {
        made = step();
        if (made == SheetStep::Busy)
            Sleep(2);
        else
            patience = 100;
    }
    return made;
}

bool Forward(ForwardSteps::Kind kind, const Sample &sample, const std::string &workbook, bool isCanceled)
{
    ExcelAutomation excel;
    ForwardSteps forward(kind, excel, sample, workbook);
    const int rows = sample.Samples() + (kind == ForwardSteps::Kind::Whole ? 1 : 0);
    const int lastRow = isCanceled ? 2 : rows + 1;
    const auto next = [&] { return forward.Rows() == lastRow ? SheetStep::Busy : forward.Next(rows); };
    bool done = false;
    try {
        done = Make(next) == SheetStep::Done;
        std::puts(done ? "Done" : "Failed: Canceled.");
    } catch (const SpreadsheetError &error) {
        std::printf("Failed: %s\n", error.what());
    }
    Make([&] { return forward.GiveBack(); });
    return done;
}

std::string Utf8(const wchar_t *text)
{
    char utf8[1000];
    WideCharToMultiByte(CP_UTF8, 0, text, -1, utf8, sizeof utf8, nullptr, nullptr);
    return utf8;
}

} // namespace

int wmain(int count, wchar_t **words)
{
    _setmode(_fileno(stdout), _O_BINARY);
    const std::wstring task = words[1];
    const Sample sample(_wtoi(words[2]), task == L"save");
    const std::string workbook = count > 3 ? Utf8(words[3]) : "";
    const auto kind = task == L"running" ? ForwardSteps::Kind::Growing : ForwardSteps::Kind::Whole;

    // The thread has an apartment of its own, as that of a program with windows does.
    const ComApartment apartment;
    std::printf("Excel is %s\n", ExcelAutomation::IsInstalled() ? "installed" : "not installed");
    bool done = Forward(kind, sample, workbook, task == L"canceled");
    if (!done && task == L"again")
        done = Forward(kind, sample, workbook, false);
    std::fflush(stdout);
    // Ends without leaving the apartment, which would release what the automation has forgotten.
    std::_Exit(done ? 0 : 1);
}
