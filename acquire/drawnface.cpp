#include "acquire/drawnface.h"

#include <QPainter>

namespace px40 {

void DrawnFace::SetDrawing(const QIcon &drawing)
{
    drawing_ = drawing;
    update();
}

void DrawnFace::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    drawing_.paint(&painter, rect());
}

} // namespace px40
