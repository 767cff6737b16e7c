#pragma once

namespace px40 {

/// How often the progress bar is redrawn: only when `current` is a multiple of a step that grows with the
/// total, so that a long set does not redraw it for every row.
int ProgressStep(int total);

/// The bar's new value for `current` of `total`, rounded to the nearest whole number, halves to even; -1
/// when the bar stays as it is.
int ProgressValue(bool throttle, int current, int total, int maximum);

} // namespace px40
