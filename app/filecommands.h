#pragma once

#include "app/recentfiles.h"
#include "platform/result.h"

#include <QCoro/QCoroTask>
#include <QSet>
#include <QString>
#include <QStringList>

#include <functional>
#include <memory>

namespace px40 {

class DataSet;
struct LeftSet;
class MainViews;
struct Services;

/// What the user does with data files and with pictures of their graphs. It asks and tells the user what is
/// needed.
///
/// Must outlive the tasks that it hands out. A task holds its data set, so a window may close meanwhile.
class FileCommands
{
  public:
    /// What is handed in must outlive this.
    FileCommands(Services &services, MainViews &views);

    /// The files that were opened or saved last.
    RecentFiles &Recent() { return recent_; }

    /// Asks for a data file and opens it.
    QCoro::Task<void> AskAndOpen();

    /// Opens data files, each in a window of its own, and warns of those that cannot be read. A file that is
    /// already open is passed over.
    QCoro::Task<void> Open(QStringList names);

    /// The same with one; if it is open its window comes to the front.
    QCoro::Task<void> OpenRecent(QString name);

    /// Gives each data set that was left unsaved by an earlier program a window of its own, and tells of them
    /// in the status bar.
    QCoro::Task<void> Recover();

    /// Whether a window holds that file, by whatever name.
    bool IsFileOpen(const QString &name) const { return HolderOf(name) != nullptr; }

    /// Saves under the data set's own name. Asks for another one, until one can be used or the user cancels,
    /// when there is none, it may not be written, or `underNewName`. True only when saved; a failure was told
    /// to the user. False at once while the same data set is being saved.
    QCoro::Task<bool> Save(std::shared_ptr<DataSet> set, bool underNewName = false);

    /// Asks about unsaved readings, if there are any; true when their window may go. Whether the link allows
    /// it (`MayClose`) is left to the caller.
    QCoro::Task<bool> ConfirmClose(std::shared_ptr<DataSet> set);

    /// Asks for the name of a picture of the data set's graph, which `write` writes.
    QCoro::Task<void> SaveGraph(std::shared_ptr<DataSet> set, std::function<Result<>(const QString &)> write);

  private:
    QCoro::Task<bool> AskAndSave(std::shared_ptr<DataSet> set);
    QCoro::Task<bool> Write(std::shared_ptr<DataSet> set, QString name);
    std::shared_ptr<DataSet> HolderOf(const QString &name, const DataSet *butFor = nullptr) const;
    QString Show(LeftSet &&left);
    void Tell(const QString &text) const;

    Services *services_;
    MainViews *views_;
    RecentFiles recent_;
    QSet<const DataSet *> saving_; ///< these are being saved
};

} // namespace px40
