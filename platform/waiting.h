#pragma once

#include "platform/oneshot.h"

#include <QCoro/QCoroTask>

#include <functional>

namespace px40 {

/// Done when the event loop has come round once: keys and clicks that wait in it are handled first.
QCoro::Task<void> NextEventLoopTurn();

/// Done after that many milliseconds.
QCoro::Task<void> Delay(int ms);

/// Runs `work` on a thread of the pool. Completed, from the event loop, when it has ended: true, or false
/// when it ended by an exception. What the work uses must live until then, and nobody else may use it
/// meanwhile.
OneShot<bool> RunInThread(std::function<void()> work);

} // namespace px40
