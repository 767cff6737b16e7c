#include "app/cli/commandline.h"
#include "app/cli/console.h"
#include "app/cli/download.h"
#include "app/cli/export.h"
#include "app/cli/log.h"
#include "app/cli/ports.h"
#include "app/cli/recover.h"
#include "app/frmmain.h"
#include "app/maincommands.h"
#include "app/messageprompts.h"
#include "app/services.h"
#include "app/startup.h"
#include "platform/awake.h"
#include "platform/endsignals.h"
#include "platform/singleinstance.h"
#include "platform/terminal.h"
#include "resources/housestyle.h"
#include "resources/icons.h"
#include "resources/strings.h"

#include <QApplication>

#include <cstdlib>
#include <utility>

#ifdef Q_OS_WIN
#include <windows.h>
#endif

namespace {

/// At once, whatever still runs. On Windows also past the ends of the libraries: the system takes the threads
/// away before, and for the lock that one of them held, even if it was just ending, theirs would wait for
/// ever.
[[noreturn]] void EndProcess(int code)
{
#ifdef Q_OS_WIN
    TerminateProcess(GetCurrentProcess(), static_cast<UINT>(code));
#endif
    std::_Exit(code);
}

int Run(int argc, char *argv[])
{
    using namespace px40;

#ifdef Q_OS_WIN
    // A thread that has looked for such a pattern frees this library's memory twice at its end with our
    // compiler.
    qputenv("QT_ENABLE_REGEXP_JIT", "0");
#endif
    KeepStandardStreams();
    // Without QApplication: help, errors and jobs without a window must work without a display.
    QApplication::setApplicationName(Text(Str::ApplicationTitle));
    Result<CommandLine> parsed;
    {
        const QCoreApplication parsing(argc, argv);
        parsed = ParseCommandLine(QCoreApplication::arguments());
    }
    if (!parsed) {
        TellStarter(parsed.error().text + u'\n' + Text(Str::UnusableCommandLine), true);
        return ExitWrongOptions;
    }
    const CommandLine &line = *parsed;
    if (!line.answer.isEmpty()) {
        TellStarter(line.answer.trimmed(), false);
        return ExitDone;
    }
    for (const auto &[asked, run] :
         {std::pair(!line.downloadTo.isEmpty(), &RunDownload),
          std::pair(!line.exportFrom.isEmpty(), &RunExport), std::pair(!line.logTo.isEmpty(), &RunLog),
          std::pair(line.recover, &RunRecover)}) {
        if (asked) {
            const QCoreApplication application(argc, argv);
            return run(line);
        }
    }

    LeaveConsole();
    QApplication application(argc, argv);
    QApplication::setStyle(new HouseStyle);
    QApplication::setWindowIcon(ApplicationIcon());
    QApplication::setDesktopFileName(QStringLiteral("px40ap"));
    QApplication::setQuitOnLastWindowClosed(false);

    SingleInstance instance(QStringLiteral("px40ap"));
    if (!instance.Acquire())
        return ExitDone;

    MessagePrompts prompts;
    const Paths paths = PathsFor(line.dataFolder);
    Services services(StoreFor(paths), paths, prompts);
    TakePorts(line, services);

    Awake awake;
    services.awake = &awake;
    frmMain window(services);
    QObject::connect(&window, &frmMain::left, &application, &QApplication::quit);

    // The system wants the program to end: nobody can be asked, and nothing is waited for in vain.
    MainCommands &commands = window.Commands();
    const EndSignals signals;
    QObject::connect(&signals, &EndSignals::asked, &commands, &MainCommands::LeaveNow);
    QObject::connect(&application, &QGuiApplication::commitDataRequest, &commands, &MainCommands::LeaveNow);
    const auto awaitDisk = [&services, &commands] {
        return services.journals.WaitForDisk(commands.MsToLeave());
    };
    QObject::connect(&commands, &MainCommands::overdue, &commands, [&awaitDisk] {
        awaitDisk();
        EndProcess(ExitDone);
    });

    services.jobs.Launch(RunStartup(&services, &window, line.splash, line.files), "start-up");
    const int code = QApplication::exec();
    if (!awaitDisk())
        EndProcess(code); // it hangs
    return code;
}

} // namespace

int main(int argc, char *argv[])
{
    const int code = Run(argc, argv);
#ifdef Q_OS_WIN
    px40::AwaitTold();
    EndProcess(code);
#else
    return code;
#endif
}
