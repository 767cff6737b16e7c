#pragma once

#include <QString>

#include <functional>

class QObject;

namespace px40 {

/// Shows a file in the program that the desktop has for it, which outlives this one. Where there is none, or
/// it does not start, `failed` is called later, unless `context` has gone by then.
void OpenByDesktop(const QString &file, QObject *context, const std::function<void()> &failed);

} // namespace px40
