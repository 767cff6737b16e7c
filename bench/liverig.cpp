#include "bench/liverig.h"

#include "acquire/frmmoniter.h"
#include "acquire/measuredisplay.h"
#include "source/frmsource.h"

#include <QLabel>

#include <utility>

namespace px40::bench {

LiveRig::LiveRig(sim::ServerOptions options)
    : px40::LiveRig(Comm::DefaultReplyTimeoutMs, std::move(options)), sourceCommands_(link)
{
    QObject::connect(&instrument, &InstrumentState::statusReceived, [this] { ShowStatus(); });
}

LiveRig::~LiveRig() = default;

void LiveRig::ShowWindows()
{
    moniter_ = std::make_unique<frmMoniter>(link, store);
    moniter_->show();
    instrument.Status.SourceMode = 5; // in which the opening of the window sends nothing
    source_ = std::make_unique<frmSource>(sourceCommands_, ranges_, store);
    source_->show();
    Settle();
}

QLabel *LiveRig::Reading() const
{
    return moniter_->findChild<QLabel *>(QStringLiteral("llValue"));
}

void LiveRig::Start()
{
    const QString none = QStringLiteral("00");
    const QString one = QStringLiteral("01");
    set.data->OpenNew(KindRealtime);
    set.data->SetInterval({none, none, none, one});
    set.data->SetPeriod(false, {one, none, none, none});
    px40::LiveRig::Start(set.data);
}

bool LiveRig::PassSecond()
{
    Pass(1000);
    QCoreApplication::processEvents(); // what is still to be painted
    return state.RealtimeRun;
}

void LiveRig::ShowStatus()
{
    shown.clear(); // nothing is kept of it
    if (!moniter_)
        return;
    moniter_->Show(ShowMeasure(instrument.Status, ranges_));
    source_->Show(ShowSource(instrument.Status, ranges_, false));
}

} // namespace px40::bench
