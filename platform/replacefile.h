#pragma once

#include "platform/result.h"

#include <QFile>
#include <QString>

#include <functional>

namespace px40 {

/// The file that a name leads to through symbolic links, as an absolute name; it need not exist.
QString RealName(const QString &name);

/// Returns when the disk has what was written to a file.
Result<> SyncToDisk(QFile &file);

/// The same for the name of a new or renamed file, as far as the system has a way to do it.
void SyncName(const QString &file);

/// What tells one state of a file from another: new content comes with a new fingerprint.
struct FileFingerprint
{
    qint64 size = -1; ///< -1: there is no such file
    qint64 time = 0;
    quint64 number = 0; ///< of the file in its file system, where it has one

    bool operator==(const FileFingerprint &) const = default;
};

FileFingerprint FingerprintOf(const QString &name);

/// How files are renamed; tests put another one in.
struct Renaming
{
    /// Gives 0, or the system's number of the error. Without `mayReplace` no file is replaced, not even one
    /// that is created at this very moment, unless the file system has no way to ensure that.
    std::function<int(const QString &from, const QString &to, bool mayReplace)> rename;
    std::function<void(int milliseconds)> pause;

    static Renaming OfTheSystem();
};

/// A file that is to take the place of another, or to be a new one: written as a temporary file in the same
/// folder, which is removed on destruction unless it was renamed into place. So whatever happens, the name
/// stands for the old file or for the complete new one. Why not `QSaveFile`: it replaces a file that was
/// created meanwhile, does not say whether the disk has the bytes, and leaves its temporary file behind after
/// a crash.
class Replacement
{
  public:
    /// `name`: a real name, see `RealName`.
    explicit Replacement(const QString &name, Renaming renaming = Renaming::OfTheSystem());
    ~Replacement();
    Replacement(const Replacement &) = delete;
    Replacement &operator=(const Replacement &) = delete;

    /// Creates the temporary file.
    Result<> Open();

    /// The temporary file, to be written by `WriteBytes`: it has no buffer.
    QFile &File() { return file_; }

    /// The disk has every byte, and the file the owner and the permissions of the one that it is to replace.
    Result<> Finish();

    /// Waits a moment and tries again where somebody, a virus scanner or a program that copies files
    /// elsewhere, holds one of the two. Afterwards the folder is on the disk too.
    Result<> TakePlace(bool mayReplace);

    /// Removes temporary files that programs which have ended left beside the file of that name.
    static void Sweep(const QString &name);

  private:
    QString name_;
    QFile file_;
    Renaming renaming_;
};

/// Gives an open device all that it is to hold.
using WriteTo = std::function<Result<>(QIODevice &to)>;

/// Puts what `write` writes in the place of the file `name`, or creates it. Follows symbolic links. Nothing
/// is replaced without the right to write in the folder and to the file.
Result<> ReplaceContents(const QString &name, const WriteTo &write);

} // namespace px40
