#pragma once

#include <QLabel>

namespace px40 {

/// A line of plain text that shows by "..." when there is more of it than fits.
class ElidedLabel : public QLabel
{
    Q_OBJECT

  public:
    using QLabel::QLabel;

  protected:
    void paintEvent(QPaintEvent *event) override;
};

} // namespace px40
