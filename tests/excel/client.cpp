// Forwards a small data set by automation, and waits where the target is busy, for tests under wine.
//   client whole|running SAMPLES [-s] [-c ROWS] [WORKBOOK]     -s: SAVE-mode data; -c: whole, and cancelled
//                                                              once so many rows of the table are written
// Tells how it ended: "Done" (0), "Failed: " and why (1), "Given up" when it stays busy (2), "Canceled" (3).
#include "forward/dispatch.h"
#include "forward/excelautomation.h"
#include "forward/forwardsteps.h"
#include "forward/sheetsource.h"

#include <fcntl.h>
#include <io.h>

#include <cstdio>
#include <cstdlib>
#include <cwchar>
#include <string>

namespace {

/// Readings with all that a cell may hold: nothing, letters of other scripts, what looks like a formula.
class Sample : public px40::SheetSource
{
  public:
    Sample(int samples, bool saveMode) : samples_(samples), saveMode_(saveMode) {}

    int Samples() const override { return samples_; }
    bool IsSaveMode() const override { return saveMode_; }
    std::string Cell(int row, int column) const override
    {
        static const char *const Cells[][6] = {
            {"No.", "Time", "MEASURE", "Unit", "SOURCE", "Function"},
            {"1", "10:00:01", "1.0023", "mV", "-5.5", "\u03a9"},
            {"2", "10:00:02", "-0.5e-3", "'C", "", "=1+1"},
            {"3", "10:00:03", "OVER", "", "7", "\u6e29\u5ea6"},
        };
        return Cells[row][column];
    }
    std::string StatisticName(int which) const override
    {
        static const char *const Names[] = {"MAX", "MIN", "AVG"};
        return Names[which];
    }
    std::string StatisticText(int which) const override
    {
        static const char *const Texts[] = {"1.0023", "-5E-04", "0.5009"};
        return Texts[which];
    }
    std::string Title() const override { return "=\"Pump\" \u2013 7 \u00b0C"; }

  private:
    int samples_;
    bool saveMode_;
};

/// Makes a step until it has ended, or stays busy too long.
template <class Step>
px40::SheetStep Make(const Step &step)
{
    constexpr int Patience = 100;
    px40::SheetStep made = px40::SheetStep::Again;
    for (int busy = 0; busy < Patience;) {
        made = step();
        if (made == px40::SheetStep::Busy) {
            ++busy;
            Sleep(2);
        } else if (made == px40::SheetStep::Again) {
            busy = 0;
        } else {
            break;
        }
    }
    return made;
}

/// How the work ended, which tells of itself what is out of the ordinary.
template <class Work>
int Tell(const Work &work)
{
    try {
        if (work() == px40::SheetStep::Done) {
            std::puts("Done");
            return 0;
        }
        std::puts("Given up");
        return 2;
    } catch (const px40::SpreadsheetError &error) {
        std::printf("Failed: %s\n", error.what());
        return 1;
    }
}

int ForwardWhole(px40::Spreadsheet &target, const Sample &sample, const std::string &workbook, int cancelAt)
{
    px40::WholeForward forward(target, sample, workbook);
    const auto cancelled = [&forward, cancelAt] { return forward.RowsWritten() == cancelAt; };
    const auto next = [&] { return cancelled() ? px40::SheetStep::Done : forward.Next(); };
    int told = 3;
    if (cancelAt < 0)
        told = Tell([&next] { return Make(next); });
    else
        Make(next);
    if (cancelled())
        std::puts("Canceled");
    Make([&forward] { return forward.End(); });
    return told;
}

int ForwardRunning(px40::Spreadsheet &target, const Sample &sample, const std::string &workbook)
{
    px40::RunningForward forward(target, sample, workbook);
    const int told = Tell([&forward, &sample] {
        px40::SheetStep made = Make([&forward] { return forward.Begin(); });
        while (made == px40::SheetStep::Done && forward.Rows() < sample.Samples())
            made = Make([&forward] { return forward.WriteRow(); });
        return made == px40::SheetStep::Done ? Make([&forward] { return forward.End(); }) : made;
    });
    Make([&forward] { return forward.GiveBack(); });
    return told;
}

std::string Utf8(const wchar_t *text)
{
    std::string utf8(4 * std::wcslen(text) + 1, '\0');
    utf8.resize(static_cast<std::size_t>(WideCharToMultiByte(
        CP_UTF8, 0, text, -1, utf8.data(), static_cast<int>(utf8.size()), nullptr, nullptr)));
    utf8.pop_back();
    return utf8;
}

} // namespace

int wmain(int count, wchar_t **words)
{
    _setmode(_fileno(stdout), _O_BINARY);
    const bool whole = std::wcscmp(words[1], L"whole") == 0;
    int next = 3;
    const bool saveMode = next < count && std::wcscmp(words[next], L"-s") == 0;
    next += saveMode ? 1 : 0;
    const bool cancels = next < count && std::wcscmp(words[next], L"-c") == 0;
    const int cancelAt = cancels ? _wtoi(words[next + 1]) : -1;
    next += cancels ? 2 : 0;
    const Sample sample(_wtoi(words[2]), saveMode);
    const std::string workbook = next < count ? Utf8(words[next]) : "";

    // The thread has an apartment of its own, as that of a program with windows does.
    const px40::ComApartment apartment;
    std::printf("Excel is %s\n", px40::ExcelAutomation::IsInstalled() ? "installed" : "not installed");
    int told = 0;
    {
        px40::ExcelAutomation excel;
        told =
            whole ? ForwardWhole(excel, sample, workbook, cancelAt) : ForwardRunning(excel, sample, workbook);
    }
    std::fflush(stdout);
    // Ends without leaving the apartment, which would release what the automation has forgotten.
    std::_Exit(told);
}
