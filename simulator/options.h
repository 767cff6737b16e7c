#pragma once

#include "simulator/ptyserver.h"

#include <span>
#include <string>

namespace px40::sim {

/// What px40sim was asked to do on its command line.
struct Options
{
    enum class Action { Serve, ShowHelp, ShowVersion, ShowFaults };

    Action action = Action::Serve;
    ServerOptions server;
    bool verbose = false;
};

/// Reads the arguments behind the program's name. False with one sentence in `error` when something is wrong.
bool ParseOptions(std::span<char *const> arguments, Options &options, std::string &error);

/// What --help shows.
std::string_view HelpText();

} // namespace px40::sim
