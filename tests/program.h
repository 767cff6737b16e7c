#pragma once

#include "app/frmmain.h"
#include "app/services.h"
#include "app/startup.h"
#include "document/frmdata.h"
#include "tests/support.h"

#include <QAction>
#include <QDialog>
#include <QLabel>
#include <QPushButton>

#include <memory>

namespace px40 {

/// The whole program but for `main`, on a simulated instrument of which the test holds the other end.
struct Program
{
    static constexpr int ReplyTimeoutMs = 200;

    explicit Program(Prompts &prompts, sim::ServerOptions options = LinkRig::Unpaced(),
                     const Clock *clock = nullptr)
        : server(Named(std::move(options), folder)),
          services(UserStore::InFile(folder.filePath(QStringLiteral("user.ini"))), PathsIn(folder.path()),
                   prompts, ReplyTimeoutMs, clock)
    {
        services.ports.Fix(1, folder.filePath(QStringLiteral("px40")));
        window = std::make_unique<frmMain>(services);
        QObject::connect(window.get(), &frmMain::left, window.get(), [this] { hasLeft = true; });
    }

    ~Program()
    {
        // The way out is the user's, so that nothing waits when the window goes.
        services.state.LinkActivity = ActivityIdle;
        services.state.RealtimeRun = false;
        for (frmData *const data : window->findChildren<frmData *>())
            data->Data()->MarkSaved();
        window->close();
        QTRY_VERIFY(hasLeft);
    }

    void StartUp()
    {
        services.jobs.Launch(RunStartup(&services, window.get(), false), "start-up");
        QTRY_VERIFY(services.comm.IsOpen());
        QVERIFY(NoJobLeft());
    }

    bool NoJobLeft() const
    {
        return WaitUntil([this] { return services.jobs.Running() == 0; });
    }

    template <typename T = QWidget>
    T *Find(const char *name) const
    {
        return window->findChild<T *>(QString::fromLatin1(name));
    }

    QAction *Action(const char *name) const { return Find<QAction>(name); }
    QDialog *Cancel() const { return Find<QDialog>("frmCancel"); }
    QString Message() const { return Find<QLabel>("Msg")->text(); }
    QList<frmData *> DataWindows() const { return window->findChildren<frmData *>(); }

    QTemporaryDir folder;
    sim::PtyServer server;
    Services services;
    std::unique_ptr<frmMain> window;
    bool hasLeft = false;
};

inline void SetFault(sim::PtyServer &server, const char *text)
{
    sim::Faults faults;
    QVERIFY(sim::ApplyFault(text, faults, nullptr));
    server.SetFaults(faults);
}

/// Asks for the stored readings, not to be forwarded, and waits for the progress dialog.
inline void StartDownload(const Program &program, ScriptedPrompts &prompts, const char *action = "Mdata")
{
    prompts.answers = {Answer::No};
    program.Action(action)->trigger();
    QVERIFY(WaitUntil([&] { return prompts.answers.empty() && program.Cancel()->isVisible(); }));
}

inline void Press(QWidget *parent, const char *button)
{
    auto *const widget = parent->findChild<QPushButton *>(QString::fromLatin1(button));
    QVERIFY(widget);
    QTest::mouseClick(widget, Qt::LeftButton);
}

} // namespace px40
