#include "app/commandline.h"
#include "app/demo.h"
#include "app/frmmain.h"
#include "app/headless.h"
#include "app/headlessexport.h"
#include "app/messageprompts.h"
#include "app/services.h"
#include "app/startup.h"
#include "app/unattended.h"
#include "platform/singleinstance.h"
#include "platform/terminal.h"
#include "resources/icons.h"
#include "resources/strings.h"

#include <QApplication>

namespace {

QStringList Arguments(int argc, char *argv[])
{
    QStringList arguments;
    for (int i = 0; i < argc; ++i)
        arguments << QString::fromLocal8Bit(argv[i]);
    return arguments;
}

} // namespace

int main(int argc, char *argv[])
{
    using namespace px40;

    KeepStandardStreams();
    // Help, version, mistakes and what is done from file to file need no display.
    const QString title = Text(Str::ApplicationTitle);
    QApplication::setApplicationName(title);
    CommandLine line;
    {
        const QCoreApplication parsing(argc, argv);
        line = ParseCommandLine(Arguments(argc, argv));
    }
    if (!line.error.isEmpty()) {
        PrintError(line.error + u'\n' + Text(Str::UnusableCommandLine));
        return ExitWrongOptions;
    }
    if (!line.answer.isEmpty()) {
        PrintLine(line.answer.trimmed());
        return ExitDone;
    }
    if (!line.downloadTo.isEmpty()) {
        const QCoreApplication application(argc, argv);
        return RunDownload(line);
    }
    if (!line.exportFrom.isEmpty()) {
        const QCoreApplication application(argc, argv);
        return RunExport(line);
    }

    QApplication application(argc, argv);
    QApplication::setPalette(WithReadableHints(QApplication::palette()));
    QApplication::setWindowIcon(ApplicationIcon());
    QApplication::setQuitOnLastWindowClosed(false);

    SingleInstance instance(QStringLiteral("px40ap"));
    if (!instance.Acquire())
        return ExitDone;

    MessagePrompts prompts;
    Services services(UserStore(title), PathsIn(DataFolder(line.dataFolder)), prompts);
    QString error;
    const std::unique_ptr<Demo> demo = TakePorts(line, services, &error);
    if (!error.isEmpty())
        return Fail(error);

    frmMain window(services);
    QObject::connect(&window, &frmMain::left, &application, &QApplication::quit);
    services.jobs.Launch(RunStartup(&services, &window, line.splash, line.files), "start-up");
    return QApplication::exec();
}
