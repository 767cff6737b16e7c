#pragma once

#include "platform/result.h"

#include <QString>

class QIODevice;

namespace px40 {

/// Hides a file where files have attributes for that, or takes all of these from it: hidden, read-only and
/// system. Elsewhere nothing is done.
void SetHidden(const QString &name, bool hidden);

/// Writes all the bytes. A write that took only some of them, which is how a full disk shows first, is taken
/// up again, so that the reason comes out.
Result<> WriteBytes(QIODevice &to, const char *bytes, qint64 size);

/// Copies what is left of one open device to another, block by block; neither is changed otherwise. Fails
/// with `FailureCode::Unreadable` where it is the reading.
Result<> CopyBytes(QIODevice &from, QIODevice &to);

} // namespace px40
