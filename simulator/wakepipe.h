#pragma once

namespace px40::sim {

/// Wakes a thread out of poll(2): it polls `Reader()` and drains it, others call `Wake`.
class WakePipe
{
  public:
    /// Throws std::system_error when no descriptors are left.
    WakePipe();
    ~WakePipe();
    WakePipe(const WakePipe &) = delete;
    WakePipe &operator=(const WakePipe &) = delete;

    int Reader() const { return ends_[0]; }
    /// From any thread, and from signal handlers.
    void Wake() const noexcept;
    void Drain() const noexcept;

  private:
    int ends_[2] = {-1, -1};
};

} // namespace px40::sim
