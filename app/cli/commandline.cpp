#include "app/cli/commandline.h"

#include "platform/portmap.h"
#include "resources/strings.h"

#include <QCommandLineParser>
#include <QFileInfo>

#include <optional>

namespace px40 {

namespace {

using namespace Qt::StringLiterals;

struct Option
{
    const char *names;
    const char *description;
    const char *value = "";
};

constexpr Option Options[] = {
    {"h,help", "Show this text."},
    {"v,version", "Show the version."},
    {"demo", "Work on a simulated instrument, on port 1."},
    {"port-device", "Device that a port number (1 to 16) stands for in this run; may be given again.",
     "N=PATH"},
    {"data-dir",
     "Folder, which must be there, of the settings file, the work file and the journals (default: the "
     "program's folder; for journals the user's data folder).",
     "DIR"},
    {"no-splash", "Start without the splash window."},
    {"download",
     "Fetch the stored readings into this data file, without any window. The file is replaced; \"-\" is the "
     "standard output.",
     "FILE.CSV"},
    {"save-mode", "With --download: fetch the SAVE-mode records, which are no readings."},
    {"log",
     "Log in real time into this data file, which must not be there yet, without any window, until the "
     "period is "
     "over or SIGINT (Ctrl+C) or SIGTERM comes; \"-\" prints the rows.",
     "FILE.CSV"},
    {"interval", "With --log: from one row to the next, in seconds or like 1d2h3m4s (default: 5).", "TIME"},
    {"period", "With --log: for how long (default: until it is ended).", "TIME"},
    {"port", "With --download and --log: the port to use.", "N"},
    {"recover", "List the readings that were left unsaved when the program ended, without any window; with a "
                "folder after "
                "it: save each there as a data file."},
    {"export", "Forward this data file to the workbook of --to, without any window.", "FILE.CSV"},
    {"to",
     "With --export: the workbook. It is made, or gets one more sheet if it is there; \"-\" sends a new one "
     "to "
     "the standard output.",
     "BOOK.xlsx"},
    {"title", "With --export: the title above the table and on the chart.", "TEXT"},
};

/// Options that mean something only together with another one.
constexpr std::pair<const char *, const char *> Companions[] = {
    {"save-mode", "download"}, {"to", "export"}, {"title", "export"}, {"interval", "log"}, {"period", "log"}};

/// Each is a job of its own without a window.
constexpr const char *JobOptions[] = {"download", "export", "log", "recover"};

std::optional<int> PortNumber(const QString &text)
{
    bool ok = false;
    const int number = text.toInt(&ok);
    return ok && number >= PortMap::First && number <= PortMap::Last ? std::optional(number) : std::nullopt;
}

Result<> TakePortDevices(const QStringList &values, CommandLine *line)
{
    for (const QString &text : values) {
        const qsizetype equals = text.indexOf(u'=');
        const std::optional<int> number = PortNumber(text.left(equals));
        if (equals < 0 || !number || equals + 1 == text.size())
            return Fail(u"--port-device takes N=PATH with N from 1 to 16, not \"%1\"."_s.arg(text));
        for (const auto &[taken, path] : std::as_const(line->portDevices)) {
            if (taken == *number)
                return Fail(u"--port-device gives port %1 two devices."_s.arg(taken));
        }
        line->portDevices.append({*number, text.mid(equals + 1)});
    }
    return {};
}

/// Checks that the options may be combined.
Result<> CheckTogether(const QCommandLineParser &parser, const CommandLine &line)
{
    // Only --port-device may be repeated: of two values of any other option one would be lost.
    const QStringList names = parser.optionNames();
    for (const QString &name : names) {
        if (names.count(name) > 1 && name != u"port-device")
            return Fail(u"--%1 may be given only once."_s.arg(name));
    }
    if (parser.isSet(u"data-dir"_s) && !QFileInfo(line.dataFolder).isDir())
        return Fail(u"--data-dir takes a folder that exists, not \"%1\"."_s.arg(line.dataFolder));
    QString job;
    for (const char *const one : JobOptions) {
        const QString name = QString::fromLatin1(one);
        if (!parser.isSet(name))
            continue;
        if (!job.isEmpty())
            return Fail(u"--%1 does not go together with --%2."_s.arg(name, job));
        job = name;
        if (name != u"recover" && parser.value(name).isEmpty())
            return Fail(u"--%1 takes the name of a file."_s.arg(name));
        if (parser.positionalArguments().contains(QString()))
            return Fail(u"--%1 takes no empty name."_s.arg(name));
        if (!line.files.isEmpty())
            return Fail(u"--%1 opens no other file, so there is nothing to be done with \"%2\"."_s.arg(
                name, line.files.constFirst()));
    }
    for (const auto &[name, other] : Companions) {
        if (parser.isSet(QLatin1StringView(name)) && !parser.isSet(QLatin1StringView(other)))
            return Fail(u"--%1 goes with --%2."_s.arg(QLatin1StringView(name), QLatin1StringView(other)));
    }
    if (parser.isSet(u"port"_s) && job != u"download" && job != u"log")
        return Fail(u"--port goes with --download or --log."_s);
    if (!line.exportFrom.isEmpty() && line.exportTo.isEmpty())
        return Fail(u"--export goes with --to and the name of a workbook."_s);
    return {};
}

Result<> TakePort(const QCommandLineParser &parser, CommandLine *line)
{
    if (!parser.isSet(u"port"_s))
        return {};
    const QString text = parser.value(u"port"_s);
    line->port = PortNumber(text).value_or(0);
    if (line->port == 0)
        return Fail(u"--port takes a number from 1 to 16, not \"%1\"."_s.arg(text));
    if (line->demo && line->port != PortMap::First)
        return Fail(u"The simulated instrument stands on port 1."_s);
    return {};
}

Result<> TakeTimes(const QCommandLineParser &parser, CommandLine *line)
{
    line->interval = *ParseDuration(u"5"_s);
    for (const QString &name : {u"interval"_s, u"period"_s}) {
        if (!parser.isSet(name))
            continue;
        const std::optional<Duration> time = ParseDuration(parser.value(name));
        if (!time)
            return Fail(
                u"--%1 takes seconds or a time like 1d2h3m4s, from 1 second to 99 days, not \"%2\"."_s.arg(
                    name, parser.value(name)));
        (name == u"interval" ? line->interval : line->period.emplace()) = *time;
    }
    return {};
}

/// Without the options that Qt itself takes, such as -platform or -style.
QStringList WithoutToolkitOptions(const QStringList &arguments)
{
    static const QStringList WithValue = {
        u"platform"_s,     u"platformpluginpath"_s, u"platformtheme"_s,
        u"style"_s,        u"stylesheet"_s,         u"session"_s,
        u"display"_s,      u"geometry"_s,           u"qwindowgeometry"_s,
        u"qwindowtitle"_s,
    };
    QStringList rest;
    for (qsizetype i = 0; i < arguments.size(); ++i) {
        QString name = arguments.at(i);
        name.remove(0, name.startsWith("--"_L1) ? 2 : name.startsWith(u'-') ? 1 : 0);
        const bool option = arguments.at(i).startsWith(u'-');
        if (option && WithValue.contains(name))
            ++i; // and its value
        else if (!option || !WithValue.contains(name.section(u'=', 0, 0)))
            rest << arguments.at(i);
    }
    return rest;
}

} // namespace

Result<CommandLine> ParseCommandLine(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(Text(Str::ProductLine));
    for (const auto &[names, description, value] : Options)
        parser.addOption({QString::fromLatin1(names).split(u','), QString::fromLatin1(description),
                          QString::fromLatin1(value)});
    parser.addPositionalArgument(u"FILE.CSV"_s, u"Data files to open."_s, u"[FILE.CSV...]"_s);

    if (!parser.parse(WithoutToolkitOptions(arguments))) {
        const QString reason = parser.errorText();
        return Fail(reason.endsWith(u'.') ? reason : reason + u'.');
    }
    CommandLine line;
    if (parser.isSet(u"help"_s)) {
        line.answer = parser.helpText();
        return line;
    }
    if (parser.isSet(u"version"_s)) {
        line.answer = Text(Str::ApplicationTitle) + u' ' + QStringLiteral(PX40_VERSION);
        return line;
    }
    line.demo = parser.isSet(u"demo"_s);
    line.splash = !parser.isSet(u"no-splash"_s);
    line.dataFolder = parser.value(u"data-dir"_s);
    line.files = parser.positionalArguments();
    line.downloadTo = parser.value(u"download"_s);
    line.saveMode = parser.isSet(u"save-mode"_s);
    line.exportFrom = parser.value(u"export"_s);
    line.exportTo = parser.value(u"to"_s);
    line.exportTitle = parser.value(u"title"_s);
    line.logTo = parser.value(u"log"_s);
    line.recover = parser.isSet(u"recover"_s);
    if (line.recover && line.files.size() == 1)
        line.recoverTo = line.files.takeFirst();
    if (const Result<> fit = CheckTogether(parser, line); !fit)
        return Fail(fit.error());
    if (const Result<> taken = TakePort(parser, &line); !taken)
        return Fail(taken.error());
    if (const Result<> taken = TakeTimes(parser, &line); !taken)
        return Fail(taken.error());
    if (const Result<> taken = TakePortDevices(parser.values(u"port-device"_s), &line); !taken)
        return Fail(taken.error());
    return line;
}

} // namespace px40
