#pragma once

#include "platform/oneshot.h"

#include <QCoro/QCoroTask>

#include <functional>

namespace px40 {

/// Done when the event loop has come round once: what waits in it, a key or a click, is handled first.
QCoro::Task<void> NextTurn();

/// Done after so many milliseconds.
QCoro::Task<void> Pause(int ms);

/// Does the work on another thread. Completed, from the event loop, when it has ended: true, or false when an
/// exception ended it. What the work uses must live until then, and nobody else may use it meanwhile.
OneShot<bool> RunElsewhere(std::function<void()> work);

} // namespace px40
