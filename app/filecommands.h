#pragma once

#include "document/datasaver.h"

#include <QCoro/QCoroTask>
#include <QList>
#include <QSet>
#include <QString>

#include <functional>
#include <memory>

namespace px40 {

class Clock;
struct LinkState;
class Prompts;

/// The commands of the File menu that work on data files: Open in its steps, Save and Save As. They ask and
/// tell the user what is needed and know no window.
///
/// Must outlive the tasks that it hands out. A task holds its data set, so a window may close meanwhile.
class FileCommands : public DataSaver
{
  public:
    using OpenSets = std::function<QList<std::shared_ptr<DataSet>>()>;
    using ShowBusy = std::function<void(bool)>;
    using Saved = std::function<void(const QString &name)>;

    /// `openSets` gives the data sets of all open windows; `showBusy` is called with true before a file is
    /// read or written, and with false after it; `saved` when a data set has been saved, whatever for.
    /// `state` (for error texts), `prompts` and `clock` must outlive this.
    FileCommands(
        LinkState &state, Prompts &prompts, const Clock &clock, OpenSets openSets,
        ShowBusy showBusy = [](bool) {}, Saved saved = [](const QString &) {});

    /// The data file to open; empty when cancelled.
    QCoro::Task<QString> AskOpen();

    /// Whether a window holds that file, by whatever name.
    bool IsFileOpen(const QString &name) const;

    /// Makes `set`, which must be as just made, the data set of that file. On failure the user is told; the
    /// data set is then of no use.
    QCoro::Task<bool> Load(std::shared_ptr<DataSet> set, QString name);

    /// False at once while a `Save` or `SaveAs` of the same data set is under way.
    QCoro::Task<bool> Save(std::shared_ptr<DataSet> set) override;

    /// Asks for a name until one can be used or the user cancels, and saves. True and false as for `Save`.
    QCoro::Task<bool> SaveAs(std::shared_ptr<DataSet> set);

  private:
    QCoro::Task<bool> AskAndSave(std::shared_ptr<DataSet> set);
    QCoro::Task<bool> Write(std::shared_ptr<DataSet> set, QString name);
    bool Busily(bool (DataSet::*work)(const QString &), DataSet *set, const QString &name) const;
    bool IsOpenElsewhere(const DataSet *set, const QString &name) const;

    LinkState *state_;
    Prompts *prompts_;
    const Clock *clock_;
    OpenSets openSets_;
    ShowBusy showBusy_;
    Saved saved_;
    QSet<const DataSet *> saving_; ///< a `Save` or `SaveAs` of these is under way
};

} // namespace px40
