#include "document/journals.h"

#include "resources/strings.h"

#include <QDir>
#include <QFile>
#include <QLoggingCategory>
#include <QMetaObject>
#include <QStorageInfo>

#include <algorithm>
#include <chrono>
#include <stdexcept>
#include <utility>

namespace px40 {

namespace {

Q_LOGGING_CATEGORY(lcDocument, "px40.document")

/// How many rows of a set are written at a time, so that what SQLite keeps beside the file stays small.
constexpr int RowsAtATime = 20000;

/// A disk that takes longer does not protect anything.
constexpr std::chrono::seconds LongestSilence(5);

std::unique_ptr<JournalFile> Written(const QString &path, JournalWhole *whole, const char *vfs)
{
    std::unique_ptr<JournalFile> file = JournalFile::Create(path, vfs);
    try {
        file->Describe(whole->about);
        for (int rows = 1; !whole->rows.AtEnd(); ++rows) {
            file->Add(whole->rows.NextRaw());
            if (rows % RowsAtATime == 0)
                file->Commit();
        }
        file->Commit();
    } catch (...) {
        file->Remove();
        throw;
    }
    return file;
}

} // namespace

/// What the thread knows of a journal. `owner` is the other thread's.
struct Journals::Slot
{
    Journal *owner = nullptr;
    QString id;
    int generation = 0;                ///< of the newest file
    std::unique_ptr<JournalFile> file; ///< null: there is none
    bool failed = false;               ///< that file is not written any more
    QStringList paths;                 ///< other files that go with it

    void Begin(const Journals &keeper, JournalWhole *whole);
    void Remove();
};

/// The old file stays, and stays locked, until the new one has everything.
void Journals::Slot::Begin(const Journals &keeper, JournalWhole *whole)
{
    QDir().mkpath(keeper.folder_);
    // An attempt that must fail would fill the disk, for others as well.
    constexpr qint64 BytesOfRow = 64;
    constexpr qint64 BytesBeside = 64 * 1024;
    const QStorageInfo disk(keeper.folder_);
    if (disk.isValid() && disk.bytesAvailable() < whole->rows.Count() * BytesOfRow + BytesBeside)
        throw std::runtime_error("the disk is full");
    const QString path = JournalFile::PathOf(keeper.folder_, {id, ++generation});
    std::unique_ptr<JournalFile> written =
        Written(path, whole, keeper.vfs_.empty() ? nullptr : keeper.vfs_.c_str());
    if (file)
        file->Remove();
    file = std::move(written);
    failed = false;
}

void Journals::Slot::Remove()
{
    for (const QString &path : std::exchange(paths, {})) { // the older ones first
        if (!file || file->Path() != path)
            JournalFile::RemoveUnheld(path);
    }
    if (file)
        file->Remove();
    file.reset();
}

Journals::Journals(QString folder, std::function<JournalOrigin()> origin, const char *vfs)
    : folder_(std::move(folder)), origin_(std::move(origin)), vfs_(vfs ? vfs : "")
{
}

Journals::~Journals()
{
    if (!thread_.joinable())
        return;
    {
        const std::lock_guard lock(mutex_);
        ending_ = true;
    }
    changed_.notify_all();
    thread_.join();
}

bool Journals::Post(const std::shared_ptr<Slot> &slot, Order order)
{
    bool answers = true;
    {
        const std::lock_guard lock(mutex_);
        answers = !working_ || std::chrono::steady_clock::now() - workingSince_ < LongestSilence;
        orders_.emplace_back(slot, std::move(order));
        if (!thread_.joinable())
            thread_ = std::thread(&Journals::Work, this);
    }
    changed_.notify_all();
    return answers;
}

bool Journals::WaitForDisk(int milliseconds)
{
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, std::chrono::milliseconds(milliseconds),
                             [this] { return orders_.empty() && !working_; });
}

void Journals::Work()
{
    while (true) {
        Orders orders;
        {
            std::unique_lock lock(mutex_);
            working_ = false;
            changed_.notify_all();
            changed_.wait(lock, [this] { return ending_ || !orders_.empty(); });
            if (orders_.empty())
                return;
            orders.swap(orders_);
            working_ = true;
            workingSince_ = std::chrono::steady_clock::now();
        }
        Carry(&orders);
    }
}

