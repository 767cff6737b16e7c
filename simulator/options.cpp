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
    // Laid out so that the manual page can be made of it.
    return std::string(R"(Usage: px40sim [options]
The PX40 process calibrator in software: prints the device that a program can open in place of a serial port,
and serves it until it is interrupted.

Options:
  --link PATH        Make a symbolic link to the device; it is taken away at the end.
  --no-pace          Answer at once instead of at the speed of a 9600 baud line.
  --think MS         Time between the end of a command and its reply when paced (3).
  --seed N           Other values in the memory and other noise (1).
  --fault NAME[=ARGUMENT]
                     Let something go wrong; may be given several times.
  --list-faults      Show all faults.
  --status FILE      Answer the status question with the line "reply: ..." of that file; several are given
                     one after the other, the last one from then on.
  --set ORDER        Obey an order for the instrument's keys at the start, e.g. --set "source 6 0"; may be
                     given several times.
  --verbose          Show each command and reply with its time in seconds.
  --help, --version

Orders on the standard input, one a line:
  unplug             The device disappears.
  plug               It comes back; its new path is printed.
  fault NAME         Adds a fault, as --fault does; "fault none" clears all.
  status FILE        Answers the status question with that file's reply; "status live" ends that.
  quit               Ends the program.

)") + std::string(KeyOrderHelp());
}

} // namespace px40::sim
