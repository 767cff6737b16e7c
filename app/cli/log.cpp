#include "app/cli/log.h"

#include "acquire/realtime.h"
#include "app/cli/commandline.h"
#include "app/cli/console.h"
#include "app/cli/ports.h"
#include "app/services.h"
#include "platform/awake.h"
#include "platform/endsignals.h"
#include "platform/replacefile.h"
#include "platform/terminal.h"
#include "platform/timer.h"
#include "resources/strings.h"

#include <QCoreApplication>
#include <QFileInfo>

#include <algorithm>

namespace px40 {

namespace {

/// Where the rows of a run go as they come: a new data file, or the standard output.
class RowFile
{
  public:
    /// Both must outlive this.
    RowFile(Target &target, const DataSet &dataSet)
        : target_(&target), dataSet_(&dataSet), file_(target.toOutput ? &target.output : &own_)
    {
    }

    Result<> Begin()
    {
        if (target_->toOutput)
            return {};
        own_.setFileName(target_->name);
        if (!own_.open(QIODevice::WriteOnly | QIODevice::NewOnly | QIODevice::Unbuffered))
            return Fail(QFileInfo::exists(target_->name) ? Text(Str::FileIsThere) : own_.errorString());
        return Write([this] { return WriteHeader(dataSet_->Header(), *file_); });
    }

    /// Writes the rows that are not written yet. Where that fails the file ends with its last whole row.
    Result<> WriteNewRows()
    {
        const qsizetype end = dataSet_->Table().Rows().Count();
        Result<> written = Write([&] { return WriteRows(dataSet_->Table().Rows(), rows_, end, *file_); });
        if (written)
            rows_ = end;
        return written;
    }

    /// Returns when the disk has the complete file.
    Result<> Finish()
    {
        Result<> done = WriteNewRows();
        if (target_->toOutput || !done)
            return done;
        done = Write([this] { return WriteEnd(*file_); });
        if (done)
            done = SyncToDisk(own_);
        return done;
    }

    /// Removes a file that holds no row.
    void Abandon()
    {
        if (own_.isOpen()) // it is ours
            own_.remove();
    }

  private:
    template <typename Pieces>
    Result<> Write(const Pieces &pieces)
    {
        Result<> written = pieces();
        if (target_->toOutput)
            return written;
        if (written) {
            whole_ = own_.pos();
        } else {
            own_.resize(whole_);
            own_.seek(whole_);
        }
        return written;
    }

    Target *target_;
    const DataSet *dataSet_;
    QFile own_;
    QFile *file_;
    qsizetype rows_ = 0;
    qint64 whole_ = 0; ///< the size of what was written completely
};

/// A run without a window, from the opening of the port to its end.
class Log : public QObject
{
  public:
    Log(Services &services, std::shared_ptr<DataSet> dataSet, RowFile &file, bool toOutput)
        : services_(&services), dataSet_(std::move(dataSet)), file_(&file), toOutput_(toOutput),
          realtime_(services.link, services.clock, tmRealtime_,
                    [this](const QString &text) { return TakeTrouble(text); })
    {
        connect(dataSet_.get(), &DataSet::sampleFollowed, this, &Log::OnRow);
        connect(&signals_, &EndSignals::asked, this, &Log::End);
        connect(&realtime_, &Realtime::progressed, this, [this](const RunProgress &progress) {
            progress_ = progress;
            ShowOnTerminal(RunText(progress));
        });
    }

    /// Fails when the run has not begun, or was ended by something that is told.
    QCoro::Task<Result<>> Run()
    {
        Result<> opened = services_->comm.OpenPort();
        if (!opened)
            co_return Fail(FirstLine(opened.error().text));
        opened = file_->Begin();
        if (!opened)
            co_return opened;
        connect(&realtime_, &Realtime::runChanged, this, &Log::OnRunChanged);
        co_await realtime_.StartRealtime(dataSet_, false);
        co_await over_;
        services_->comm.ClosePort();
        ShowOnTerminal(QString());
        if (trouble_.isEmpty())
            co_return Result<>();
        co_return Fail(trouble_);
    }

    QString Summary() const { return RunText(progress_); }

  private:
    void OnRow()
    {
        const Result<> written = file_->WriteNewRows();
        if (written || !toOutput_)
            return;                      // a file is written again with the next row
        trouble_ = written.error().text; // nobody reads what is printed
        End();
    }

    /// The port closes first, so that what is under way ends.
    void End()
    {
        services_->comm.Shut();
        realtime_.EndNow();
    }

    void OnRunChanged()
    {
        awake_.Keep(services_->state.RealtimeRun, Text(Str::RunHolds));
        if (!services_->state.RealtimeRun)
            over_.Complete(true);
    }

    QCoro::Task<void> TakeTrouble(QString text)
    {
        trouble_ = text;
        co_return;
    }

    Services *services_;
    std::shared_ptr<DataSet> dataSet_;
    RowFile *file_;
    bool toOutput_;
    const EndSignals signals_;
    const OneShot<bool> over_;
    Awake awake_;
    Timer tmRealtime_{100, false};
    Realtime realtime_;
    RunProgress progress_;
    QString trouble_;
};

} // namespace

int RunLog(const CommandLine &line)
{
    KeepLogsQuiet();
    Target target;
    if (const Result<> prepared = Prepare(line.logTo, &target); !prepared)
        return EndFailed(prepared.error());
    if (!target.toOutput && QFileInfo::exists(target.name))
        return EndFailed({About(target.name, Text(Str::FileIsThere))});

    Paths paths = PathsFor(line.dataFolder);
    paths.WorkPath.clear(); // a program that is open may be using it
    DecliningPrompts prompts;
    Services services(UserStore(Text(Str::ApplicationTitle)), paths, prompts);
    const Result<std::shared_ptr<void>> simulation = TakePorts(line, services);
    if (!simulation)
        return EndFailed(simulation.error());
    ChoosePort(line, services);

    const auto dataSet = std::make_shared<DataSet>(services.shared);
    dataSet->OpenNew(KindRealtime);
    if (!target.toOutput)
        dataSet->BelongTo(target.name);
    dataSet->SetInterval(line.interval);
    if (line.period)
        dataSet->SetPeriod(false, *line.period);
    RowFile file(target, *dataSet);
    Log log(services, dataSet, file, target.toOutput);
    const Result<> ran = RunToEnd(services.jobs, log.Run(), Text(Str::LogFailed));
    if (!ran && dataSet->GetDatacount() == 0)
        file.Abandon();
    if (!ran)
        return EndFailed({About(target.name, ran.error().text)});
    if (const Result<> done = file.Finish(); !done)
        return EndFailed({About(target.name, Text(Str::NotAllLogged).arg(done.error().text))});
    dataSet->MarkSaved(); // and its journal goes
    if (!target.toOutput)
        PrintLine(log.Summary());
    return ExitDone;
}

} // namespace px40
