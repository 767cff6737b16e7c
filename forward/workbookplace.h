#pragma once

#include "forward/forwardchoice.h"

#include <QCoro/QCoroTask>
#include <QString>

#include <functional>
#include <memory>

namespace px40 {

class Clock;
class ProgressView;
class Prompts;
class SheetTarget;
class UserStore;
class XlsxFile;
struct LinkState;

/// Makes the automation of the spreadsheet program; null where there is none.
using MakeSpreadsheet = std::function<std::unique_ptr<SheetTarget>()>;

/// What forwarding needs from the program; all of it outlives the forwardings.
struct ForwardServices
{
    LinkState &state;
    Prompts &prompts;
    const Clock &clock;
    UserStore &store;
    MakeSpreadsheet spreadsheet;   ///< may be empty
    std::function<void()> toFront; ///< gives the main window the focus; may be empty
};

/// Where the sheet of one forwarding goes.
struct Workbook
{
    std::shared_ptr<SheetTarget> target; ///< null: given up
    std::shared_ptr<XlsxFile> file;      ///< the target as a file; null where a spreadsheet program has it
    QString addTo;                       ///< the workbook that gets the sheet; empty: a new one
};

/// Chooses the target of a forwarding. Without a spreadsheet program it asks under which name a new workbook
/// is to be kept, and what to do about one that another program has open; refuses what cannot be written,
/// with the reason told. `services` must outlive the task.
QCoro::Task<Workbook> ChooseWorkbook(const ForwardServices *services, ForwardChoice choice);

/// Writes the file of a workbook, on another thread; asks when another program has it open by now. With
/// `progress`, which may be null, the bar moves along. A set `CancelRequest` ends it. False with the reason
/// in `ForwardErrorText`; the workbook is then as it was.
QCoro::Task<bool> WriteWorkbook(const ForwardServices *services, std::shared_ptr<XlsxFile> file,
                                QString title, ProgressView *progress);

/// Removes what a program that was killed while it wrote a workbook has left beside it.
void SweepWorkbooks(UserStore &store);

/// A sentence and, in a line below it, the file that it is about.
QString AboutFile(const QString &sentence, const QString &file);

} // namespace px40
