#include "app/commandline.h"

#include "app/titlecard.h"
#include "platform/portmap.h"
#include "resources/strings.h"

#include <QCommandLineParser>
#include <QFileInfo>

namespace px40 {

namespace {

bool TakePortDevice(const QString &text, CommandLine *line)
{
    const qsizetype equals = text.indexOf(u'=');
    bool ok = false;
    const int number = text.left(equals).toInt(&ok);
    if (equals < 0 || !ok || number < PortMap::First || number > PortMap::Last || equals + 1 == text.size()) {
        line->error = QStringLiteral("--port-device takes N=PATH with N from 1 to 16, not \"%1\".").arg(text);
        return false;
    }
    for (const auto &[taken, path] : std::as_const(line->portDevices)) {
        if (taken == number)
            line->error = QStringLiteral("--port-device gives port %1 two devices.").arg(number);
    }
    line->portDevices.append({number, text.mid(equals + 1)});
    return line->error.isEmpty();
}

/// None but --port-device may be given again: of two values one would be lost.
bool RefuseRepeated(const QCommandLineParser &parser, CommandLine *line)
{
    const QStringList names = parser.optionNames();
    for (const QString &name : names) {
        if (names.count(name) > 1 && name != u"port-device")
            line->error = QStringLiteral("--%1 may be given only once.").arg(name);
    }
    return line->error.isEmpty();
}

bool TakeDataFolder(const QCommandLineParser &parser, CommandLine *line)
{
    const QString dataDir = QStringLiteral("data-dir");
    line->dataFolder = parser.value(dataDir);
    if (parser.isSet(dataDir) && !QFileInfo(line->dataFolder).isDir())
        line->error =
            QStringLiteral("--data-dir takes a folder that exists, not \"%1\".").arg(line->dataFolder);
    return line->error.isEmpty();
}

bool TakeDownload(const QCommandLineParser &parser, CommandLine *line)
{
    const QString download = QStringLiteral("download");
    const QString port = QStringLiteral("port");
    const QString saveMode = QStringLiteral("save-mode");
    line->downloadTo = parser.value(download);
    line->saveMode = parser.isSet(saveMode);
    if (parser.isSet(download) && line->downloadTo.isEmpty())
        line->error = QStringLiteral("--download takes the name of a file.");
    else if (parser.isSet(download) && !line->files.isEmpty())
        line->error =
            QStringLiteral("--download opens no other file, so there is nothing to be done with \"%1\".")
                .arg(line->files.constFirst());
    else if (parser.isSet(port) && !parser.isSet(download))
        line->error = QStringLiteral("--port goes with --download.");
    else if (line->saveMode && !parser.isSet(download))
        line->error = QStringLiteral("--save-mode goes with --download.");
    if (!line->error.isEmpty() || !parser.isSet(port))
        return line->error.isEmpty();
    bool ok = false;
    line->downloadPort = parser.value(port).toInt(&ok);
    if (!ok || line->downloadPort < PortMap::First || line->downloadPort > PortMap::Last)
        line->error =
            QStringLiteral("--port takes a number from 1 to 16, not \"%1\".").arg(parser.value(port));
    else if (line->demo && line->downloadPort != PortMap::First)
        line->error = QStringLiteral("The simulated instrument stands on port 1.");
    return line->error.isEmpty();
}

bool TakeExport(const QCommandLineParser &parser, CommandLine *line)
{
    const QString from = QStringLiteral("export");
    const QString to = QStringLiteral("to");
    const QString title = QStringLiteral("title");
    line->exportFrom = parser.value(from);
    line->exportTo = parser.value(to);
    line->exportTitle = parser.value(title);
    if (!parser.isSet(from) && parser.isSet(to))
        line->error = QStringLiteral("--to goes with --export.");
    else if (!parser.isSet(from) && parser.isSet(title))
        line->error = QStringLiteral("--title goes with --export.");
    else if (parser.isSet(from) && line->exportFrom.isEmpty())
        line->error = QStringLiteral("--export takes the name of a file.");
    else if (parser.isSet(from) && line->exportTo.isEmpty())
        line->error = QStringLiteral("--export goes with --to and the name of a workbook.");
    else if (parser.isSet(from) && !line->downloadTo.isEmpty())
        line->error = QStringLiteral("--export does not go together with --download.");
    else if (parser.isSet(from) && !line->files.isEmpty())
        line->error =
            QStringLiteral("--export opens no other file, so there is nothing to be done with \"%1\".")
                .arg(line->files.constFirst());
    return line->error.isEmpty();
}

/// What the toolkit takes from the command line for itself, such as -platform or -style.
QStringList WithoutToolkitOptions(const QStringList &arguments)
{
    static const QStringList WithValue = {
        QStringLiteral("platform"),        QStringLiteral("platformpluginpath"),
        QStringLiteral("platformtheme"),   QStringLiteral("style"),
        QStringLiteral("stylesheet"),      QStringLiteral("session"),
        QStringLiteral("display"),         QStringLiteral("geometry"),
        QStringLiteral("qwindowgeometry"), QStringLiteral("qwindowtitle"),
    };
    QStringList rest;
    for (qsizetype i = 0; i < arguments.size(); ++i) {
        QString name = arguments.at(i);
        name.remove(0, name.startsWith(QStringLiteral("--")) ? 2 : name.startsWith(u'-') ? 1 : 0);
        const bool option = arguments.at(i).startsWith(u'-');
        if (option && WithValue.contains(name))
            ++i; // and its value
        else if (!option || !WithValue.contains(name.section(u'=', 0, 0)))
            rest << arguments.at(i);
    }
    return rest;
}

} // namespace

CommandLine ParseCommandLine(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(Text(Str::ProductLine));
    const QCommandLineOption help({QStringLiteral("h"), QStringLiteral("help")},
                                  QStringLiteral("Show this text."));
    const QCommandLineOption version({QStringLiteral("v"), QStringLiteral("version")},
                                     QStringLiteral("Show the version."));
    const QCommandLineOption demo(QStringLiteral("demo"),
                                  QStringLiteral("Work on a simulated instrument, on port 1."));
    const QCommandLineOption portDevice(
        QStringLiteral("port-device"),
        QStringLiteral("Device that a port number (1 to 16) stands for in this run; may be given again."),
        QStringLiteral("N=PATH"));
    const QCommandLineOption dataDir(
        QStringLiteral("data-dir"),
        QStringLiteral("Folder, which must be there, of the settings file and the work file (default: the "
                       "program's folder)."),
        QStringLiteral("DIR"));
    const QCommandLineOption noSplash(QStringLiteral("no-splash"),
                                      QStringLiteral("Start without the splash window."));
    const QCommandLineOption download(
        QStringLiteral("download"),
        QStringLiteral(
            "Fetch the stored readings into this data file, without any window. The file is replaced; \"-\" "
            "is the standard output."),
        QStringLiteral("FILE.CSV"));
    const QCommandLineOption saveMode(
        QStringLiteral("save-mode"),
        QStringLiteral("With --download: fetch the SAVE-mode records, which are no readings."));
    const QCommandLineOption port(QStringLiteral("port"), QStringLiteral("With --download: the port to use."),
                                  QStringLiteral("N"));
    const QCommandLineOption exportFrom(
        QStringLiteral("export"),
        QStringLiteral("Forward this data file to the workbook of --to, without any window."),
        QStringLiteral("FILE.CSV"));
    const QCommandLineOption exportTo(
        QStringLiteral("to"),
        QStringLiteral(
            "With --export: the workbook. It is made, or gets one more sheet if it is there; \"-\" "
            "sends a new one to the standard output."),
        QStringLiteral("BOOK.xlsx"));
    const QCommandLineOption exportTitle(
        QStringLiteral("title"), QStringLiteral("With --export: the title above the table and on the chart."),
        QStringLiteral("TEXT"));
    parser.addOptions({help, version, demo, portDevice, dataDir, noSplash, download, saveMode, port,
                       exportFrom, exportTo, exportTitle});
    parser.addPositionalArgument(QStringLiteral("FILE.CSV"), QStringLiteral("Data files to open."),
                                 QStringLiteral("[FILE.CSV...]"));

    CommandLine line;
    if (!parser.parse(WithoutToolkitOptions(arguments))) {
        line.error = parser.errorText();
        if (!line.error.endsWith(u'.'))
            line.error += u'.';
        return line;
    }
    if (parser.isSet(help)) {
        line.answer = parser.helpText();
        return line;
    }
    if (parser.isSet(version)) {
        line.answer = Text(Str::ApplicationTitle) + u' ' + ProgramVersion() + u'\n';
        return line;
    }
    line.demo = parser.isSet(demo);
    line.splash = !parser.isSet(noSplash);
    line.files = parser.positionalArguments();
    if (!RefuseRepeated(parser, &line) || !TakeDataFolder(parser, &line) || !TakeDownload(parser, &line) ||
        !TakeExport(parser, &line))
        return line;
    const QStringList portDevices = parser.values(portDevice);
    for (const QString &text : portDevices) {
        if (!TakePortDevice(text, &line))
            return line;
    }
    return line;
}

} // namespace px40
