#pragma once

#include "forward/sheetsource.h"

namespace px40 {

/// Readings that a run can bring, and one more from a file with what else a cell may hold: nothing, letters
/// of other scripts, what looks like a formula.
class Sample : public SheetSource
{
  public:
    static constexpr const char *SheetTitle = "=\"Pump 温度\" – 7 °C";

    explicit Sample(int samples, bool saveMode = false) : samples_(samples), saveMode_(saveMode) {}

    int Samples() const override { return samples_; }
    bool IsSaveMode() const override { return saveMode_; }
    std::string Cell(int row, int column) const override
    {
        static const char *const Cells[][6] = {
            {"No.", "TIME", "DATA", "MODE", "DATA", "SRC."},
            {"1", "10:00:00", "1.0023", "mVDC", "-5.500", "C."},
            {"2", "10:00:05", "-----", "VDC", "-5.500", "C."},
            {"3", "10:00:10", "-0.5e-3", "µV", "", "=1+1"},
        };
        return Cells[row][column];
    }
    std::array<std::pair<std::string, std::string>, 3> Statistics() const override
    {
        if (samples_ == 0)
            return {{{"MAX", ""}, {"MIN", ""}, {"AVG", ""}}};
        const bool isAll = samples_ == 3;
        return {{{"MAX", Extreme(1)}, {"MIN", Extreme(isAll ? 3 : 1)}, {"AVG", isAll ? "0.5009" : "1.0023"}}};
    }
    std::string Title() const override { return SheetTitle; }

  private:
    std::string Extreme(int row) const
    {
        const std::string time = saveMode_ ? "" : "TIME[ " + Cell(row, 1) + " ]   ";
        return "No.[ " + Cell(row, 0) + " ]   " + time + "DATA[ " + Cell(row, 2) + " ]   MODE[ " +
               Cell(row, 3) + " ]";
    }

    int samples_;
    bool saveMode_;
};

} // namespace px40
