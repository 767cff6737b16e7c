#pragma once

#include <QIcon>
#include <QWidget>

namespace px40 {

/// A drawing that fills its place, sharp on any screen.
class DrawnFace : public QWidget
{
  public:
    using QWidget::QWidget;

    void SetDrawing(const QIcon &drawing);

  protected:
    void paintEvent(QPaintEvent *event) override;

  private:
    QIcon drawing_;
};

} // namespace px40
