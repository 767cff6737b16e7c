#include "bench/liverig.h"

#include "acquire/frmmoniter.h"
#include "acquire/measuredisplay.h"
#include "source/frmsource.h"

#include <QLabel>

#include <utility>

namespace px40::bench {

LiveRig::LiveRig(sim::ServerOptions options)
    : link(std::move(options)),
      check_(link.state, link.gate, link.comm, link.prompts, instrument_, ranges_, checkTimer_, *this),
      realtime_({link.state, link.gate, link.comm, link.prompts, set.jobs, clock_, instrument_, tmRealtime_,
                 *this}),
      sourceCommands_(link.state, link.gate, link.comm, set.jobs, instrument_)
{
}

LiveRig::~LiveRig() = default;

void LiveRig::ShowWindows()
{
    const MoniterServices services = {&link.state, &link.gate,  &link.comm,
                                      &set.jobs,   &link.store, &instrument_};
    moniter_ = std::make_unique<frmMoniter>(services);
    moniter_->show();
    instrument_.Status.SourceMode = 5; // in which the opening of the window sends nothing
    const SourceServices sourceServices = {&link.state, &link.store, &ranges_, &sourceCommands_};
    source_ = std::make_unique<frmSource>(sourceServices);
    source_->show();
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

void LiveRig::ShowSourceStatus(const InstrumentStatus &status)
{
    source_->Show(ShowSource(status, ranges_, false));
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
