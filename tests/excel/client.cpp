// Forwards a small data set by automation, and waits where the target is busy, for tests under wine.
//   client whole|save|canceled|running SAMPLES [WORKBOOK]     save: SAVE-mode data, whole; canceled: whole,
//                                                             until the heading and a reading are written
// Tells how it ended: "Done" (0), "Failed: " and why (1), "Given up" when it stays busy (2).
#include "forward/dispatch.h"
#include "forward/excelautomation.h"
#include "forward/forwardsteps.h"
#include "forward/sheetsource.h"

#include <fcntl.h>
#include <io.h>

#include <cstdio>
#include <cstdlib>
#include <string>

using namespace px40;

namespace {

/// Readings with all that a cell may hold: nothing, letters of other scripts, what looks like a formula.
class Sample : public SheetSource
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
    std::array<std::pair<std::string, std::string>, 3> Statistics() const override
    {
        return {{{"MAX", "1.0023"}, {"MIN", "-5E-04"}, {"AVG", "0.5009"}}};
    }
    std::string Title() const override { return "=\"Pump\" \u2013 7 \u00b0C"; }

  private:
    int samples_;
    bool saveMode_;
};

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

int Forward(ForwardSteps &forward, int rows, int lastRow)
{
    int told = 0;
    const auto next = [&] { return forward.Rows() == lastRow ? SheetStep::Done : forward.Next(rows); };
    try {
        told = Make(next) == SheetStep::Done ? 0 : 2;
        std::puts(told == 0 ? "Done" : "Given up");
    } catch (const SpreadsheetError &error) {
        std::printf("Failed: %s\n", error.what());
        told = 1;
    }
    Make([&] { return forward.GiveBack(); });
    return told;
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
    int told = 0;
    {
        ExcelAutomation excel;
        ForwardSteps forward(kind, excel, sample, workbook);
        const int rows = sample.Samples() + (kind == ForwardSteps::Kind::Whole ? 1 : 0);
        told = Forward(forward, rows, task == L"canceled" ? 2 : rows + 1);
    }
    std::fflush(stdout);
    // Ends without leaving the apartment, which would release what the automation has forgotten.
    std::_Exit(told);
}
