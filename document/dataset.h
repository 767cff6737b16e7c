#pragma once

#include "document/datafile.h"
#include "document/datakind.h"
#include "document/journals.h"
#include "document/tablemodel.h"
#include "graph/graphmodel.h"
#include "platform/result.h"

#include <QObject>
#include <QString>

#include <array>
#include <memory>

class QIODevice;

namespace px40 {

/// What all data sets of the program share; owned by the application.
struct DocumentShared
{
    int NewCount = 0;           ///< number of the last new data set of this run
    bool MemoryNumbers = false; ///< data sets made now head their second column as a memory number
    /// The work file through which data files are read and written; it is no data file itself. Empty: there
    /// is none, and they are read and written directly.
    QString WorkPath;
    QString WorkNote = {};  ///< for the user, then cleared: that the work file cannot be written
    bool WorkNoted = false; ///< the user has been told once, which is enough
    /// Keeps the rows that nobody has saved yet; null: nothing keeps them. Must outlive the data sets.
    Journals *journals = nullptr;
};

/// What a failed attempt to save under that name has left, in a sentence.
QString NothingSaved(const QString &name);

/// The texts below the table.
enum class Panel { Label, Max, Interval, Min, Period, Avg, X };
constexpr int PanelCount = 7;

/// One data set: its rows, statistics, interval, period and graph settings, and every operation by which
/// the rest of the program drives it. A data window shows it; it can do without one.
///
/// Sample numbers are 1-based. Texts are stored exactly as given; the caller decodes replies.
class DataSet : public QObject
{
    Q_OBJECT

  public:
    /// `shared` must outlive the data set. The heading of the second column is fixed here.
    explicit DataSet(DocumentShared &shared);

    /// Makes this a new, empty data set of that kind with the next number as its caption.
    void OpenNew(int kind);

    /// This new data set is what a file of that name is to hold.
    void BelongTo(const QString &name);

    /// Makes this, which must be newly constructed, the data set of a data file. Returns when it is read. A
    /// data set that could not be read is of no use.
    Result<> OpenFile(const QString &name);

    /// Makes this, which must be newly constructed, a data set that was left unsaved: see `TakeLeftJournals`.
    /// `keepsFile`: it still belongs to the data file that it was opened from or saved to.
    void Recover(JournalContents &&contents, Journal::Left &&journal, bool keepsFile);

    /// Writes the data set to a file, through the work file. Returns when the disk has it. Where that fails
    /// the user's file is as it was, and the data set stays unsaved.
    Result<> SaveFile(const QString &name);

    /// What a file of it begins with.
    DataFileHeader Header() const;

    /// Writes the data set to an open device, as a file has it.
    Result<> Write(QIODevice &to) const;

    /// Makes room for one more row.
    virtual Result<> AddGridrow();
    void AddData(const QString &time, const QString &data, const QString &meas, const QString &srcData,
                 const QString &srcMeas);

    /// Like `AddData`, and moves graph and progress bar along. `valid`: the reading enters the statistics,
    /// if it is a number.
    void AddRealtimedata(const QString &time, const QString &data, const QString &meas,
                         const QString &srcData, const QString &srcMeas, bool valid);

    int GetDatacount() const { return table_.Samples(); }
    QString GetFilename() const { return fileName_; }

    /// Shows maximum, minimum and average; without a valid reading the panels keep what they show.
    void DispCalculation();
    /// The maximum as "TIME[ … ]   DATA[ … ]   MODE[ … ]", with `number` the sample number first.
    QString GetDispmax(bool number) const { return ExtremeText(readings_.statistics.maxRow, number); }
    QString GetDispmin(bool number) const { return ExtremeText(readings_.statistics.minRow, number); }
    QString GetDispavg() const { return readings_.statistics.AverageText(); }

    void SetInterval(const Duration &interval);
    Duration GetInterval() const { return interval_; }
    qint32 GetIntervalcount() const { return DurationSeconds(interval_); }
    /// The sampling interval of a MEMORY-mode set, in seconds as text.
    void DispInterval(const QString &sec);

