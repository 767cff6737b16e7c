#pragma once

#include <QString>

#include <array>

namespace px40 {

/// The decoded status reply ("OC"): what the instrument measures and sources at that moment. Reply columns
/// are 1-based, as in the instrument's manual.
struct InstrumentStatus
{
    int MeasureOn = 0;       ///< column 1: not 0 while the instrument measures
    int MeasureFunction = 0; ///< column 2
    qint16 MeasureRange = 0; ///< columns 3-4, within the function
    QString MeasureValue;    ///< columns 5-18 as sent: unit code, state letter, sign, number, exponent
    int SourceOn = 0;        ///< column 19: 1 while the source's output is on
    int SourceFunction = 0;  ///< column 20
    qint16 SourceRange = 0;  ///< columns 21-22, within the function
    QString SourceField;     ///< columns 23-36 as sent, laid out as `MeasureValue`
    QString SourceValue;     ///< sign and number of `SourceField`, seven characters
    int SourcePointPos = 0;  ///< 1-based place of "." in `SourceValue`; 0 when there is none
    QString OptionFlags;     ///< columns 37-44, "0" or "1" each
    std::array<bool, 8> OptionBits{}; ///< bit k is column 44 - k
    QString StatusFieldA;             ///< columns 45-46, as sent
    QString StatusFieldB;             ///< columns 47-48, as sent
    qint16 SourceSubMode = 0;         ///< column 49, blank as 0: how a temperature source is expressed
    qint16 PulseSubMode = 0;          ///< column 50, blank as 0: 0 frequency, 1 amplitude, 2 count
    qint16 SourceMode = 0;            ///< column 51
    qint16 CommMode = 0;              ///< column 52: 0 normal, 1 printer, 2 talk-only

    bool operator==(const InstrumentStatus &) const = default;
};

/// Source modes that the measuring side looks at; the others are of the SOURCE window alone.
inline bool HidesMeasurement(int sourceMode)
{
    return sourceMode == 1 || sourceMode == 3;
}

/// What the program knows of the instrument: one instance, owned by the application, handed down by
/// reference.
struct InstrumentState
{
    InstrumentStatus Status;
    InstrumentStatus PreviousStatus; ///< as it was after the decoding before
    QString StatusReply;             ///< the last accepted status reply, or "ERROR" in real-time receive
    qint64 Accepted = 0;             ///< how many status replies were: what changes with it is new
};

/// Reads a status reply into `status`. While the instrument does not measure, function, range and value of
/// the measuring side keep what they held. False when the reply is no status (too short, or a letter where a
/// digit belongs); `status` is then untouched.
bool DecodeStatus(const QString &reply, InstrumentStatus *status);

/// Fills `OptionBits` from `OptionFlags`. False for a flag that is neither "0" nor "1".
bool UnpackOptionFlags(InstrumentStatus *status);

/// What `CheckCommMode` finds. The short forms are replies of 44 characters, which are never decoded: in
/// normal mode they count as a communication error.
enum CommModeCode : qint16 {
    CommModeUsable = 0,
    CommModePrinter = 1,
    CommModeTalkOnly = 2,
    CommModeError = 3,
    CommModePrinterShort = 4,
    CommModeTalkOnlyShort = 5,
};

/// Judges the reply to "OC" by its length and last character. "ERROR" passes: it stands for no reading.
qint16 CheckCommMode(const QString &recvBuffer, int replyLength);

/// The text of the box for a result other than `CommModeUsable`.
QString CommModeMessage(qint16 commMode);

/// The text of the box when the instrument does not answer a status check.
QString NoAnswerMessage();

} // namespace px40
