#pragma once

#include <QMdiArea>

class QPaintEvent;

namespace px40 {

/// The ground on which the data windows lie; while there is none it says how to get one.
class Workspace : public QMdiArea
{
    Q_OBJECT

  public:
    explicit Workspace(QWidget *parent = nullptr);

  protected:
    void paintEvent(QPaintEvent *event) override;
};

} // namespace px40
