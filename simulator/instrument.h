#pragma once

#include "simulator/random.h"
#include "simulator/ranges.h"
#include "simulator/replytext.h"
#include "simulator/storedreadings.h"

#include <array>
#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace px40::sim {

/// Source modes in which commands behave differently; the others are only shown.
inline constexpr int RatioMode = 8;
inline constexpr int HighestMode = 9;

/// Communication modes, the last character of the status reply.
enum class CommMode { Normal = 0, Printer = 1, TalkOnly = 2 };

/// The calibrator itself: its state, and what it answers to each command.
///
/// Not thread-safe: one thread at a time (ServedInstrument::WithInstrument sees to that).
/// The setters put the instrument into a state that its keys would bring about; an argument that the
/// instrument does not know is a mistake of the caller and throws std::invalid_argument.
class Instrument
{
  public:
    /// The seed decides the live values' noise and the stored readings; nothing depends on the time of day.
    explicit Instrument(std::uint64_t seed = 1);

    /// Obeys one command, given without CR LF, and returns the reply without CR LF:
    ///   AN1 H1, MO0/1, SO0/1, NM0/1, NDnnmm, PL,0/1, UP1-5, DW1-5, SRn, TEn, PUn, SDvalue   "OK"
    ///   OC           the 52-character status, or 44 characters (see SetShortStatus), or what HoldStatus says
    ///   OM1 - OM50   the stored reading of that number, 29 characters
    ///   RS,01 - 50   the saved record with its check character; only after PL,1
    /// What it does not know or cannot do now gets "ERR" and changes nothing; RS gets "CMD,ERR" with its
    /// check character instead. Digit 1 of UP and DW is the leftmost of the five. A step or value beyond the
    /// range's limits is refused.
    std::string Answer(std::string_view command);

    /// Measuring side. Functions 0 to 7, ranges 0-based within the function.
    void SetMeasure(int function, int range);
    /// The state letter of the live value: NormalState, OverState, ErrorState, BurnOutState.
    void SetMeasureState(char state);
    /// Replaces the live 14-character value field by a text of any content and length; an empty optional
    /// lets it live again.
    void HoldMeasureField(std::optional<std::string> field) { heldField_ = std::move(field); }

    /// Replaces the whole status by a reply of any content and length; an empty optional lets it live again.
    void HoldStatus(std::optional<std::string> reply);
    /// The same with several replies: each is given once, the last one from then on.
    void HoldStatuses(std::vector<std::string> replies);

    /// Source side. Functions 0 to 8, ranges 0-based within the function.
    void SetSource(int function, int range);
    /// The set value in counts of the range's last digit; it must lie within the range's limits.
    void SetSourceCounts(long counts);
    long SourceCounts() const;
    void SetTemperatureView(TemperatureView view) { temperatureView_ = view; }
    /// 0 plain, 1 to 3 and 9 measuring side held, 4 and 5 sweep, 6 and 7 automatic step, 8 n/m ratio.
    void SetSourceMode(int mode);

    /// Eight characters "0" or "1", bit 7 first.
    void SetOptionFlags(std::string_view flags);

    void SetCommMode(CommMode mode) { commMode_ = mode; }
    /// Short: the 44-character status of an instrument without option flags.
    void SetShortStatus(bool on) { shortStatus_ = on; }

    /// Stored readings and saved records, n from 1 to 50. A text may have any content; a record is given
    /// without its check character.
    const std::string &Reading(int n) const;
    void SetRecord(int n, std::string text);
    const std::string &Record(int n) const;

  private:
    using Reply = std::string;
    struct Entry;

    Reply AnswerStatus();
    Reply AnswerReading(std::string_view argument) const;
    Reply AnswerRecord(std::string_view argument) const;
    Reply SetPlayback(std::string_view argument);
    Reply SwitchMeasure(std::string_view argument);
    Reply SwitchSource(std::string_view argument);
    Reply SwitchRatio(std::string_view argument);
    Reply SetRatio(std::string_view argument);
    Reply StepDigit(std::string_view argument, long direction);
    Reply SelectRange(std::string_view argument);
    Reply SelectTemperatureView(std::string_view argument);
    Reply SelectPulseView(std::string_view argument);
    Reply SetValue(std::string_view argument);

    /// The limits and digits of what UP, DW and SD change now; null while a mere view is shown.
    const SourceRange *Settable() const;
    bool IsTemperatureSource() const;
    long &Counts(const SourceRange &range);
    Value LiveValue();
    Value SourceValue() const;

    Random random_;
    Memory readings_;
    Memory records_;
    const MeasureRange *measure_;
    const SourceRange *source_;
    /// The set value of each range that was ever changed, by function, range and what the pulse view shows.
    std::map<std::array<int, 3>, long> setCounts_;
    std::optional<std::string> heldField_;
    std::deque<std::string> heldStatuses_;
    std::string optionFlags_ = "00000000";
    TemperatureView temperatureView_ = TemperatureView::SetValue;
    PulseView pulseView_ = PulseView::Frequency;
    CommMode commMode_ = CommMode::Normal;
    std::uint64_t liveCount_ = 0;
    int sourceMode_ = 0;
    int modeBeforeRatio_ = 0;
    int ratioN_ = 1;
    int ratioM_ = 1;
    char measureState_ = NormalState;
    bool measureOn_ = true;
    bool sourceOn_ = false;
    bool shortStatus_ = false;
    bool saveMode_ = false;
};

} // namespace px40::sim
