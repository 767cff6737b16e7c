// The main window's work with the instrument: stored readings, real-time receive, the MEASURE and SOURCE
// windows, the port.

#include "app/frmmain.h"

#include "acquire/frminterval.h"
#include "app/forwarding.h"
#include "app/frmport.h"
#include "app/live.h"
#include "app/mainactions.h"
#include "app/services.h"
#include "document/frmdata.h"
#include "platform/oneshot.h"
#include "platform/prompts.h"
#include "resources/strings.h"

namespace px40 {

QCoro::Task<void> frmMain::ReceiveStored(StoredData::Mode mode)
{
    // A question stands open, or this waits for the link already; or the windows are held by something else.
    if (downloadAsked_ || !MayClose(services_->state))
        co_return;
    downloadAsked_ = true;
    const Answer answer =
        co_await services_->prompts.AskYesNoCancel(Text(Str::AskForwardAfterReceive), PromptIcon::Question);
    bool wanted = answer != Answer::Cancel && !services_->leaving;
    std::optional<ForwardChoice> choice;
    if (wanted && answer == Answer::Yes) {
        choice = co_await forwarding_->Ask();
        wanted = choice.has_value();
    }
    if (wanted && LinkInUse(services_->state))
        ShowMessage(Text(Str::WaitingForLink));
    if (wanted)
        wanted = co_await services_->gate.WaitUntilFree();
    downloadAsked_ = false;
    if (wanted && !services_->state.RealtimeRun) // a run was started while this waited
        co_await ReceiveAndForward(mode, choice);
}

/// The link is free.
QCoro::Task<void> frmMain::ReceiveAndForward(StoredData::Mode mode, std::optional<ForwardChoice> choice)
{
    const bool readings = mode == StoredData::Mode::Memory;
    if (readings)
        services_->shared.MemoryNumbers = true;
    const std::shared_ptr<DataSet> dataSet = NewDataWindow(readings ? KindMemory : KindSave);
    ShowMessage(QString());
    const bool complete = co_await storedData_.Receive(mode, dataSet);
    // A lost line counts more than what came over it.
    ShowMessage(!complete && services_->comm.IsLost() ? FirstLine(Text(Str::PortLost))
                                                      : ReceivedText(mode, complete, *dataSet));
    RefreshCommands();
    if (complete && choice && (!readings || dataSet->GetDatacount() > 0))
        co_await forwarding_->Forward(dataSet, *choice);
}

QString frmMain::ReceivedText(StoredData::Mode mode, bool complete, const DataSet &dataSet) const
{
    if (mode == StoredData::Mode::Save) {
        const int records = storedData_.Records();
        return complete && records == 0
                   ? Text(Str::SaveModeNone)
                   : Text(complete ? Str::SaveModeReceived : Str::SaveModeEnded).arg(records);
    }
    const int unreadable = dataSet.UnreadableCount();
    if (complete && unreadable > 0)
        return Text(Str::MemoryUnreadable).arg(dataSet.GetDatacount()).arg(unreadable);
    return Text(complete ? Str::MemoryReceived : Str::MemoryEnded).arg(dataSet.GetDatacount());
}

QCoro::Task<void> frmMain::ForwardActive()
{
    if (services_->state.RealtimeRun)
        ShowWarning(Text(Str::RunHoldsWindows)); // it needs the link and its cancel flag for itself
    else if (downloadAsked_ || live_->IsStarting())
        ShowWarning(Text(Str::WaitingForLink));
    const frmData *const active = ActiveData();
    if (!active || forwardAsked_ || downloadAsked_ || live_->IsStarting() || !MayClose(services_->state))
        co_return;
    const std::shared_ptr<DataSet> dataSet = active->Data();
    forwardAsked_ = true;
    const std::optional<ForwardChoice> choice = co_await forwarding_->Ask();
    if (choice)
        co_await forwarding_->Forward(dataSet, *choice);
    forwardAsked_ = false;
}

QCoro::Task<void> frmMain::RunPortDialog()
{
    auto *const dialog = new frmPort(*services_, tmCheckStat, this);
    const OneShot<bool> closed; // true: with a port
    connect(dialog, &QDialog::finished, dialog,
            [closed](int result) { closed.Complete(result == QDialog::Accepted); });
    connect(dialog, &QObject::destroyed, this, [closed] { closed.Complete(false); });
    dialog->open();
    const bool chosen = co_await closed;
    if (chosen && !services_->leaving)
        live_->PortChosen();
}

void frmMain::OpenLiveWindows()
{
    live_->OpenMoniter();
    live_->OpenSource();
}

void frmMain::ToggleMoniter()
{
    if (live_->IsMoniterOpen())
        live_->CloseMoniter();
    else
        live_->OpenMoniter();
    ShowLiveWindows(); // a click has turned the check mark, whatever came of it
}

void frmMain::ToggleSource()
{
    if (live_->IsSourceOpen())
        live_->CloseSource();
    else
        live_->OpenSource();
    ShowLiveWindows();
}

void frmMain::ShowLiveWindows()
{
    const auto check = [this](Command command, bool open) {
        actions_->Item(command)->setChecked(open);
        actions_->Button(command)->setChecked(open);
    };
    check(Command::ViewMoniter, live_->IsMoniterOpen());
    check(Command::ViewSource, live_->IsSourceOpen());
}

/// The button is there for every data window, but only a real-time one can run.
void frmMain::StartRealtime()
{
    const frmData *const active = ActiveData();
    if (active && DataKind(active->Data()->Kind()) == KindRealtime)
        services_->jobs.Launch(live_->Start(ActiveData()), "starting real-time receive");
    else
        ShowMessage(Text(Str::NeedsRealtime));
}

void frmMain::ShowIntervalSetup()
{
    if (const frmData *const active = ActiveData())
        (new frmInterval(active->Data(), services_->prompts, services_->jobs, this))->open();
}

} // namespace px40
