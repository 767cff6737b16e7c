#pragma once

#include "simulator/servedinstrument.h"

#include <span>
#include <string>
#include <vector>

namespace px40::sim {

/// What px40sim was asked to do on its command line.
struct Options
{
    enum class Action { Serve, ShowHelp, ShowVersion, ShowFaults };

    Action action = Action::Serve;
    ServerOptions server;
    /// Orders for the instrument's keys, known to be right, to be obeyed one after the other.
    std::vector<std::string> keyOrders;
    bool verbose = false;
};

/// Reads the arguments after the program's name. False with one sentence in `error` when something is wrong.
bool ParseOptions(std::span<char *const> arguments, Options &options, std::string &error);

/// What --help shows.
std::string HelpText();

} // namespace px40::sim
