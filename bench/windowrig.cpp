#include "bench/windowrig.h"

#include "document/frmdata.h"

#include <QEvent>

#include <cstdio>
#include <malloc.h>
#include <unistd.h>

namespace px40::bench {

void SetRig::Show()
{
    area_ = std::make_unique<QMdiArea>();
    area_->resize(1000, 700);
    auto *const window = new frmData(data, {&state, &jobs, nullptr, nullptr});
    area_->addSubWindow(window); // which the area owns from here on
    area_->show();
    window->show();
    Settle();
}

QWidget *SetRig::Graph() const
{
    return area_->findChild<QWidget *>(QStringLiteral("chData"));
}

PaintCount::PaintCount(QWidget *widget)
{
    widget->installEventFilter(this);
}

bool PaintCount::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::Paint)
        ++count_;
    return QObject::eventFilter(watched, event);
}

void Settle()
{
    for (int i = 0; i < 20; ++i)
        QCoreApplication::processEvents();
}

std::size_t ResidentBytes()
{
    ::malloc_trim(0);
    std::FILE *const file = std::fopen("/proc/self/statm", "r");
    if (!file)
        return 0;
    unsigned long total = 0;
    unsigned long resident = 0;
    const int fields = std::fscanf(file, "%lu %lu", &total, &resident);
    std::fclose(file);
    return fields == 2 ? resident * static_cast<std::size_t>(::sysconf(_SC_PAGESIZE)) : 0;
}

} // namespace px40::bench
