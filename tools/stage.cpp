#include "tools/stage.h"

#include <QMdiArea>
#include <QMenu>

namespace px40 {

void Stage::StartUp(const QPoint &sourcePlace)
{
    OperatedProgram::StartUp();
    Source()->move(sourcePlace);
}

void Stage::SideBySide()
{
    const QList<frmData *> windows = DataWindows();
    const QRect room = Find<QMdiArea>("workspace")->viewport()->rect();
    const QRect half(room.topLeft(), QSize(room.width() / 2, room.height()));
    windows.first()->setGeometry(half);
    windows.last()->setGeometry(half.translated(half.width(), 0));
}

void Stage::Take(const char *name, const Widgets &inFront)
{
    TakeOnly(QString::fromLatin1(name), Widgets{window.get()} + inFront);
}

void Stage::TakeAll(const char *name, const Widgets &inFront)
{
    Widgets live = {Moniter(), Source()};
    live.removeAll(nullptr);
    Take(name, live + inFront);
}

void Stage::TakeMenu(const char *picture, const char *name)
{
    QMenu *const menu = OpenMenu(name);
    Take(picture, {menu});
    CloseMenu(menu);
}

} // namespace px40
