#include "testing/program.h"

#include "app/startup.h"
#include "testing/files.h"

#include <QLabel>
#include <QMdiArea>
#include <QPushButton>
#include <QTest>

namespace px40 {

Program::Program(Prompts &prompts, sim::ServerOptions options, const Clock *clock, Port port,
                 int replyTimeoutMs)
    : InstrumentRig(std::move(options)),
      services(UserStore::InFile(folder.filePath(QStringLiteral("user.ini"))), PathsIn(folder.path()),
               prompts, replyTimeoutMs, clock)
{
    services.simulated = port == Port::Simulated;
    if (port != Port::Unassigned || !PortMap::CanAssign())
        FixOn(services.ports);
    // Where numbers are the system's own there is none to begin with but that of a device that is not there.
    if (port == Port::Unassigned && !PortMap::CanAssign())
        Put(services.settings.GetPaths().IniPath, QByteArray::number(NoPort));
    window = std::make_unique<frmMain>(services);
    QObject::connect(window.get(), &frmMain::left, window.get(), [this] { hasLeft = true; });
}

Program::~Program()
{
    // The way out is the user's, so that nothing waits when the window goes.
    for (frmData *const data : DataWindows())
        data->Data()->MarkSaved();
    window->close();
    QTRY_VERIFY(hasLeft);
}

void Program::Begin(bool splash)
{
    services.jobs.Launch(RunStartup(&services, window.get(), splash), "start-up");
}

void Program::StartUp()
{
    Begin(false);
    Await([this] { return services.comm.IsOpen(); }, QStringLiteral("The program does not start."));
    Require(NoJobLeft(), QStringLiteral("The start of the program does not end."));
}

QList<frmData *> Program::DataWindows() const
{
    QList<frmData *> windows;
    const auto all = Find<QMdiArea>("workspace")->subWindowList(QMdiArea::CreationOrder);
    for (QMdiSubWindow *const one : all)
        windows << qobject_cast<frmData *>(one);
    return windows;
}

QString Program::Message() const
{
    return Find<QLabel>("Msg")->text();
}

void ScriptedProgram::StartDownload(const char *action)
{
    prompts.answers = {Answer::No};
    Action(action)->trigger();
    Await([this] { return prompts.answers.empty() && Cancel()->isVisible(); },
          QStringLiteral("The download does not begin."));
}

void Press(QWidget *parent, const char *button)
{
    auto *const widget = parent->findChild<QPushButton *>(QString::fromLatin1(button));
    Require(widget, QStringLiteral("There is no such button."));
    QTest::mouseClick(widget, Qt::LeftButton);
}

} // namespace px40
