#pragma once

#include <QCoro/QCoroTask>
#include <QString>

#include <functional>

namespace px40 {

/// Shows the user a text in a box; done when it is closed. For a procedure that goes on afterwards.
using Tell = std::function<QCoro::Task<void>(QString text)>;

} // namespace px40
