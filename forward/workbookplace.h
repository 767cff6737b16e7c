#pragma once

#include "forward/forwardchoice.h"
#include "platform/result.h"
#include "platform/tell.h"
#include "xlsx/workbook.h"

#include <QCoro/QCoroTask>
#include <QString>

#include <functional>
#include <memory>

namespace px40 {

class ProgressView;
class Spreadsheet;
class UserStore;
struct LinkState;

/// Asks the user for a workbook's file: for a new one if `file` has no name, or in place of one that cannot
/// be written to, because it is open elsewhere (`FileInUse`) or another file has its name by now
/// (`FileTaken`). Gives the same file if it can be used by then. Fails with `Cancelled` when the user gives
/// up.
using AskForFile =
    std::function<QCoro::Task<Result<WorkbookFile>>(WorkbookFile file, QString title, FailureCode why)>;

/// What forwarding needs from the program; all of it outlives the forwardings.
struct ForwardServices
{
    LinkState &state;
    UserStore &store;
    /// Makes the automation of the spreadsheet program, null where there is none. May be empty.
    std::function<std::unique_ptr<Spreadsheet>()> spreadsheet = {};
    /// Empty: nobody is there to be asked, so what would be asked about is a failure.
    AskForFile askForFile = {};
    Tell tellFailure = {}; ///< tells why a data set was not forwarded; may be empty
};

/// Where the sheet of one forwarding goes.
struct Workbook
{
    std::shared_ptr<Spreadsheet> program; ///< null where a file is written without one
    WorkbookFile file;                    ///< without a name: the program's new workbook
};

/// Whether a sheet can be added to that workbook without a spreadsheet program.
Result<> CheckExistingWorkbook(const QString &name);

/// Whether a new one can be made under that name.
Result<> CheckNewName(const QString &name);

/// Chooses where a sheet goes. Without a spreadsheet program it asks under which name a new workbook is to be
/// kept, and what to do if another program has it open; where nobody can be asked, that is `FileInUse`.
/// Fails with `Cancelled` when the user gives up. `services` must outlive the task.
QCoro::Task<Result<Workbook>> ChooseWorkbook(const ForwardServices *services, ForwardChoice choice);

/// Writes the sheet on another thread. Asks when another program has the workbook open by now, or another
/// file has the name of a new one; where nobody can be asked, the latter is `FileTaken`. With `progress`,
/// which may be null, the bar moves along. A set `CancelRequest` ends it. Gives the name of the file; after a
/// failure the workbook is as it was.
QCoro::Task<Result<QString>> WriteSheet(const ForwardServices *services, WorkbookFile file,
                                        std::shared_ptr<const Sheet> sheet, ProgressView *progress);

/// Removes what a program that was killed while it wrote a workbook has left beside it.
void SweepWorkbooks(UserStore &store);

} // namespace px40
