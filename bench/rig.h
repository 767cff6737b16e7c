#pragma once

#include "link/comm.h"
#include "link/linkgate.h"
#include "link/linkstate.h"
#include "platform/portmap.h"
#include "platform/progressview.h"
#include "platform/prompts.h"
#include "platform/userstore.h"
#include "simulator/ptyserver.h"

#include <QCoreApplication>
#include <QCoro/QCoroTask>
#include <QEventLoop>
#include <QTemporaryDir>

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace px40::bench {

/// Nobody sits at a benchmark: what would have been shown goes to the standard error stream.
class LoggedPrompts : public Prompts
{
  public:
    QCoro::Task<void> Warn(QString text) override;
    QCoro::Task<Answer> AskYesNoCancel(QString text, PromptIcon icon) override;
    QCoro::Task<int> AskOneOf(QString text, QStringList choices) override;
    QCoro::Task<QString> AskOpenFile(QString, QString) override { co_return QString(); }
    QCoro::Task<QString> AskSaveFile(QString, QString, QString) override { co_return QString(); }
    void DismissAll() override {}
};

class NoProgress : public ProgressView
{
  public:
    void Show() override {}
    void SetCaption(const QString &) override {}
    void SetMessage(const QString &) override {}
    void RenProgress(bool, int, int) override {}
    void DisableCancel() override {}
    void Unload() override {}
};

/// The program's link on a device.
class PortRig
{
  public:
    explicit PortRig(const std::string &device);
    PortRig(const PortRig &) = delete;
    PortRig &operator=(const PortRig &) = delete;

    /// False when the port does not open; then the reason has been printed.
    bool Open();

    QTemporaryDir folder;
    LoggedPrompts prompts;
    UserStore store;
    PortMap ports;
    LinkState state;
    LinkGate gate{state};
    Comm comm;
};

struct ServerHolder
{
    sim::PtyServer server;
};

/// The program's link on a pseudo-terminal, at whose other end stands the simulated instrument, which
/// outlives it.
class LinkRig : public ServerHolder, public PortRig
{
  public:
    explicit LinkRig(sim::ServerOptions options);
};

template <typename T>
QCoro::Task<void> KeepResult(QCoro::Task<T> task, std::shared_ptr<std::optional<T>> into)
{
    const T result = co_await task;
    *into = result;
}

/// Runs the event loop until the task is done, and returns its result.
template <typename T>
T Finish(QCoro::Task<T> task)
{
    const auto result = std::make_shared<std::optional<T>>();
    KeepResult(std::move(task), result);
    while (!result->has_value())
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    return **result;
}

/// Of an even number of values the mean of the middle two; 0 of none.
double Median(std::vector<double> values);

/// Runs the benchmarks that the command line asks for.
int RunBenchmarks(int argc, char **argv);

} // namespace px40::bench
