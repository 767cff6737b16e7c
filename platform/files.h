#pragma once

#include <QString>

#include <functional>

class QFileDevice;
class QIODevice;

namespace px40 {

/// Gives a file the hidden attribute, where files have one; elsewhere nothing is done.
void SetHidden(const QString &name);

/// Takes all attributes (hidden, read-only, system) from a file, where files have them.
void ClearAttributes(const QString &name);

/// Writes all the bytes, or fails with the reason in `error`. A write that took only some of them, which is
/// how a full disk shows first, is taken up again, so that the reason comes out.
bool WriteBytes(QIODevice &to, const char *bytes, qint64 size, QString *error);

/// Copies what is left of one open device to another, block by block. False with the reason in `readError`
/// or `writeError`; neither is changed otherwise.
bool CopyBytes(QIODevice &from, QIODevice &to, QString *readError, QString *writeError);

/// Gives an open device all that it is to hold; false with the reason in `error`.
using WriteTo = std::function<bool(QIODevice &to, QString *error)>;

/// Puts what `write` writes in the place of the file `name`, or makes that anew: the bytes go into a
/// temporary neighbour first, so that whatever happens `name` holds either what it held or all of the new.
/// Leads through a link to what it names. False with the reason in `error`; without the right to write in the
/// folder that is so too.
bool ReplaceFile(const QString &name, const WriteTo &write, QString *error);

} // namespace px40
