#include "simulator/options.h"

#include "simulator/keyorders.h"
#include "simulator/statusfile.h"

#include <charconv>
#include <cmath>
#include <optional>

namespace px40::sim {

namespace {

template <typename Number>
std::optional<Number> ParseNumber(std::string_view text)
{
    Number number{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size())
        return std::nullopt;
    return number;
}

bool SetWithValue(std::string_view name, std::string_view value, Options &options, std::string &error)
{
    const std::string given = " not \"" + std::string(value) + "\".";
    if (name == "--link") {
        options.server.link = value;
        error = "The option --link needs the path of a link.";
        return !value.empty();
    }
    if (name == "--fault")
        return ApplyFault(value, options.server.faults, &error);
    if (name == "--status") {
        const std::optional<std::string> reply = ReadStatusFile(std::string(value), &error);
        if (reply)
            options.server.statuses.push_back(*reply);
        return reply.has_value();
    }
    if (name == "--set") {
        Instrument tried;
        options.keyOrders.emplace_back(value);
        return ObeyKeys(value, tried, &error);
    }
    if (name == "--seed") {
        const auto seed = ParseNumber<std::uint64_t>(value);
        options.server.seed = seed.value_or(0);
        error = "The option --seed needs a whole number," + given;
        return seed.has_value();
    }
    const auto ms = ParseNumber<double>(value);
    const bool usable = ms && *ms >= 0 && *ms <= 60000;
    options.server.line.thinking = std::chrono::microseconds(usable ? std::lround(*ms * 1000) : 0);
    error = "The option --think needs a time from 0 to 60000 ms," + given;
    return usable;
}

} // namespace

bool ParseOptions(std::span<char *const> arguments, Options &options, std::string &error)
{
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const std::string_view argument = arguments[i];
        const std::size_t equals = argument.find('=');
        const std::string_view name = argument.substr(0, equals);
        const bool takesValue = name == "--link" || name == "--think" || name == "--seed" ||
                                name == "--fault" || name == "--status" || name == "--set";
        if (takesValue) {
            const bool inside = equals != std::string_view::npos;
            if (!inside && i + 1 == arguments.size()) {
                error = "The option " + std::string(name) + " needs a value.";
                return false;
            }
            const std::string_view value =
                inside ? argument.substr(equals + 1) : std::string_view(arguments[++i]);
            if (!SetWithValue(name, value, options, error))
                return false;
        } else if (argument == "--no-pace") {
            options.server.line.paced = false;
        } else if (argument == "--verbose") {
            options.verbose = true;
        } else if (argument == "--list-faults") {
            options.action = Options::Action::ShowFaults;
        } else if (argument == "--help" || argument == "-h") {
            options.action = Options::Action::ShowHelp;
        } else if (argument == "--version") {
            options.action = Options::Action::ShowVersion;
        } else {
            error = "There is no option \"" + std::string(argument) + "\"; see --help.";
            return false;
        }
    }
    return true;
}

std::string HelpText()
{
    return "px40sim - the PX40 calibrator in software, on a pseudo-terminal\n"
           "\n"
           "Usage: px40sim [options]\n"
           "\n"
           "Prints the device that a program can open in place of a serial port, and serves it until it is\n"
           "interrupted.\n"
           "\n"
           "  --link PATH      make a symbolic link to the device; it is taken away at the end\n"
           "  --no-pace        answer at once instead of at the speed of a 9600 baud line\n"
           "  --think MS       time between the end of a command and its reply when paced (3)\n"
           "  --seed N         other values in the memory and other noise (1)\n"
           "  --fault NAME[=ARGUMENT]\n"
           "                   let something go wrong; may be given several times\n"
           "  --list-faults    show all faults\n"
           "  --status FILE    answer the status question with the line \"reply: ...\" of that file; several "
           "are\n"
           "                   given one after the other, the last one from then on\n"
           "  --set ORDER      an order for the instrument's keys, e.g. --set \"source 6 0\", is obeyed at "
           "the\n"
           "                   start; may be given several times\n"
           "  --verbose        show each command and reply with its time in seconds\n"
           "  --help, --version\n"
           "\n"
           "Orders on the standard input, one a line:\n"
           "  unplug           the device disappears\n"
           "  plug             it comes back; its new path is printed\n"
           "  fault NAME[=ARGUMENT]\n"
           "                   adds a fault; \"fault none\" clears all\n"
           "  status FILE      answers the status question with that file's reply; \"status live\" ends "
           "that\n"
           "  quit\n"
           "\n"
           "Orders for the instrument's keys, on the standard input or with --set. All numbers begin at 0. "
           "A\n"
           "reply of --status or \"status FILE\" hides what they change.\n" +
           std::string(KeyOrderHelp());
}

} // namespace px40::sim
