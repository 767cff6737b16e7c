#pragma once

#include "document/journal.h"
#include "document/rowstore.h"
#include "platform/timer.h"

#include <QObject>
#include <QPointer>
#include <QString>
#include <QStringList>

#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <variant>
#include <vector>

namespace px40 {

/// Where, when and on what a data set is taken that begins now.
struct JournalOrigin
{
    QString device;
    QDateTime begun;
    bool simulated = false;
};

/// A data set as it is at one moment.
struct JournalWhole
{
    JournalAbout about;
    RowReader rows;
};

/// The journals of this program, written on a thread of their own: nobody waits for a disk. What is handed
/// over while a commit is under way goes into the next one.
///
/// When it goes, all that was handed over has been written.
class Journals : public QObject
{
    Q_OBJECT

  public:
    /// `folder` is made when it is needed. `vfs`: SQLite's way to the disk, null for the usual one.
    Journals(QString folder, std::function<JournalOrigin()> origin, const char *vfs = nullptr);
    ~Journals() override;

    const QString &Folder() const { return folder_; }
    JournalOrigin Origin() const { return origin_(); }

    /// Waits until the disk has everything, or as long as that. True when it has.
    bool WaitForDisk(int milliseconds);

  private:
    friend class Journal;

    struct Slot;
    struct Describe
    {
        JournalAbout about;
    };
    struct Remove
    {
    };
    struct Leave
    {
    };
    /// What is to be done: begin a new file with all of a set, add a row, describe the set anew, remove the
    /// file, or leave it as it is.
    using Order = std::variant<JournalWhole, std::string, Describe, Remove, Leave>;
    using Orders = std::vector<std::pair<std::shared_ptr<Slot>, Order>>;

    /// True when the disk answers: what was handed over last time is not under way for too long.
    bool Post(const std::shared_ptr<Slot> &slot, Order order);
    void Work();
    void Carry(Orders *orders);
    void Report(const std::shared_ptr<Slot> &slot, bool written, const QString &reason);

    QString folder_;
    std::function<JournalOrigin()> origin_;
    std::string vfs_;
    std::mutex mutex_; ///< guards what follows
    std::condition_variable changed_;
    Orders orders_;
    bool working_ = false;
    std::chrono::steady_clock::time_point workingSince_;
    bool ending_ = false;
    std::thread thread_; ///< from the first order on
};

/// The journal of one data set, as the data set sees it. Of the two files that a set may have at one moment,
/// one that can no longer be written and the new one, the old one goes when the new one is on the disk.
class Journal : public QObject
{
    Q_OBJECT

  public:
    /// A journal that was left: the file, or none if it cannot be written, and all files that go with it.
    struct Left
    {
        JournalFile::Name name;
        std::unique_ptr<JournalFile> file;
        QStringList paths;
    };

    /// `about` tells what the data set is then; `rows` are its rows, which must outlive this. A new journal
    /// begins with them at once; one that was left goes on.
    Journal(Journals &keeper, std::function<JournalAbout()> about, const RowStore &rows);
    Journal(Journals &keeper, std::function<JournalAbout()> about, const RowStore &rows, Left left);

    /// Leaves what is on the disk to the next start of the program.
    ~Journal() override;

    /// The newest row has come.
    void Add();
    /// The data set is another one now, but for its rows.
    void Describe();
    /// Nobody needs it any more.
    void Remove();

    /// False: the rows are not on the disk, and would be lost with the program. They are written again from
    /// time to time, until that succeeds.
    bool Protects() const { return reason_.isEmpty(); }
    /// Why it does not; empty when it does.
    const QString &Reason() const { return reason_; }

  Q_SIGNALS:
    void protectsChanged();

  private:
    friend class Journals;
    static constexpr int FirstPauseMs = 1000;
    static constexpr int LongestPauseMs = 60000;

    void Begin();
    void OnWritten(bool written, const QString &reason);
    void Protect(const QString &trouble);

    QPointer<Journals> keeper_; ///< gone only when the program is about to be
    std::function<JournalAbout()> about_;
    const RowStore *rows_;
    std::shared_ptr<Journals::Slot> slot_;
    Timer again_{0, false, this}; ///< until it is tried again
    int pauseMs_ = FirstPauseMs;
    QString failure_; ///< why the newest file could not be written; empty: it could
    QString reason_;
    bool begun_ = false;
};

} // namespace px40
