#include "app/commandline.h"
#include "app/demo.h"
#include "app/frmmain.h"
#include "app/messageprompts.h"
#include "app/services.h"
#include "app/startup.h"
#include "platform/singleinstance.h"
#include "resources/icons.h"
#include "resources/strings.h"

#include <QApplication>
#include <QDir>

#include <cstdio>

namespace {

void Print(std::FILE *stream, const QString &text)
{
    std::fputs(text.toLocal8Bit().constData(), stream);
}

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

    // Help, version and mistakes need no display.
    const QString title = Text(Str::ApplicationTitle);
    QApplication::setApplicationName(title);
    CommandLine line;
    {
        const QCoreApplication parsing(argc, argv);
        line = ParseCommandLine(Arguments(argc, argv));
    }
    if (!line.error.isEmpty()) {
        Print(stderr, line.error + u'\n' + Text(Str::UnusableCommandLine) + u'\n');
        return 2;
    }
    if (!line.answer.isEmpty()) {
        Print(stdout, line.answer);
        return 0;
    }

    QApplication application(argc, argv);
    QApplication::setWindowIcon(ApplicationIcon());
    QApplication::setQuitOnLastWindowClosed(false);

    SingleInstance instance(QStringLiteral("px40ap"));
    if (!instance.Acquire())
        return 0;

    if (!line.dataFolder.isEmpty() && !QDir().mkpath(line.dataFolder)) {
        Print(stderr, QStringLiteral("The folder \"%1\" cannot be made.\n").arg(line.dataFolder));
        return 1;
    }
    const QString folder = line.dataFolder.isEmpty() ? ChooseDataFolder(QApplication::applicationDirPath())
                                                     : QDir(line.dataFolder).absolutePath();
    MessagePrompts prompts;
    Services services(UserStore(title), PathsIn(folder), prompts);
    std::unique_ptr<Demo> demo;
    for (const auto &[number, path] : line.portDevices)
        services.ports.Fix(number, path);
    if (line.demo) {
        QString error;
        demo = Demo::Start(services, &error);
        if (!demo) {
            Print(stderr, error + u'\n');
            return 1;
        }
    }

    frmMain window(services);
    QObject::connect(&window, &frmMain::left, &application, &QApplication::quit);
    services.jobs.Launch(RunStartup(&services, &window, line.splash), "start-up");
    return QApplication::exec();
}
