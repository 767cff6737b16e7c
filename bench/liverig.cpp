#include "bench/liverig.h"

#include "acquire/frmmoniter.h"
#include "acquire/measuredisplay.h"

#include <QLabel>

#include <utility>

namespace px40::bench {

LiveRig::LiveRig(sim::ServerOptions options)
    : link(std::move(options)),
      check_(link.state, link.gate, link.comm, link.prompts, instrument_, ranges_, checkTimer_, *this),
      realtime_(
          {link.state, link.gate, link.comm, link.prompts, set.jobs, clock_, instrument_, tmRealtime_, *this})
{
}

LiveRig::~LiveRig() = default;

void LiveRig::ShowMoniter()
{
    const MoniterServices services = {&link.state, &link.gate,  &link.comm,
                                      &set.jobs,   &link.store, &instrument_};
    moniter_ = std::make_unique<frmMoniter>(services);
    moniter_->show();
    Settle();
}

QLabel *LiveRig::Reading() const
{
    return moniter_->findChild<QLabel *>(QStringLiteral("llValue"));
}

bool LiveRig::Check()
{
    return Finish(check_.CheckStatus());
}

void LiveRig::Start()
{
    const QString none = QStringLiteral("00");
    const QString one = QStringLiteral("01");
    set.data->OpenNew(KindRealtime);
    set.data->SetInterval({none, none, none, one});
    set.data->SetPeriod(false, {one, none, none, none});
    set.jobs.Launch(realtime_.StartRealtime(set.data, false), "start");
    FinishJobs();
}

bool LiveRig::PassSecond()
{
    clock_.Advance(1000);
    Q_EMIT tmRealtime_.tick();
    FinishJobs();
    QCoreApplication::processEvents(); // what is still to be painted
    return link.state.RealtimeRun;
}

void LiveRig::ShowMeasure(const MeasureDisplay &display)
{
    moniter_->Show(display);
}

QCoro::Task<void> LiveRig::ShowStored()
{
    co_await check_.CheckStatus();
}

void LiveRig::FinishJobs() const
{
    while (set.jobs.Running() > 0)
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
}

} // namespace px40::bench
