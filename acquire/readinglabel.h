#pragma once

#include <QLabel>

namespace px40 {

/// Shows a reading at the right end of its place, or in its middle if it is aligned so, every digit in a cell
/// of its own, so that digits keep still while they change, whatever the font. What is too long for its
/// place is drawn smaller, never cut.
class ReadingLabel : public QLabel
{
  public:
    using QLabel::QLabel;

    /// How far below the label's top the base line of the characters is, in pixels.
    double Baseline() const;

  protected:
    void paintEvent(QPaintEvent *event) override;
};

} // namespace px40
