#pragma once

#include <QByteArray>
#include <QString>

#ifdef Q_OS_UNIX
#include <sys/resource.h>
#endif

namespace px40 {

/// Writes the file anew.
bool Put(const QString &name, const QByteArray &bytes);

/// What a file holds; empty when it cannot be read.
QByteArray Contents(const QString &name);

/// A data file with three samples, the second without a reading, of which the graph shows two. `kind` and
/// `shape` are its first two lines.
QByteArray SampleFile(const char *kind = "2", const char *shape = "9600,5400,0");

#ifdef Q_OS_UNIX
/// While it lives no file grows beyond that size, as on a disk that is full.
class FullDisk
{
  public:
    explicit FullDisk(rlim_t bytes);
    ~FullDisk();
    FullDisk(const FullDisk &) = delete;
    FullDisk &operator=(const FullDisk &) = delete;

  private:
    rlimit before_{};
    void (*handler_)(int);
};
#endif

} // namespace px40
