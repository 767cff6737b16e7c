#pragma once

#include <QString>

namespace px40 {

class Clock;

/// An absolute name for the functions of Windows itself, which take one of 260 characters and more, or of a
/// folder whose files may come to that, only in this form: with backslashes, and not to be interpreted.
QString NativeName(const QString &absolute);

/// Whether two names lead to the same file, however they are written: through links, from the current folder,
/// with "..", or in another case where the file system folds it. A file need not exist for it. An empty name
/// leads nowhere.
bool SameFile(const QString &one, const QString &other);

/// Whether data may be saved under that name: nothing is there, or a file that is not marked against writing.
/// On Windows that means neither read-only, hidden nor system; elsewhere that somebody, and this user, has
/// the permission to write.
bool MayBeWritten(const QString &name);

/// A name for a new file, without a folder, that every system can have: the title as far as a name can hold
/// it, or "PX40", then the local date and time, then the suffix, which is given without its dot.
QString ProposedName(const QString &title, const Clock &clock, const QString &suffix);

} // namespace px40
