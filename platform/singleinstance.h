#pragma once

#include <QLockFile>
#include <QString>

#include <memory>

namespace px40 {

/// Tells whether another copy runs for this user. A lock that a crashed copy left behind does not count.
/// Keep the object for the life of the program: the lock goes with it. On Windows it is a mutex, which the
/// system takes away with the process: the number of one that was killed is soon that of another one.
class SingleInstance
{
  public:
    /// `name` tells programs apart; it becomes part of a file name in the user's run-time folder, or of a
    /// mutex.
    explicit SingleInstance(const QString &name);

    /// True when this is the only copy. Without a place for the lock the program runs unguarded.
    bool Acquire();

  private:
#ifdef Q_OS_WIN
    QString name_;
    std::shared_ptr<void> mutex_;
#else
    QLockFile lock_;
#endif
};

} // namespace px40
