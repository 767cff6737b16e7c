#pragma once

namespace px40 {

/// How often the progress bar is redrawn: only when `current` is a multiple of a step that grows with the
/// total, so that a long set does not redraw it for every row.
int ProgressStep(int total);

/// The bar's new value for `current` of `total`, rounded to the nearest whole number, halves to even; -1
/// when the bar stays as it is.
int ProgressValue(bool throttle, int current, int total, int maximum);

/// Where the parts of the progress dialog stand, in twips (1/1440 inch), inside its frame.
struct ProgressLayout
{
    int width = 0; ///< of the whole dialog, frame included
    int height = 0;
    int messageLeft = 0;
    int messageTop = 0;
    int barLeft = 0;
    int barTop = 0;
    int barWidth = 0;
    int cancelLeft = 0;
    int cancelTop = 0;
};

struct ProgressParts
{
    int messageWidth = 0;
    int messageHeight = 0;
    int barHeight = 0;
    int cancelWidth = 0;
    int cancelHeight = 0;
    int frameWidth = 0; ///< what the frame takes of the dialog's width, both sides together
};

ProgressLayout LayOutProgress(const ProgressParts &parts);

} // namespace px40
