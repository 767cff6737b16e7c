#pragma once

#include "platform/result.h"

#include <QString>

#include <array>

namespace px40 {

/// What the reply to a command looks like. It is the only way to tell replies apart: they carry no number.
enum class ReplyForm {
    Acknowledgement, ///< a few characters
    Condition,       ///< 52 or 44 characters
    Reading,         ///< 29 characters
    Record,          ///< ends in its check character
};

/// What goes out to the instrument, and what is expected of it. The functions below make every command that
/// the program sends; nothing else knows their characters.
struct LinkCommand
{
    QString text;     ///< without line end
    int attempts = 3; ///< how often it is sent as long as nobody answers
    ReplyForm reply = ReplyForm::Acknowledgement;
    bool changes = true; ///< it does more than ask, or prepare for a question: it must not go out again for a
                         ///< reply that was meant for another one
};

/// The instrument expects these two before it is asked for readings.
std::array<LinkCommand, 2> Preparations();

/// What the instrument measures and sources at this moment, with the preparations; the reply to the last one
/// is for `DecodeCondition`.
std::array<LinkCommand, 3> AskCondition();

/// Stored reading `n`, from 1; see `DecodeMeasureReply`.
LinkCommand AskReading(int n);

/// The records of the SAVE mode: to be asked for between the two others; see `CheckSaveRecord`.
LinkCommand BeginRecords();
LinkCommand AskRecord(int n);
LinkCommand EndRecords();

/// At the end of real-time receive.
LinkCommand EndRealtime();

LinkCommand SetMeasuring(bool on);

/// What can be set of the source. The comments say what its argument is.
enum class SourceSetting {
    Output,      ///< "0" off, "1" on
    StepUp,      ///< a digit, "1" to "5", "1" the leftmost
    StepDown,    ///< the same
    RatioOn,     ///< none
    RatioOff,    ///< none
    Ratio,       ///< n and m, two digits each
    Range,       ///< a position in the list of the present function, from 0
    Temperature, ///< a position in the list of how a temperature is set
    Pulse,       ///< a position in the list of what of a pulse is set
    Value,       ///< any text
};
LinkCommand SetSource(SourceSetting setting, const QString &argument);

/// Whether the instrument has obeyed a command that it may refuse, judged by the result of `SendCommand`. The
/// failure is one sentence for the user.
Result<> Obeyed(const LinkCommand &command, const Result<QString> &reply);

} // namespace px40
