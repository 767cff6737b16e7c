#pragma once

#include <QCoro/QCoroTask>
#include <QString>

#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <utility>

namespace px40 {

/// What a rig throws when it cannot set up what it is for; `what` is one sentence in UTF-8. It leaves the
/// test function, so that nothing goes on upon half a rig. Qt Test names the test and the row as failed
/// ("Caught unhandled exception"), the sentence follows on the standard error stream, and the program of
/// tests ends.
class RigError : public std::runtime_error
{
  public:
    explicit RigError(const QString &sentence);
};

/// Throws RigError with that sentence unless `condition` holds.
inline void Require(bool condition, const QString &sentence)
{
    if (!condition)
        throw RigError(sentence);
}

/// Generous: a machine that is busy with other things is no fault of what is tested.
inline constexpr int PatienceMs = 20'000;

/// Handles events as they come until `done` holds; false when it does not in time. Unlike the waiting macros
/// of Qt Test it never sleeps between two looks.
bool WaitUntil(const std::function<bool()> &done, int timeoutMs = PatienceMs);

/// The same for what cannot be gone on without: throws RigError when it does not come.
inline void Await(const std::function<bool()> &done, const QString &sentence)
{
    Require(WaitUntil(done), sentence);
}

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

/// The result of a task that is waited for however long it takes.
template <typename T>
T Finish(QCoro::Task<T> task)
{
    static constexpr int Endless = std::numeric_limits<int>::max();
    const Running<T> running(std::move(task));
    WaitUntil([&] { return running.Done(); }, Endless);
    return running.Value();
}

} // namespace px40
