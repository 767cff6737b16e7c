// px40sim: serves the simulated instrument on a pseudo-terminal until it is interrupted.

#include "simulator/keyorders.h"
#include "simulator/options.h"
#include "simulator/ptyserver.h"
#include "simulator/statusfile.h"
#include "simulator/wakepipe.h"

#include <chrono>
#include <csignal>
#include <cstdio>
#include <exception>
#include <iostream>
#include <optional>
#include <poll.h>
#include <string>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace px40::sim {

namespace {

// Global, because a signal handler gets no other data.
const WakePipe *interruption = nullptr;

void Interrupt(int)
{
    interruption->Wake();
}

void CatchSignals(const WakePipe &pipe)
{
    interruption = &pipe;
    struct sigaction action
    {
    };
    action.sa_handler = Interrupt;
    ::sigaction(SIGINT, &action, nullptr);
    ::sigaction(SIGTERM, &action, nullptr);
    // A background job that reads from its terminal would be stopped; this way the read fails instead.
    struct sigaction ignore
    {
    };
    ignore.sa_handler = SIG_IGN;
    ::sigaction(SIGTTIN, &ignore, nullptr);
}

std::string Printable(std::string_view bytes)
{
    std::string text;
    for (const char c : bytes) {
        const auto code = static_cast<unsigned char>(c);
        char escaped[5];
        if (code >= 0x20 && code < 0x7F && c != '\\') {
            text += c;
        } else if (c == '\r' || c == '\n') {
            text += c == '\r' ? "\\r" : "\\n";
        } else {
            std::snprintf(escaped, sizeof escaped, "\\x%02X", code);
            text += escaped;
        }
    }
    return text;
}

Observer ExchangePrinter()
{
    return [begin = std::chrono::steady_clock::now()](std::string_view command, std::string_view sent) {
        const std::chrono::duration<double> time = std::chrono::steady_clock::now() - begin;
        const std::string reply = sent.empty() ? "(no reply)" : Printable(sent);
        std::fprintf(stderr, "%10.4f  %-8s %s\n", time.count(), Printable(command).c_str(), reply.c_str());
    };
}

void PlugIn(PtyServer &server)
{
    try {
        server.PlugIn();
        std::cout << server.DevicePath() << std::endl;
    } catch (const std::system_error &failure) {
        std::cerr << "px40sim: " << failure.what() << "." << std::endl;
    }
}

void AnswerStatus(const std::string &file, PtyServer &server)
{
    std::string error;
    std::optional<std::string> reply;
    if (file != "live") {
        reply = ReadStatusFile(file, &error);
        if (!reply) {
            std::cerr << "px40sim: " << error << std::endl;
            return;
        }
    }
    server.WithInstrument([&](Instrument &instrument) { instrument.HoldStatus(std::move(reply)); });
}

void PressKeys(std::string_view order, PtyServer &server)
{
    std::string error;
    const auto press = [&](Instrument &instrument) { return ObeyKeys(order, instrument, &error); };
    if (!server.WithInstrument(press))
        std::cerr << "px40sim: " << error << std::endl;
}

// False when the order is to quit.
bool Obey(std::string_view order, PtyServer &server)
{
    if (order.ends_with('\r'))
        order.remove_suffix(1);
    constexpr std::string_view fault = "fault ";
    constexpr std::string_view status = "status ";
    if (order == "quit")
        return false;
    if (order == "unplug") {
        server.HangUp();
    } else if (order == "plug") {
        PlugIn(server);
    } else if (order.starts_with(fault)) {
        Faults faults = server.CurrentFaults();
        std::string error;
        if (ApplyFault(order.substr(fault.size()), faults, &error))
            server.SetFaults(faults);
        else
            std::cerr << "px40sim: " << error << std::endl;
    } else if (order.starts_with(status)) {
        AnswerStatus(std::string(order.substr(status.size())), server);
    } else if (IsKeyOrder(order)) {
        PressKeys(order, server);
    } else if (!order.empty()) {
        std::cerr << "px40sim: The orders are unplug, plug, fault NAME[=ARGUMENT], status FILE, status live, "
                     "source, measure, mode, options and quit; see --help."
                  << std::endl;
    }
    return true;
}

void ServeUntilInterrupted(PtyServer &server, const WakePipe &interrupted)
{
    constexpr std::size_t maxOrder = 1000;
    pollfd descriptors[] = {{interrupted.Reader(), POLLIN, 0}, {STDIN_FILENO, POLLIN, 0}};
    std::string order;
    for (;;) {
        if (::poll(descriptors, std::size(descriptors), -1) < 0)
            continue;
        if (descriptors[0].revents != 0)
            return;
        if (descriptors[1].revents == 0)
            continue;
        char bytes[256];
        const ssize_t count = ::read(STDIN_FILENO, bytes, sizeof bytes);
        // There is no input, or the script that gave the orders has ended: the device stays.
        if (count <= 0)
            descriptors[1].fd = -1;
        for (const char byte : std::string_view(bytes, count > 0 ? static_cast<std::size_t>(count) : 0)) {
            if (byte != '\n' && order.size() < maxOrder)
                order += byte;
            if (byte != '\n')
                continue;
            if (!Obey(order, server))
                return;
            order.clear();
        }
    }
}

int Serve(Options &options)
{
    if (options.verbose)
        options.server.observer = ExchangePrinter();
    const WakePipe interrupted;
    CatchSignals(interrupted);
    PtyServer server(std::move(options.server));
    for (const std::string &order : options.keyOrders)
        PressKeys(order, server);
    std::cout << server.DevicePath() << std::endl;
    ServeUntilInterrupted(server, interrupted);
    return 0;
}

} // namespace

} // namespace px40::sim

int main(int argc, char **argv)
{
    using namespace px40::sim;
    Options options;
    std::string error;
    if (!ParseOptions({argv + 1, argv + argc}, options, error)) {
        std::cerr << "px40sim: " << error << std::endl;
        return 2;
    }
    try {
        switch (options.action) {
        case Options::Action::ShowHelp:
            std::cout << HelpText();
            return 0;
        case Options::Action::ShowVersion:
            std::cout << "px40sim " << PX40_VERSION << std::endl;
            return 0;
        case Options::Action::ShowFaults:
            std::cout << FaultList();
            return 0;
        case Options::Action::Serve:
            break;
        }
        return Serve(options);
    } catch (const std::exception &failure) {
        std::cerr << "px40sim: " << failure.what() << "." << std::endl;
        return 1;
    }
}
