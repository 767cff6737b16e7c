#pragma once

#include "forward/forwardchoice.h"
#include "platform/result.h"
#include "xlsx/workbook.h"

#include <QCoro/QCoroTask>
#include <QString>

#include <functional>
#include <memory>

namespace px40 {

class Clock;
class ProgressView;
class Prompts;
class Spreadsheet;
class UserStore;
struct LinkState;

/// What forwarding needs from the program; all of it outlives the forwardings.
struct ForwardServices
{
    LinkState &state;
    Prompts *prompts; ///< null: nobody is there to be asked, so what would be asked about is a failure
    const Clock &clock;
    UserStore &store;
    /// Makes the automation of the spreadsheet program, null where there is none. May be empty.
    std::function<std::unique_ptr<Spreadsheet>()> spreadsheet;
    std::function<void()> toFront; ///< gives the main window the focus; may be empty
};

/// Where the sheet of one forwarding goes.
struct Workbook
{
    std::shared_ptr<Spreadsheet> program; ///< null where a file is written without one
    WorkbookFile file;                    ///< without a name: the program's new workbook
};

/// Whether a sheet can be added to that workbook without a spreadsheet program.
Result<> CheckExistingWorkbook(const QString &name);

/// Chooses where a sheet goes. Without a spreadsheet program it asks under which name a new workbook is to be
/// kept, and what to do about one that another program has open. Fails with `Cancelled` when the user gives
/// up, and with `FileInUse` where nobody is there. `services` must outlive the task.
QCoro::Task<Result<Workbook>> ChooseWorkbook(const ForwardServices *services, ForwardChoice choice);

/// Writes the sheet on another thread; asks when another program has the workbook open by now, or another
/// file has the name of a new one, which is `FileTaken` where nobody is there. With `progress`, which may be
/// null, the bar moves along. A set `CancelRequest` ends it. Gives the name of the file; after a failure the
/// workbook is as it was.
QCoro::Task<Result<QString>> WriteSheet(const ForwardServices *services, WorkbookFile file,
                                        std::shared_ptr<const Sheet> sheet, ProgressView *progress);

/// Removes what a program that was killed while it wrote a workbook has left beside it.
void SweepWorkbooks(UserStore &store);

} // namespace px40
