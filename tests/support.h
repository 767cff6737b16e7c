#pragma once

#include "link/comm.h"
#include "link/linkgate.h"
#include "link/linkstate.h"
#include "platform/jobs.h"
#include "platform/portmap.h"
#include "platform/progressview.h"
#include "platform/prompts.h"
#include "platform/userstore.h"
#include "simulator/ptyserver.h"

#include <QCoro/QCoroTask>
#include <QStringList>
#include <QTemporaryDir>
#include <QTest>

#include <deque>
#include <functional>
#include <memory>
#include <optional>

#ifdef Q_OS_UNIX
#include <sys/resource.h>
#endif

namespace px40 {

/// Answers from a script and keeps what was shown.
class ScriptedPrompts : public Prompts
{
  public:
    QCoro::Task<void> Warn(QString text) override;
    QCoro::Task<Answer> AskYesNoCancel(QString text, PromptIcon icon) override;
    QCoro::Task<int> AskOneOf(QString text, QStringList options) override;
    QCoro::Task<QString> AskOpenFile(QString filter, QString preferred) override;
    QCoro::Task<QString> AskSaveFile(QString name, QString filter, QString suffix) override;
    void DismissAll() override { ++dismissals; }

    QStringList warnings;
    QStringList questions;
    QStringList fileQuestions;    ///< "open:FILTER" and "save:NAME:FILTER:SUFFIX"
    std::function<void()> onWarn; ///< called while the box is up
    std::deque<Answer> answers;   ///< Cancel when there is none left
    std::deque<int> choices;      ///< which of several buttons; the last one when there is none left
    std::deque<QString> files;    ///< answers to both file questions; cancelled when there is none left
    int dismissals = 0;

  private:
    QCoro::Task<QString> AnswerFile(QString question);
};

class RecordedProgress : public ProgressView
{
  public:
    void Show() override { shown = true; }
    void SetCaption(const QString &text) override { caption = text; }
    void SetMessage(const QString &text) override { message = text; }
    void RenProgress(bool throttle, int current, int total) override;
    void DisableCancel() override { cancelDisabled = true; }
    void Unload() override { shown = false; }

    std::function<void(int)> onStep; ///< called with each position
    QString caption;
    QString message;
    QStringList steps;
    bool shown = false;
    bool cancelDisabled = false;
};

/// The options with a lasting name for the device, below `folder`.
sim::ServerOptions Named(sim::ServerOptions options, const QTemporaryDir &folder);

/// The link on a real pseudo-terminal, at whose other end stands the simulated instrument.
class LinkRig
{
  public:
    /// Short enough for a test of silent attempts, long enough for a loaded machine to answer in.
    static constexpr int ReplyTimeoutMs = 150;

    explicit LinkRig(sim::ServerOptions options = Unpaced(), int replyTimeoutMs = ReplyTimeoutMs);

    static sim::ServerOptions Unpaced();
    /// A name that stays when the instrument is unplugged and plugged in again.
    QString Device() const { return folder.filePath(u"px40"_qs); }
    /// Sets one fault of the instrument by its name.
    void Fault(const char *text);
    /// Opens the port; the test fails when that does.
    void Open();
    QStringList Commands() const;
    /// What the instrument answers to a command that changes nothing.
    QString Expected(const QString &command);

    QTemporaryDir folder;
    sim::PtyServer server;
    ScriptedPrompts prompts;
    UserStore store;
    PortMap ports;
    LinkState state;
    LinkGate gate{state};
    Jobs jobs;
    Comm comm;
};

/// What a file holds; empty when it cannot be read.
QByteArray Contents(const QString &name);

/// A data file with three samples, the second without a reading, of which the graph shows two. `kind` and
/// `shape` are its first two lines.
QByteArray SampleFile(const char *kind = "2", const char *shape = "9600,5400,0");

#ifdef Q_OS_UNIX
/// While it lives no file grows beyond that size, as on a disk that is full.
class FullDisk
{
  public:
    explicit FullDisk(rlim_t bytes);
    ~FullDisk();
    FullDisk(const FullDisk &) = delete;
    FullDisk &operator=(const FullDisk &) = delete;

  private:
    rlimit before_{};
    void (*handler_)(int);
};
#endif

/// Handles events as they come until `done` holds; false when it does not in time. Unlike the waiting macros
/// it never sleeps between two looks.
bool WaitUntil(const std::function<bool()> &done, int timeoutMs = 20000);

template <typename T>
QCoro::Task<void> KeepResult(QCoro::Task<T> task, std::shared_ptr<std::optional<T>> into)
{
    const T result = co_await task;
    *into = result;
}

/// A task under way whose result can be looked at.
template <typename T>
class Running
{
  public:
    explicit Running(QCoro::Task<T> task) : result_(std::make_shared<std::optional<T>>())
    {
        KeepResult(std::move(task), result_);
    }

    bool Done() const { return result_->has_value(); }
    T Value() const { return **result_; }

    /// Waits for the end; false when it does not come.
    bool Finish() const
    {
        return WaitUntil([this] { return Done(); });
    }

  private:
    std::shared_ptr<std::optional<T>> result_;
};

} // namespace px40
