#include "simulator/faults.h"

#include "simulator/random.h"

#include <charconv>
#include <optional>
#include <vector>

namespace px40::sim {

namespace {

constexpr std::string_view LineEnd = "\r\n";
constexpr std::string_view SecondLine = "SECOND LINE\r\n";
constexpr std::size_t OptionColumn = 36;
constexpr std::size_t OptionWidth = 8;

using Arguments = std::vector<std::string_view>;

Arguments SplitAtCommas(std::string_view text)
{
    Arguments parts;
    for (;;) {
        const std::size_t comma = text.find(',');
        parts.push_back(text.substr(0, comma));
        if (comma == std::string_view::npos)
            return parts;
        text.remove_prefix(comma + 1);
    }
}

// A whole number up to a million; empty for anything else.
std::optional<std::size_t> ParseCount(std::string_view text)
{
    std::size_t count = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), count);
    if (error != std::errc() || end != text.data() + text.size() || count > 1'000'000)
        return std::nullopt;
    return count;
}

// Takes a single number, at least 1. Without an argument the number is `fallback`; 0: it must be given.
bool SetCount(const Arguments &arguments, std::size_t &count, std::size_t fallback = 0)
{
    const std::optional<std::size_t> given =
        arguments.empty() ? std::optional(fallback) : ParseCount(arguments.front());
    if (arguments.size() > 1 || !given || *given == 0)
        return false;
    count = *given;
    return true;
}

bool SetFlag(const Arguments &arguments, bool &flag)
{
    flag = true;
    return arguments.empty();
}

bool SetLate(const Arguments &arguments, Faults &faults)
{
    if (arguments.empty())
        return false;
    const std::optional<std::size_t> ms = ParseCount(arguments.front());
    if (!ms)
        return false;
    faults.late = std::chrono::milliseconds(*ms);
    faults.lateEvery = 1;
    faults.lateFirst = 0;
    for (std::size_t i = 1; i < arguments.size(); ++i) {
        const std::size_t equals = arguments[i].find('=');
        if (equals == std::string_view::npos)
            return false;
        const std::string_view key = arguments[i].substr(0, equals);
        const std::optional<std::size_t> count = ParseCount(arguments[i].substr(equals + 1));
        if (!count || *count == 0 || (key != "every" && key != "first"))
            return false;
        (key == "every" ? faults.lateEvery : faults.lateFirst) = *count;
    }
    return true;
}

bool SetBytePause(const Arguments &arguments, Faults &faults)
{
    std::size_t pause = 0;
    if (!SetCount(arguments, pause, 200))
        return false;
    faults.byteByByte = true;
    faults.bytePause = std::chrono::microseconds(pause);
    return true;
}

bool SetMode(const Arguments &arguments, Faults &faults)
{
    struct Mode
    {
        std::string_view name;
        CommMode mode;
        bool isShort;
    };
    constexpr Mode modes[] = {
        {"printer", CommMode::Printer, false}, {"talk-only", CommMode::TalkOnly, false},
        {"normal44", CommMode::Normal, true},  {"printer44", CommMode::Printer, true},
        {"talk44", CommMode::TalkOnly, true},
    };
    for (const Mode &mode : modes) {
        if (arguments.size() != 1 || arguments.front() != mode.name)
            continue;
        faults.otherMode = true;
        faults.commMode = mode.mode;
        faults.shortStatus = mode.isShort;
        return true;
    }
    return false;
}

bool SetHangUp(const Arguments &arguments, Faults &faults)
{
    const bool half = arguments.size() == 2 && arguments[1] == "half";
    if (arguments.empty() || (arguments.size() > 1 && !half))
        return false;
    faults.hangUpHalfWay = half;
    return SetCount({arguments.front()}, faults.hangUpAt);
}

bool SetDropReply(const Arguments &arguments, Faults &faults)
{
    std::size_t count = 1;
    if (arguments.empty() || arguments.size() > 2 ||
        (arguments.size() == 2 && !SetCount({arguments[1]}, count)) ||
        !SetCount({arguments.front()}, faults.dropReplyAt))
        return false;
    faults.droppedReplies = count;
    return true;
}

struct Setting
{
    std::string_view name;
    bool (*apply)(const Arguments &, Faults &);
};

constexpr Setting Settings[] = {
    {"silent", [](const Arguments &a, Faults &f) { return SetFlag(a, f.silent); }},
    {"silent-from", [](const Arguments &a, Faults &f) { return SetCount(a, f.silentFrom); }},
    {"late", SetLate},
    {"byte-by-byte", SetBytePause},
    {"two-lines", [](const Arguments &a, Faults &f) { return SetFlag(a, f.twoLines); }},
    {"half-line", [](const Arguments &a, Faults &f) { return SetFlag(a, f.halfLine); }},
    {"garbage", [](const Arguments &a, Faults &f) { return SetCount(a, f.garbageFrom, 1); }},
    {"err", [](const Arguments &a, Faults &f) { return SetCount(a, f.errFrom, 1); }},
    {"mode", SetMode},
    {"wrong-check", [](const Arguments &a, Faults &f) { return SetFlag(a, f.wrongCheck); }},
    {"hang-up", SetHangUp},
    {"drop-reply", SetDropReply},
};

