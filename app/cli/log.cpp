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
#include <QDeadlineTimer>
#include <QFileInfo>

#include <algorithm>
#include <utility>

namespace px40 {

namespace {

constexpr int PatienceMs = 500; // with a reader, when the system ends the run
constexpr int StepMs = 200;

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

    /// Writes the rows that are not written yet. Where that fails the file ends with its last whole row. Rows
    /// that the reader of the standard output does not take in that time stay for later.
    Result<> WriteNewRows(QDeadlineTimer until = QDeadlineTimer(0))
    {
        const RowStore &rows = dataSet_->Table().Rows();
        const qsizetype atOnce = target_->toOutput ? 1 : RowsAtOnce;
        while (rows_ < rows.Count()) {
            if (target_->toOutput && !OutputTakesLine(static_cast<int>(until.remainingTime())))
                return {};
            const qsizetype end = std::min(rows_ + atOnce, rows.Count());
            Result<> written = Write([&] { return WriteRows(rows, rows_, end, *file_); });
            if (!written)
                return written;
            rows_ = end;
        }
        return {};
    }

    bool HasRowsLeft() const { return rows_ < dataSet_->GetDatacount(); }

    /// Returns when the disk has the complete file, or the reader of the standard output all rows. That one
    /// is waited for until then.
    Result<> Finish(QDeadlineTimer until)
    {
        Result<> done = WriteNewRows(until);
        if (done && HasRowsLeft())
            done = Fail(Text(Str::RowsNotTaken));
        if (target_->toOutput || !done)
            return done;
        done = Write([this] { return WriteEnd(*file_); });
        if (done)
            done = SyncToDisk(own_);
        if (done && !own_.exists())
            done = Fail(Text(Str::FileGone));
        SyncName(own_.fileName());
        return done;
    }

    /// Removes a file that holds no row.
    void Abandon()
    {
        if (own_.isOpen()) // it is ours
            own_.remove();
    }

  private:
    /// A full disk is tried with so many, however many wait.
    static constexpr qsizetype RowsAtOnce = 1000;

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
    Log(Services &services, std::shared_ptr<DataSet> dataSet, RowFile &file, const Target &target)
        : services_(&services), dataSet_(std::move(dataSet)), file_(&file), name_(target.name),
          toOutput_(target.toOutput), realtime_(services.link, services.clock, tmRealtime_,
                                                [this](const QString &text) { return TakeTrouble(text); })
    {
        connect(dataSet_.get(), &DataSet::sampleFollowed, this, &Log::OnRow);
        connect(dataSet_.get(), &DataSet::protectedChanged, this, &Log::TellUnprotected);
        connect(&signals_, &EndSignals::asked, this, [this] {
            asked_ = true;
            End();
        });
        connect(&awake_, &Awake::refused, this, [](const QString &reason) {
            if (IsErrorTerminal())
                NoteAboveProgress(Text(Str::MaySleep).arg(reason));
        });
        connect(&realtime_, &Realtime::progressed, this, [this](const RunProgress &progress) {
            progress_ = progress;
            ShowOnTerminal(RunText(progress));
        });
    }

    /// Fails when the run has not begun, or was ended by something else than its period or a signal.
    QCoro::Task<Result<>> Run()
    {
        Result<> opened = services_->comm.OpenPort();
        if (!opened)
            co_return Fail(FirstLine(opened.error().text));
        opened = file_->Begin();
        if (!opened)
            co_return Fail(About(name_, opened.error().text));
        connect(&realtime_, &Realtime::runChanged, this, &Log::OnRunChanged);
        co_await realtime_.StartRealtime(dataSet_, false);
        co_await over_;
        services_->comm.ClosePort();
        ShowOnTerminal(QString());
        if (trouble_.isEmpty())
            co_return Result<>();
        co_return Fail(About(name_, trouble_));
    }

    QString Summary() const { return RunText(progress_); }

    /// The system wants the program to end.
    bool IsAsked() const { return asked_; }

  private:
    void OnRow()
    {
        if (toOutput_ && IsOutputTerminal())
            ShowOnTerminal(QString()); // the row takes that line
        const Result<> written = file_->WriteNewRows();
        if (written)
            return;
        if (toOutput_) { // nobody reads what is printed
            trouble_ = written.error().text;
            End();
        } else if (!std::exchange(waitNoted_, true)) { // written again with the next row
            NoteAboveProgress(About(name_, Text(Str::RowsWait).arg(Sentence(written.error().text))));
        }
    }

    void TellUnprotected()
    {
        if (!dataSet_->Protected() && !std::exchange(unprotectedNoted_, true))
            NoteAboveProgress(name_ + u' ' + Text(Str::NotProtected));
    }

    static void NoteAboveProgress(const QString &text)
    {
        ShowOnTerminal(QString());
        NoteError(text);
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
    QString name_; ///< where the rows go
    bool toOutput_;
    const EndSignals signals_;
    const OneShot<bool> over_;
    Awake awake_;
    Timer tmRealtime_{100, false};
    Realtime realtime_;
    RunProgress progress_;
    QString trouble_;
    bool asked_ = false;
    bool waitNoted_ = false;        ///< it has been told that rows wait for the file
    bool unprotectedNoted_ = false; ///< and that the journal cannot be written
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
    Services services(StoreFor(paths), paths, prompts);
    TakePorts(line, services);
    ChoosePort(line, services);

    const auto dataSet = std::make_shared<DataSet>(services.shared);
    dataSet->OpenNew(KindRealtime);
    if (!target.toOutput)
        dataSet->BelongTo(target.name);
    dataSet->SetInterval(line.interval);
    if (line.period)
        dataSet->SetPeriod(false, *line.period);
    RowFile file(target, *dataSet);
    Log log(services, dataSet, file, target);
    const Result<> ran = RunToEnd(services.jobs, log.Run(), Text(Str::LogFailed));
    if (!ran && dataSet->GetDatacount() == 0) {
        file.Abandon();
        return EndFailed(ran.error());
    }
    // After its period the run waits for the reader of the standard output, until it is asked to end.
    while (ran && !log.IsAsked() && file.HasRowsLeft() && file.WriteNewRows(QDeadlineTimer(StepMs)))
        QCoreApplication::processEvents();
    const Result<> done = file.Finish(QDeadlineTimer(log.IsAsked() ? PatienceMs : 0));
    if (done)
        dataSet->MarkSaved(); // and its journal goes
    if (!ran)
        return EndFailed(ran.error());
    if (!done) {
        const bool written = services.journals.WaitForDisk(PatienceMs);
        QCoreApplication::sendPostedEvents(&services.journals); // whether it could be
        const Str left = written && dataSet->Protected() ? Str::NotAllLogged : Str::RowsLost;
        return EndFailed({About(target.name, Text(left).arg(Sentence(done.error().text)))});
    }
    const bool printed = target.toOutput || PrintLine(log.Summary());
    return EndWritten(target.name, *dataSet, printed);
}

} // namespace px40
