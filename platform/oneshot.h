#pragma once

#include <QCoreApplication>

#include <coroutine>
#include <memory>
#include <optional>
#include <utility>

namespace px40 {

/// One value for one waiter: the only thing that a procedure of this program waits for.
///
/// A copy is another handle on the same value, so the waiting and the completing side each hold one and
/// neither needs to outlive the other. It is completed exactly once; later completions change nothing.
/// The waiter is resumed by the event loop, never from inside `Complete`, so whoever completes (a port that
/// has just read, a dialog that is about to close) has returned by then. A waiter that is never completed
/// stays suspended: every owner completes what it handed out before it goes.
template <typename T>
class OneShot
{
  public:
    OneShot() : state_(std::make_shared<State>()) {}

    /// Sets the value and wakes the waiter, if there is one. False when the value had been set before.
    bool Complete(T value) const
    {
        if (state_->value)
            return false;
        state_->value.emplace(std::move(value));
        if (state_->waiter) {
            const auto wake = [state = state_] { std::exchange(state->waiter, {}).resume(); };
            QMetaObject::invokeMethod(QCoreApplication::instance(), wake, Qt::QueuedConnection);
        }
        return true;
    }

    bool IsComplete() const { return state_->value.has_value(); }

    bool await_ready() const noexcept { return IsComplete(); }
    void await_suspend(std::coroutine_handle<> waiter) const noexcept { state_->waiter = waiter; }
    T await_resume() const { return *state_->value; }

  private:
    struct State
    {
        std::optional<T> value;
        std::coroutine_handle<> waiter;
    };

    std::shared_ptr<State> state_;
};

} // namespace px40
