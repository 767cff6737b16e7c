#include "forward/workbookplace.h"

#include "forward/bookfailuretext.h"
#include "forward/sheettarget.h"
#include "link/linkstate.h"
#include "platform/progressview.h"
#include "platform/userstore.h"
#include "platform/waiting.h"
#include "resources/strings.h"

#include <QFileInfo>

#include <algorithm>
#include <optional>

namespace px40 {

namespace {

constexpr int ProgressEveryMs = 30;
constexpr int Permille = 1000;

const QString Section = QStringLiteral("Forward");
const QString WritingKey = QStringLiteral("Writing");

/// Asks for another file when `file` cannot be used; gives the same one if it can be used by then.
QCoro::Task<Result<WorkbookFile>> OtherFile(const ForwardServices *services, WorkbookFile file, QString title,
                                            Failure why)
{
    if (!services->askForFile)
        co_return Fail(why);
    const Result<WorkbookFile> other = co_await services->askForFile(file, title, why.code);
    co_return other;
}

/// The file itself, or another one if another program has it open.
QCoro::Task<Result<WorkbookFile>> FileNotHeld(const ForwardServices *services, WorkbookFile file,
                                              QString title)
{
    const std::optional<BookHolder> holder = HolderOf(file.name);
    if (!holder)
        co_return file;
    const Failure why = {Text(Str::ExportInUse).arg(BookHolderText(*holder)), FailureCode::FileInUse};
    const Result<WorkbookFile> other = co_await OtherFile(services, file, title, why);
    co_return other;
}

/// Passes on a cancel and moves the progress bar until the writing has ended.
QCoro::Task<void> FollowWriting(const ForwardServices *services, OneShot<bool> ended,
                                std::shared_ptr<WriteWatch> watch, ProgressView *progress)
{
    while (!ended.IsComplete()) {
        watch->cancelled = services->state.CancelRequest;
        if (progress)
            progress->RenProgress(false, std::max<int>(1, watch->permille),
                                  Permille); // 0 would be ignored, and the bar stay full
        co_await Delay(ProgressEveryMs);
    }
}

QCoro::Task<BookResult<>> WriteOnce(const ForwardServices *services, WorkbookFile file,
                                    std::shared_ptr<const Sheet> sheet, ProgressView *progress)
{
    const auto watch = std::make_shared<WriteWatch>();
    const auto written = std::make_shared<BookResult<>>(Refuse(BookProblem::Failed));
    const UserStore *const store = &services->store;
    // The name is saved on this thread as well, because that waits for the disk.
    const OneShot<bool> ended = RunInThread([file, sheet, watch, written, store] {
        store->SaveNow(Section, WritingKey, file.name);
        *written = AddSheet(file, *sheet, watch.get());
        store->SaveNow(Section, WritingKey, QString());
    });
    co_await FollowWriting(services, ended, watch, progress);
    co_await ended;
    co_return *written;
}

} // namespace

Result<> CheckExistingWorkbook(const QString &name)
{
    const BookResult<> fit = CheckWorkbook(name);
    if (!fit)
        return Fail(BookFailureText(fit.error()));
    return {};
}

Result<> CheckNewName(const QString &name)
{
    if (QFileInfo(name).suffix().compare(u"xlsx", Qt::CaseInsensitive) != 0)
        return Fail(AboutFile(Text(Str::ForwardNewKind), name));
    const BookResult<> fit = CheckNewWorkbook(name);
    if (!fit)
        return Fail(AboutFile(BookFailureText(fit.error()), name));
    return {};
}

QCoro::Task<Result<Workbook>> ChooseWorkbook(const ForwardServices *services, ForwardChoice choice)
{
    Workbook workbook;
    workbook.file.name = choice.fileName;
    if (services->spreadsheet)
        workbook.program = services->spreadsheet();
    if (workbook.program)
        co_return workbook;
    Result<WorkbookFile> file = workbook.file;
    if (!choice.newName.isEmpty()) {
        const Result<> fit = CheckNewName(choice.newName);
        if (!fit)
            co_return Fail(fit.error());
        *file = {choice.newName, true, {}};
    } else if (choice.fileName.isEmpty()) {
        file = co_await OtherFile(services, *file, choice.title, Failure());
    }
    if (file)
        file = co_await FileNotHeld(services, *file, choice.title);
    if (!file)
        co_return Fail(file.error());
    workbook.file = *file;
    co_return workbook;
}

QCoro::Task<Result<QString>> WriteSheet(const ForwardServices *services, WorkbookFile file,
                                        std::shared_ptr<const Sheet> sheet, ProgressView *progress)
{
    if (progress)
        progress->SetMessage(Text(Str::ForwardWriting));
    const QString title = QString::fromStdString(sheet->title);
    BookResult<> written = co_await WriteOnce(services, file, sheet, progress);
    while (!written) {
        const QString text = AboutFile(BookFailureText(written.error()), file.name);
        const Failure taken = {text, FailureCode::FileTaken};
        Result<WorkbookFile> other = Fail(text);
        if (written.error().problem == BookProblem::InUse)
            other = co_await FileNotHeld(services, file, title);
        else if (written.error().problem == BookProblem::Taken)
            other = co_await OtherFile(services, file, title, taken);
        else if (written.error().problem == BookProblem::Cancelled)
            other = Fail(Text(Str::Canceled), FailureCode::Cancelled);
        if (!other)
            co_return Fail(other.error());
        file = *other;
        written = co_await WriteOnce(services, file, sheet, progress);
    }
    co_return file.name;
}

void SweepWorkbooks(UserStore &store)
{
    const QString name = store.Get(Section, WritingKey);
    if (name.isEmpty())
        return;
    SweepWorkbook(name);
    store.Save(Section, WritingKey, QString());
}

} // namespace px40