/// All changes of a journal at one time are one transaction.
void Journals::Carry(Orders *orders)
{
    std::vector<std::shared_ptr<Slot>> changed;
    const auto attempt = [this](const std::shared_ptr<Slot> &slot, const auto &change) {
        try {
            change();
            return true;
        } catch (const std::exception &problem) {
            slot->failed = true;
            Report(slot, false, QString::fromLocal8Bit(problem.what()));
            return false;
        }
    };
    const auto commit = [&] {
        for (const std::shared_ptr<Slot> &slot : std::exchange(changed, {})) {
            if (slot->file && !slot->failed)
                attempt(slot, [&] { slot->file->Commit(); });
        }
    };
    for (auto &[slot, order] : *orders) {
        if (auto *const whole = std::get_if<JournalWhole>(&order)) {
            commit(); // it may take long
            if (attempt(slot, [&, &at = slot] { at->Begin(*this, whole); }))
                Report(slot, true, {});
        } else if (std::holds_alternative<Remove>(order)) {
            slot->Remove();
        } else if (std::holds_alternative<Leave>(order)) {
            if (std::find(changed.begin(), changed.end(), slot) != changed.end())
                commit();
            slot->file.reset();
        } else if (slot->file && !slot->failed) {
            if (std::find(changed.begin(), changed.end(), slot) == changed.end())
                changed.push_back(slot);
            attempt(slot, [&order = order, &at = slot] {
                if (const auto *const row = std::get_if<std::string>(&order))
                    at->file->Add(*row);
                else
                    at->file->Describe(std::get<Describe>(order).about);
            });
        }
    }
    commit();
}

void Journals::Report(const std::shared_ptr<Slot> &slot, bool written, const QString &reason)
{
    if (!written)
        qCWarning(lcDocument).noquote() << "journal" << slot->id << "cannot be written:" << reason;
    const auto tell = [slot, written, reason] {
        if (slot->owner)
            slot->owner->OnWritten(written, reason);
    };
    QMetaObject::invokeMethod(this, tell, Qt::QueuedConnection);
}

Journal::Journal(Journals &keeper, std::function<JournalAbout()> about, const RowStore &rows)
    : Journal(keeper, std::move(about), rows, {{JournalFile::NewId(), 0}, nullptr, {}})
{
    Begin();
}

Journal::Journal(Journals &keeper, std::function<JournalAbout()> about, const RowStore &rows, Left left)
    : keeper_(&keeper), about_(std::move(about)), rows_(&rows), slot_(std::make_shared<Journals::Slot>()),
      begun_(left.file != nullptr)
{
    slot_->owner = this;
    slot_->id = left.name.id;
    slot_->generation = left.name.generation;
    slot_->file = std::move(left.file);
    slot_->paths = left.paths;
    connect(&again_, &Timer::tick, this, &Journal::Begin);
    if (!begun_ && left.name.generation > 0)
        Begin(); // so that no other program takes the set
}

Journal::~Journal()
{
    slot_->owner = nullptr;
    if (keeper_)
        keeper_->Post(slot_, Journals::Leave());
}

void Journal::Begin()
{
    again_.SetEnabled(false);
    begun_ = true;
    keeper_->Post(slot_, JournalWhole{about_(), RowReader(*rows_)});
}

void Journal::Add()
{
    if (!begun_)
        Begin();
    else if (keeper_->Post(slot_, std::string(rows_->Raw(rows_->Count() - 1))))
        Protect(failure_);
    else
        Protect(Text(Str::DiskSilent));
}

void Journal::Describe()
{
    if (begun_)
        keeper_->Post(slot_, Journals::Describe{about_()});
}

void Journal::Remove()
{
    keeper_->Post(slot_, Journals::Remove());
}

void Journal::OnWritten(bool written, const QString &reason)
{
    if (written)
        pauseMs_ = FirstPauseMs;
    else if (!again_.Enabled()) {
        again_.SetInterval(pauseMs_);
        again_.SetEnabled(true);
        pauseMs_ = std::min(2 * pauseMs_, LongestPauseMs);
    }
    failure_ = reason;
    Protect(failure_);
}

void Journal::Protect(const QString &trouble)
{
    const QString before = std::exchange(reason_, trouble);
    if (before.isEmpty() != trouble.isEmpty())
        Q_EMIT protectsChanged();
}

} // namespace px40
