#pragma once

#include <QFile>
#include <QString>

namespace px40 {

/// The file that a name leads to through symbolic links, as an absolute name; it need not exist.
QString RealName(const QString &name);

/// By what a file is known again: another content comes with another print.
struct FilePrint
{
    qint64 size = -1; ///< -1: there is no such file
    qint64 time = 0;
    quint64 number = 0; ///< of the file in its file system, where it has one

    bool operator==(const FilePrint &) const = default;
};

FilePrint PrintOf(const QString &name);

/// Names in that folder, with letters for "XXXXXX", for what `Replacement::Sweep` removes if it is left
/// there.
QString NeighbourTemplate(const QString &folder);

/// A file that is to take the place of another, or to be a new one: written as a temporary neighbour, which
/// is gone when this goes, unless it has taken its place.
class Replacement
{
  public:
    /// `name`: a real name, see `RealName`.
    explicit Replacement(const QString &name);
    ~Replacement();
    Replacement(const Replacement &) = delete;
    Replacement &operator=(const Replacement &) = delete;

    /// Makes the neighbour. This and the others: false with the reason in `ErrorText`.
    bool Open();

    /// At most 256 kB wait to be written.
    bool Write(const char *bytes, qint64 size);
    bool Seek(qint64 to);
    qint64 Position() const { return at_ + waiting_.size(); }
    qint64 Size() const;

    /// Everything is on the disk, with the mode bits of the file that it is to replace.
    bool Finish();

    /// `mayReplace`: else nothing that is there is replaced, not even what came this very moment.
    bool TakePlace(bool mayReplace);

    QString ErrorText() const { return error_; }

    /// Removes the neighbours of that file which a program that is gone has left there.
    static void Sweep(const QString &name);

  private:
    bool Flush();
    bool Fail(const QString &reason);

    QString name_;
    QFile file_;
    QByteArray waiting_;
    qint64 at_ = 0;   ///< where the waiting bytes go
    qint64 size_ = 0; ///< without them
    QString error_;
};

} // namespace px40