    /// `none`: acquire until stopped.
    void SetPeriod(bool none, const Duration &period);
    Duration GetPeriod() const { return period_; }
    bool GetPeriodnone() const { return periodNone_; }
    qint32 GetPeriodcount() const { return DurationSeconds(period_); }

    void SetGraphcount(int count);
    void SetAxisX(bool automatic, int divPerLabel, int divPerTick);
    /// The limits are kept as the texts given.
    void SetAxisY(bool automatic, const QString &minVal, const QString &maxVal, int majorDiv, int minorDiv);
    /// Back to the first sample.
    void PaintGraphtop() { graph_.ScrollToTop(table_.Samples()); }
    const GraphModel &Graph() const { return graph_; }
    GraphModel &Graph() { return graph_; }

    /// The window that shows the data set keeps this up to date.
    const WindowShape &Shape() const { return shape_; }
    void SetShape(const WindowShape &shape) { shape_ = shape; }

    /// Progress from 0 to `maximum`, of which `done` are done.
    void IniProgress(int maximum, int done = 0);
    /// Nothing more will be done.
    void EndProgress();
    bool HasProgressEnded() const { return progressEnded_; }
    int ProgressMaximum() const { return progressMaximum_; }
    int ProgressValue() const { return progressValue_; }

    /// The table is hidden while rows stream in.
    void ShowGrid(bool shown);

    /// Rows come in by themselves: its journal stays whole, also after a save.
    void SetRunning(bool running);

    int Kind() const { return kind_; }
    bool Saved() const { return saved_; }
    void MarkSaved() { SetSaved(true); }
    /// It comes from a program that ended before it was saved, and has not been saved since.
    bool Recovered() const { return recovered_; }
    /// The instrument was a simulation, for what is known of it.
    bool Simulated() const { return origin_.simulated; }
    /// False while rows that nobody has saved are not on the disk either.
    bool Protected() const { return !journal_ || journal_->Protects(); }
    /// Why not; empty when it is.
    QString WhyNotProtected() const { return journal_ ? journal_->Reason() : QString(); }
    QString Caption() const { return caption_; }
    QString PanelText(Panel panel) const { return panels_.at(static_cast<std::size_t>(panel)); }
    /// Readings that are neither a number nor one of the texts for no value: noise.
    int UnreadableCount() const { return readings_.unreadable; }
    const Statistics &Calculation() const { return readings_.statistics; }
    const TableModel &Table() const { return table_; }
    TableModel &Table() { return table_; }

  Q_SIGNALS:
    void panelChanged(px40::Panel panel, const QString &text);
    void captionChanged(const QString &caption);
    void savedChanged(bool saved);
    void protectedChanged();
    void gridShown(bool shown);
    void sampleFollowed(int sample); ///< the view is to follow this new sample (1-based)
    void progressChanged();

  private:
    std::optional<int> SecondOfDay(qint32 sample) const;
    void SetPanel(Panel panel, const QString &text);
    void SetSaved(bool saved);
    QString ExtremeText(qint32 sample, bool number) const;
    void Append(const QString &time, const QString &data, const QString &meas, const QString &srcData,
                const QString &srcMeas);
    void SetKind(int kind);
    void Adopt(DataFile &&file);
    void Keep(const QString &name);
    JournalAbout About() const;
    void SetGraph(const GraphSettings &settings);
    void Describe();
    void KeepRow();
    void TakeJournal(std::unique_ptr<Journal> journal);
    void LetJournalGo();

    DocumentShared *shared_;
    TableModel table_;
    Readings readings_;
    GraphModel graph_;
    WindowShape shape_;
    QString fileName_;
    QString caption_;
    Duration interval_;
    Duration period_;
    std::array<QString, PanelCount> panels_;
    int kind_ = KindUnknown;
    int progressMaximum_ = 0;
    int progressValue_ = 0;
    bool progressEnded_ = false;
    bool periodNone_ = true;
    bool saved_ = true;
    qint32 savedRows_ = 0; ///< rows that its file holds
    bool recovered_ = false;
    bool running_ = false;
    JournalOrigin origin_;
    std::unique_ptr<Journal> journal_; ///< of rows that nobody has saved
};

} // namespace px40
