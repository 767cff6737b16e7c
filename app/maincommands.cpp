#include "app/maincommands.h"

#include "app/mainviews.h"
#include "app/services.h"
#include "document/dataset.h"
#include "link/comm.h"
#include "link/reply.h"
#include "platform/awake.h"
#include "platform/prompts.h"
#include "resources/strings.h"

#include <QPointer>
#include <QScopedValueRollback>
#include <QTimer>

#include <algorithm>
#include <utility>

namespace px40 {

namespace {

// Within a second the program goes when the system wants that: as long as that for what is under way, and the
// rest for the disk. At other times the disk has longer, but not for ever.
constexpr int LongestWayOutMs = 500;
constexpr int LongestEndMs = 950;
constexpr int LongestQuitMs = 10000;

QString ReceivedText(StoredData::Mode mode, bool complete, int records, const DataSet &dataSet)
{
    if (mode == StoredData::Mode::Save) {
        return complete && records == 0
                   ? Text(Str::SaveModeNone)
                   : Counted(complete ? Str::SaveModeReceived : Str::SaveModeEnded, records);
    }
    const int unreadable = dataSet.UnreadableCount();
    if (complete && unreadable > 0)
        return Counted(Str::MemoryUnreadable, dataSet.GetDatacount()).arg(unreadable);
    return Counted(complete ? Str::MemoryReceived : Str::MemoryEnded, dataSet.GetDatacount());
}

} // namespace

MainCommands::MainCommands(Services &services, MainViews &views, ProgressView &progress, Timer &tmRealtime)
    : services_(&services), views_(&views), files_(services, views), forwarding_(services, views, progress),
      progress_(&progress),
      realtime_(services.link, services.clock, tmRealtime,
                [&services](const QString &text) { return services.prompts.Warn(text); })
{
    connect(&realtime_, &Realtime::runChanged, this, &MainCommands::RefreshRules);
    connect(&realtime_, &Realtime::progressed, this, &MainCommands::ShowRun);
    if (Awake *const awake = services.awake) {
        connect(&realtime_, &Realtime::runChanged, awake,
                [&services, awake] { awake->Keep(services.state.RealtimeRun, Text(Str::RunHolds)); });
        connect(awake, &Awake::refused, this, [&services](const QString &reason) {
            services.statusLine.Warn(Text(Str::MaySleep).arg(reason));
        });
    }
    realtime_.SetForward(&forwarding_.Rows());
}

void MainCommands::Run(Command command)
{
    Jobs &jobs = services_->jobs;
    const std::shared_ptr<DataSet> active = views_->ActiveData();
    switch (command) {
    case Command::FileOpen:
        jobs.Launch(files_.AskAndOpen(), "opening a file");
        break;
    case Command::FileSave:
        jobs.Launch(SaveActive(false), "saving");
        break;
    case Command::FileSaveAs:
        jobs.Launch(SaveActive(true), "saving under a new name");
        break;
    case Command::FileForward:
        jobs.Launch(ForwardActive(), "forwarding");
        break;
    case Command::RealtimeNew:
        services_->shared.MemoryNumbers = false;
        AddDataSet(KindRealtime);
        break;
    case Command::RealtimeStart:
        // The button is there for every data window, but only a real-time one can run.
        if (active && active->Kind() == KindRealtime)
            jobs.Launch(Start(active), "starting real-time receive");
        else
            services_->statusLine.Show(Text(Str::NeedsRealtime));
        break;
    case Command::RealtimeStop:
        realtime_.Stop();
        break;
    case Command::DataMemory:
        jobs.Launch(Receive(StoredData::Mode::Memory), "MEMORY-mode download");
        break;
    case Command::DataSave:
        jobs.Launch(Receive(StoredData::Mode::Save), "SAVE-mode download");
        break;
    default: // `frmMain` handles it
        break;
    }
}

Situation MainCommands::Now() const
{
    Situation situation;
    situation.linkActivity = services_->state.LinkActivity;
    situation.realtimeRun = services_->state.RealtimeRun;
    situation.anyDataWindow = !views_->DataSets().isEmpty();
    if (const std::shared_ptr<DataSet> active = views_->ActiveData())
        situation.activeKind = active->Kind();
    return situation;
}

void MainCommands::RefreshRules()
{
    Situation situation = Now();
    // A shortcut must not be disabled because the status check has the link at this moment.
    if (MayClose(services_->state))
        situation.linkActivity = ActivityIdle;
    rules_.Refresh(situation);
    Q_EMIT rulesChanged();
}

void MainCommands::OpenRealtimeMenu()
{
    rules_.OpenRealtimeMenu(Now());
    Q_EMIT rulesChanged();
}

void MainCommands::AllowReceiving(bool allowed)
{
    rules_.AllowReceiving(allowed);
    Q_EMIT rulesChanged();
}

std::shared_ptr<DataSet> MainCommands::AddDataSet(int kind)
{
    views_->ShowBusy(true);
    auto dataSet = std::make_shared<DataSet>(services_->shared);
    dataSet->OpenNew(kind);
    views_->AddDataWindow(dataSet, false);
    views_->ShowBusy(false);
    return dataSet;
}

QCoro::Task<void> MainCommands::SaveActive(bool underNewName)
{
    const std::shared_ptr<DataSet> dataSet = views_->ActiveData();
    if (dataSet)
        co_await files_.Save(dataSet, underNewName);
}

QCoro::Task<void> MainCommands::Receive(StoredData::Mode mode)
{
    // Not while another download is being prepared, nor during a run or a forwarding.
    if (receiving_ || !MayClose(services_->state))
        co_return;
    receiving_ = true;
    const Answer answer =
        co_await services_->prompts.AskYesNoCancel(Text(Str::AskForwardAfterReceive), PromptIcon::Question);
    bool wanted = answer != Answer::Cancel && !services_->leaving;
    std::optional<ForwardChoice> choice;
    if (wanted && answer == Answer::Yes) {
        choice = co_await forwarding_.Ask();
        wanted = choice.has_value();
    }
    if (wanted && LinkInUse(services_->state))
        services_->statusLine.Show(Text(Str::WaitingForLink));
    if (wanted)
        wanted = co_await services_->gate.WaitUntilFree();
    receiving_ = false;
    if (wanted && !services_->state.RealtimeRun) // a run may have been started meanwhile
        co_await ReceiveAndForward(mode, choice);
}

/// To be called when the link is free.
QCoro::Task<void> MainCommands::ReceiveAndForward(StoredData::Mode mode, std::optional<ForwardChoice> choice)
{
    const bool readings = mode == StoredData::Mode::Memory;
    if (readings)
        services_->shared.MemoryNumbers = true;
    const std::shared_ptr<DataSet> dataSet = AddDataSet(readings ? KindMemory : KindSave);
    services_->statusLine.Show(QString());
    const bool complete = co_await Download(mode, dataSet);
    RefreshRules();
    if (complete && choice && (!readings || dataSet->GetDatacount() > 0))
        co_await forwarding_.Forward(dataSet, *choice);
}

QCoro::Task<bool> MainCommands::Download(StoredData::Mode mode, std::shared_ptr<DataSet> dataSet)
{
    StoredData download(services_->link, *progress_, mode, dataSet);
    const Result<> received = co_await download.Receive();
    if (!received) {
        // After a cancel the first line is still that of the last failure, or empty.
        const bool cancelled = received.error().code == FailureCode::Cancelled;
        QString &error = services_->state.ErrorMessage;
        if (!cancelled)
            error = received.error().text;
        const QString kept = ReceivedText(mode, false, download.Records(), *dataSet);
        const QString text = !cancelled        ? error
                             : error.isEmpty() ? kept
                                               : error + QStringLiteral("\r\n") + kept;
        co_await services_->prompts.Warn(text);
    }
    // That the port was lost is more important than how much was received.
    services_->statusLine.Show(!received && services_->comm.IsLost()
                                   ? FirstLine(Text(Str::PortLost))
                                   : ReceivedText(mode, received.has_value(), download.Records(), *dataSet));
    co_return received.has_value();
}

QCoro::Task<void> MainCommands::ForwardActive()
{
    if (services_->state.RealtimeRun)
        services_->statusLine.Warn(Text(Str::RunHoldsWindows)); // a run needs the link and the cancel flag
    else if (receiving_ || starting_)
        services_->statusLine.Warn(Text(Str::WaitingForLink));
    const std::shared_ptr<DataSet> dataSet = views_->ActiveData();
    if (!dataSet || forwardingActive_ || receiving_ || starting_ || !MayClose(services_->state))
        co_return;
    const QScopedValueRollback<bool> forwarding(forwardingActive_, true);
    const std::optional<ForwardChoice> choice = co_await forwarding_.Ask();
    if (choice)
        co_await forwarding_.Forward(dataSet, *choice);
}

/// Opens the port if it is not open. If that fails, tells the user and gives false.
QCoro::Task<bool> MainCommands::EnsurePort()
{
    if (services_->comm.IsOpen())
        co_return true;
    const Result<> opened = services_->comm.OpenPort();
    if (!opened)
        co_await services_->prompts.Warn(opened.error().text);
    co_return opened.has_value();
}

QCoro::Task<void> MainCommands::Start(std::shared_ptr<DataSet> dataSet)
{
    if (starting_ || services_->state.RealtimeRun)
        co_return;
    if (forwarding_.Rows().IsClosing()) {
        services_->statusLine.Warn(Text(Str::ForwardWriting));
        co_return;
    }
    const Answer answer = co_await AskToStart();
    if (answer == Answer::Cancel || !views_->DataSets().contains(dataSet)) // the window was closed
        co_return;
    // The cable may have been pulled out while the questions were open.
    const bool open = co_await EnsurePort();
    if (open)
        co_await realtime_.StartRealtime(dataSet, answer == Answer::Yes);
}

/// Opens the port, asks whether to forward and where to, and waits for the link. Gives the answer about
/// forwarding, or Cancel if the run is not to begin.
QCoro::Task<Answer> MainCommands::AskToStart()
{
    const QScopedValueRollback<bool> starting(starting_, true);
    const bool open = co_await EnsurePort();
    if (!open)
        co_return Answer::Cancel;
    const Answer answer =
        co_await services_->prompts.AskYesNoCancel(Text(Str::AskForwardRealtime), PromptIcon::Question);
    bool wanted = answer != Answer::Cancel && !services_->leaving;
    if (wanted && answer == Answer::Yes)
        wanted = co_await forwarding_.AskForRun();
    if (wanted)
        wanted = co_await services_->gate.WaitUntilFree();
    co_return wanted ? answer : Answer::Cancel;
}

void MainCommands::ShowRun(const RunProgress &progress)
{
    if (progress.ended)
        services_->statusLine.Show(RunText(progress, forwarding_.TakeRunOutcome()));
    else
        services_->statusLine.ShowOfRun(RunText(progress));
}

void MainCommands::Leave()
{
    if (services_->state.RealtimeRun)
        services_->statusLine.Warn(Text(Str::RunHoldsWindows));
    if (!leaving_ && !services_->leaving && MayClose(services_->state))
        services_->jobs.Launch(AskAndLeave(), "closing the program");
}

QCoro::Task<void> MainCommands::AskAndLeave()
{
    const QScopedValueRollback<bool> asking(leaving_, true);
    // A set may come while a question is open: it is asked about as well.
    QList<std::shared_ptr<DataSet>> answered;
    while (const std::shared_ptr<DataSet> dataSet = NextUnsaved(answered)) {
        const bool mayGo = co_await files_.ConfirmClose(dataSet);
        if (!mayGo || services_->leaving)
            co_return;
        answered << dataSet;
    }
    // If the link was taken while the questions were open, the user has to try again.
    if (services_->leaving || !MayClose(services_->state))
        co_return;
    for (const std::shared_ptr<DataSet> &dataSet : answered)
        dataSet->MarkSaved(); // it is, or nobody wants it
    Go();
}

void MainCommands::LeaveNow()
{
    if (leavingNow_.isValid())
        return;
    leavingNow_.start();
    QTimer::singleShot(LongestWayOutMs, this, [this] { Q_EMIT overdue(); });
    if (services_->leaving)
        return;
    services_->comm.Shut(); // first, so that every exchange ends
    services_->state.CancelRequest = services_->state.DownloadCancel = true;
    realtime_.EndNow();
    Go();
}

/// The first unsaved data set that is not among these; null when there is none.
std::shared_ptr<DataSet> MainCommands::NextUnsaved(const QList<std::shared_ptr<DataSet>> &answered) const
{
    const QList<std::shared_ptr<DataSet>> sets = views_->DataSets();
    const auto next = std::find_if(sets.begin(), sets.end(), [&](const std::shared_ptr<DataSet> &set) {
        return !set->Saved() && !answered.contains(set);
    });
    return next != sets.end() ? *next : nullptr;
}

int MainCommands::MsToLeave() const
{
    return leavingNow_.isValid() ? std::max(0, LongestEndMs - static_cast<int>(leavingNow_.elapsed()))
                                 : LongestQuitMs;
}

/// The way out; no question is open any more.
void MainCommands::Go()
{
    services_->leaving = true;
    services_->settings.WriteSettingsFile();
    services_->gate.Shut();
    services_->comm.Shut();
    services_->prompts.DismissAll();
    views_->CloseAll();
    services_->jobs.WhenNone([self = QPointer(this)] {
        if (self)
            Q_EMIT self->left();
    });
}

} // namespace px40