bool HoldsFrom(std::size_t from, std::size_t n)
{
    return from != 0 && n >= from;
}

// Starts with a NUL and a byte above 0x7F, so that even a short one has them; never holds a line end.
std::string Garbage(std::size_t length, std::size_t seed)
{
    std::string bytes("\0\x80\xFF", 3);
    Random random(seed);
    while (bytes.size() < length) {
        const char byte = static_cast<char>(random.Next() & 0xFFU);
        if (byte != '\r' && byte != '\n')
            bytes += byte;
    }
    return bytes;
}

std::string Reply(const Faults &faults, std::size_t n, std::string_view command, Instrument &instrument)
{
    if (HoldsFrom(faults.errFrom, n))
        return "ERR";
    std::string reply = instrument.Answer(command);
    if (faults.otherMode && command == "OC" && reply.size() > OptionColumn + OptionWidth) {
        if (faults.shortStatus)
            reply.erase(OptionColumn, OptionWidth);
        reply.back() = static_cast<char>('0' + static_cast<int>(faults.commMode));
    }
    if (faults.wrongCheck && command.starts_with("RS,") && !reply.empty())
        reply.back() = reply.back() == '0' ? '1' : '0';
    if (HoldsFrom(faults.garbageFrom, n))
        reply = Garbage(reply.size(), n);
    return reply;
}

} // namespace

bool ApplyFault(std::string_view text, Faults &faults, std::string *error)
{
    if (text == "none") {
        faults = Faults{};
        return true;
    }
    const std::size_t equals = text.find('=');
    const std::string_view name = text.substr(0, equals);
    const Arguments arguments =
        equals == std::string_view::npos ? Arguments{} : SplitAtCommas(text.substr(equals + 1));
    std::string reason = "There is no fault \"" + std::string(name) + "\".";
    for (const Setting &setting : Settings) {
        if (setting.name != name)
            continue;
        Faults changed = faults;
        if (setting.apply(arguments, changed)) {
            faults = changed;
            return true;
        }
        reason = "The argument of \"" + std::string(text) + "\" is missing or wrong.";
    }
    if (error)
        *error = reason;
    return false;
}

std::string_view FaultList()
{
    return "silent             never answers\n"
           "silent-from=N      answers no more from the Nth command on\n"
           "late=MS            answers MS ms later; also late=MS,every=K (each Kth time)\n"
           "                   and late=MS,first=N (the first N times)\n"
           "byte-by-byte[=US]  one write for each byte, US microseconds apart (200)\n"
           "two-lines          a second line behind each reply, in one write\n"
           "half-line          half of each reply and no line end\n"
           "garbage[=N]        random bytes for a reply, from the Nth command on (1)\n"
           "err[=N]            ERR to every command, from the Nth on (1)\n"
           "mode=MODE          status of printer, talk-only, normal44, printer44 or talk44 mode\n"
           "wrong-check        a wrong check character behind SAVE-mode records\n"
           "hang-up=N[,half]   the device disappears at the Nth command, or half-way through its reply\n"
           "drop-reply=N[,K]   the reply to the Nth command is lost, or those to K commands from it on\n"
           "none               clears all faults\n";
}

Delivery Deliver(const Faults &faults, std::size_t n, std::string_view command, Instrument &instrument)
{
    Delivery delivery;
    delivery.byteByByte = faults.byteByByte;
    delivery.bytePause = faults.bytePause;
    delivery.hangUp = faults.hangUpAt != 0 && faults.hangUpAt == n;
    if (delivery.hangUp && !faults.hangUpHalfWay)
        return delivery;
    if (faults.silent || HoldsFrom(faults.silentFrom, n))
        return delivery;

    const std::string reply = Reply(faults, n, command, instrument);
    if (HoldsFrom(faults.dropReplyAt, n) && n < faults.dropReplyAt + faults.droppedReplies)
        return delivery;
    const bool withinFirst = faults.lateFirst == 0 || n <= faults.lateFirst;
    if (withinFirst && (faults.lateEvery <= 1 || n % faults.lateEvery == 0))
        delivery.late = faults.late;
    if (faults.halfLine) {
        delivery.bytes = reply.substr(0, (reply.size() + 1) / 2);
    } else {
        delivery.bytes = reply;
        delivery.bytes += LineEnd;
    }
    if (faults.twoLines) {
        delivery.bytes += SecondLine;
        delivery.oneWrite = true;
    }
    delivery.hangUpAfter = delivery.bytes.size() / 2;
    return delivery;
}

} // namespace px40::sim
