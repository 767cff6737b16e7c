#pragma once

#include "app/frmmain.h"
#include "app/services.h"
#include "document/frmdata.h"
#include "testing/linkrig.h"

#include <QAction>
#include <QDialog>

#include <memory>

namespace px40 {

/// The whole program but for `main`, on a simulated instrument of which the test holds the other end. When
/// this goes the program is left, and lets unsaved readings go without a question.
struct Program : InstrumentRig
{
    static constexpr int ReplyTimeoutMs = 200;

    /// What stands behind port 1. If it is unassigned the program begins without a device.
    enum class Port { Assigned, Unassigned, Simulated };
    static constexpr int NoPort = 9; ///< a number that has no device on any computer with these tests

    explicit Program(Prompts &prompts, sim::ServerOptions options = Unpaced(), const Clock *clock = nullptr,
                     Port port = Port::Assigned, int replyTimeoutMs = ReplyTimeoutMs);
    ~Program();

    void Begin(bool splash);
    /// Starts the program; throws RigError when the port does not open.
    void StartUp();

    bool NoJobLeft() const
    {
        return WaitUntil([this] { return services.jobs.Running() == 0; });
    }

    /// The widget or action of that name; null when there is none.
    template <typename T = QWidget>
    T *Find(const char *name) const
    {
        return window->findChild<T *>(QString::fromLatin1(name));
    }

    QAction *Action(const char *name) const { return Find<QAction>(name); }
    /// Chooses that action; whether all that it has begun comes to an end.
    bool Do(const char *action) const
    {
        Action(action)->trigger();
        return NoJobLeft();
    }
    QDialog *Cancel() const { return Find<QDialog>("frmCancel"); }
    QString Message() const;
    /// In the order in which they were opened.
    QList<frmData *> DataWindows() const;

    Services services;
    std::unique_ptr<frmMain> window;
    bool hasLeft = false;
};

struct ProgramScript
{
    ScriptedPrompts prompts;
};

/// The same with answers from a script; not started as yet.
struct ScriptedProgram : ProgramScript, Program
{
    explicit ScriptedProgram(const Clock *clock = nullptr) : Program(prompts, Unpaced(), clock) {}

    /// Asks for the stored readings, not to be forwarded, and waits for the progress dialog.
    void StartDownload(const char *action = "Mdata");
};

struct StartedProgram : ScriptedProgram
{
    explicit StartedProgram(const Clock *clock = nullptr) : ScriptedProgram(clock) { StartUp(); }
};

void Press(QWidget *parent, const char *button);

} // namespace px40
