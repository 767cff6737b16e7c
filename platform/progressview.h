#pragma once

#include <QString>

namespace px40 {

/// The progress and cancel dialog as a long operation sees it.
///
/// The operation shows it, sets caption and message, moves the bar and unloads it; a press on Cancel comes
/// back only through the flags of the link state.
class ProgressView
{
  public:
    virtual ~ProgressView() = default;

    virtual void Show() = 0;
    virtual void SetCaption(const QString &caption) = 0;
    virtual void SetMessage(const QString &message) = 0;

    /// Moves the bar to `current` of `total`; with `throttle` only at multiples of a step that grows with
    /// the total. Does nothing when either number is 0.
    virtual void RenProgress(bool throttle, int current, int total) = 0;

    virtual void DisableCancel() = 0;
    virtual void Unload() = 0;
};

} // namespace px40
