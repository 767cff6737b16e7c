#pragma once

#include <QLockFile>
#include <QString>

namespace px40 {

/// Tells whether another copy runs for this user. A lock that a crashed copy left behind does not count.
/// Keep the object for the life of the program: the lock goes with it.
class SingleInstance
{
  public:
    /// `name` tells programs apart; it becomes part of a file name in the user's run-time folder.
    explicit SingleInstance(const QString &name);

    /// True when this is the only copy. Without a place for the lock the program runs unguarded.
    bool Acquire();

  private:
    QLockFile lock_;
};

} // namespace px40
