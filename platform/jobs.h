#pragma once

#include <QCoro/QCoroTask>

#include <functional>

namespace px40 {

/// Counts the procedures under way, so that the program leaves only when none is left.
///
/// A task that is dropped goes on running but its exception is lost; therefore every procedure that an
/// event starts is started here. Must outlive the jobs: leave through `WhenNone`.
class Jobs
{
  public:
    Jobs() = default;
    Jobs(const Jobs &) = delete;
    Jobs &operator=(const Jobs &) = delete;

    /// Takes over a task that has begun to run. `name` (a literal) appears in the log if it fails.
    void Launch(QCoro::Task<void> task, const char *name);

    int Running() const { return running_; }

    /// Calls `then` once, from the event loop, as soon as no job is running.
    void WhenNone(std::function<void()> then);

  private:
    QCoro::Task<void> Run(QCoro::Task<void> task, const char *name);
    void TellIfNone();

    int running_ = 0;
    std::function<void()> whenNone_;
};

} // namespace px40
