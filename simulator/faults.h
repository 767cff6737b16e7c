#pragma once

#include "simulator/instrument.h"

#include <chrono>
#include <cstddef>
#include <string>
#include <string_view>

namespace px40::sim {

/// What goes wrong on the line. Several faults may be set at once; a default-made object has none.
///
/// Commands are counted from 1, beginning with the first one after the faults were set. Where a number says
/// from or at which command a fault holds, 0 means never.
struct Faults
{
    /// No reply at all, or none from that command on; such commands have no effect.
    bool silent = false;
    /// Each byte in a write of its own, with `bytePause` between two of them where the line is not paced.
    bool byteByByte = false;
    /// The reply and a second line, "SECOND LINE", in one write.
    bool twoLines = false;
    /// The first half of the reply and never its CR LF.
    bool halfLine = false;
    /// A wrong check character after each record ("RS,").
    bool wrongCheck = false;
    /// "OC" is answered as in `commMode`, in 44 characters where `shortStatus` is set.
    bool otherMode = false;
    bool shortStatus = false;
    /// The hang-up comes after half of the reply, not before it.
    bool hangUpHalfWay = false;
    CommMode commMode = CommMode::Normal;

    std::size_t silentFrom = 0;
    /// From that command on "ERR"; such commands have no effect.
    std::size_t errFrom = 0;
    /// From that command on, as many bytes as the reply has, among them NUL and bytes above 0x7F; CR LF.
    std::size_t garbageFrom = 0;
    /// From that command on, `droppedReplies` replies are lost; the commands have their effect.
    std::size_t dropReplyAt = 0;
    std::size_t droppedReplies = 1;
    /// The device disappears when that command has arrived.
    std::size_t hangUpAt = 0;

    /// Added before the reply, in each `lateEvery`-th command (0 or 1 = each), and in no more than the first
    /// `lateFirst` commands (0 = without end).
    std::chrono::milliseconds late{0};
    std::size_t lateEvery = 1;
    std::size_t lateFirst = 0;
    std::chrono::microseconds bytePause{200};
};

/// Sets one fault, given as NAME or NAME=ARGUMENT (see `FaultList`), beside those that are set already;
/// "none" clears them all. False with a sentence in `error` (may be null) when it is not understood; then
/// `faults` is unchanged.
bool ApplyFault(std::string_view text, Faults &faults, std::string *error);

/// All fault texts with their meaning, a line each.
std::string_view FaultList();

/// What leaves the instrument for one command.
struct Delivery
{
    /// Everything to be sent, CR LF included; empty for no reply.
    std::string bytes;
    std::chrono::milliseconds late{0};
    std::chrono::microseconds bytePause{0};
    bool byteByByte = false;
    bool oneWrite = false;
    /// The device disappears after `hangUpAfter` bytes of `bytes`.
    bool hangUp = false;
    std::size_t hangUpAfter = 0;
};

/// Obeys the command as far as the faults let it through, and says what is to be sent. `n` is the number of
/// the command, counted as in Faults.
Delivery Deliver(const Faults &faults, std::size_t n, std::string_view command, Instrument &instrument);

} // namespace px40::sim
