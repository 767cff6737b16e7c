#include "forward/workbookplace.h"

#include "forward/bookfailuretext.h"
#include "forward/sheettarget.h"
#include "link/linkstate.h"
#include "platform/filenames.h"
#include "platform/progressview.h"
#include "platform/prompts.h"
#include "platform/userstore.h"
#include "platform/waiting.h"
#include "resources/strings.h"

#include <QFileInfo>
#include <QStringList>

#include <algorithm>
#include <optional>

namespace px40 {

namespace {

constexpr int ProgressEveryMs = 30;
constexpr int Permille = 1000;

const QString Section = QStringLiteral("Forward");
const QString WritingKey = QStringLiteral("Writing");
const QString NewSuffix = QStringLiteral("xlsx");

/// Whether a workbook can be made under that name.
Result<> CheckNewName(const QString &name)
{
    if (QFileInfo(name).suffix().compare(NewSuffix, Qt::CaseInsensitive) != 0)
        return Fail(AboutFile(Text(Str::ForwardNewKind), name));
    const BookResult<> fit = CheckNewWorkbook(name);
    if (!fit)
        return Fail(AboutFile(BookFailureText(fit.error()), name));
    return {};
}

/// The name for a new workbook; empty when the user gives up.
QCoro::Task<QString> AskNewName(const ForwardServices *services, QString title)
{
    const QString filter = Text(Str::ExcelWorkbooks) + QStringLiteral(" (*.xlsx)");
    QString name = ProposedName(title, services->clock, NewSuffix);
    while (!name.isEmpty()) {
        name = co_await services->prompts->AskSaveFile(name, filter, NewSuffix);
        const Result<> fit = name.isEmpty() ? Result<>() : CheckNewName(name);
        if (fit)
            break;
        co_await services->prompts->Warn(fit.error().text);
    }
    co_return name;
}

/// What a new workbook is to be, once the user has named it.
QCoro::Task<Result<WorkbookFile>> NewFile(const ForwardServices *services, QString title)
{
    const QString name = co_await AskNewName(services, title);
    if (name.isEmpty())
        co_return Fail(Text(Str::Canceled), FailureCode::Cancelled);
    co_return WorkbookFile::New(name);
}

/// Another file in place of one that another program has open, or the same once that has closed it.
QCoro::Task<Result<WorkbookFile>> FileNotHeld(const ForwardServices *services, WorkbookFile file,
                                              QString title)
{
    enum Choice { Retry, NewBook };
    const QStringList choices = {Text(Str::Retry), Text(Str::NewWorkbook), Text(Str::Cancel)};
    std::optional<BookHolder> holder = HolderOf(file.name);
    while (holder) {
        const QString who = BookHolderText(*holder);
        if (!services->prompts)
            co_return Fail(Text(Str::ExportInUse).arg(who), FailureCode::FileInUse);
        const QString text = AboutFile(Text(Str::BookInUse).arg(who), file.name);
        const int choice = co_await services->prompts->AskOneOf(text, choices);
        if (choice != Retry && choice != NewBook)
            co_return Fail(Text(Str::Canceled), FailureCode::Cancelled);
        if (choice == NewBook) {
            const Result<WorkbookFile> other = co_await NewFile(services, title);
            file = other.value_or(file); // back to the question
        }
        holder = HolderOf(file.name);
    }
    co_return file;
}

/// Another file in place of one under whose name a file has appeared meanwhile.
QCoro::Task<Result<WorkbookFile>> FileNotTaken(const ForwardServices *services, WorkbookFile file,
                                               QString title)
{
    const QString text = AboutFile(Text(Str::BookTaken), file.name);
    if (!services->prompts)
        co_return Fail(text, FailureCode::FileTaken);
    const QStringList choices = {Text(Str::NewWorkbook), Text(Str::Cancel)};
    Result<WorkbookFile> other = Fail(Text(Str::Canceled), FailureCode::Cancelled);
    while (!other) {
        const int choice = co_await services->prompts->AskOneOf(text, choices);
        if (choice != 0)
            break;
        other = co_await NewFile(services, title);
    }
    co_return other;
}

/// Moves the bar along until the writing has ended.
QCoro::Task<void> FollowWriting(const ForwardServices *services, OneShot<bool> ended,
                                std::shared_ptr<WriteWatch> watch, ProgressView *progress)
{
    while (!ended.IsComplete()) {
        watch->cancelled = services->state.CancelRequest;
        if (progress)
            progress->RenProgress(false, std::max<int>(1, watch->permille),
                                  Permille); // 0 would leave it full
        co_await Delay(ProgressEveryMs);
    }
}

QCoro::Task<BookResult<>> WriteOnce(const ForwardServices *services, WorkbookFile file,
                                    std::shared_ptr<const Sheet> sheet, ProgressView *progress)
{
    const auto watch = std::make_shared<WriteWatch>();
    const auto written = std::make_shared<BookResult<>>(Refuse(BookProblem::Failed));
    const UserStore *const store = &services->store;
    // Keeping the name waits for the disk, as the writing does.
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
        file = co_await NewFile(services, choice.title);
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
        Result<WorkbookFile> other = Fail({}, FailureCode::Cancelled);
        if (written.error().problem == BookProblem::InUse)
            other = co_await FileNotHeld(services, file, title);
        else if (written.error().problem == BookProblem::Taken)
            other = co_await FileNotTaken(services, file, title);
        else if (written.error().problem == BookProblem::Cancelled)
            co_return Fail(services->state.ForwardErrorText, FailureCode::Cancelled);
        else
            co_return Fail(AboutFile(BookFailureText(written.error()), file.name));
        if (!other)
            co_return Fail(other.error());
        file = *other;
        written = co_await WriteOnce(services, file, sheet, progress);
    }
    co_return file.name;
}

void SweepWorkbooks(UserStore &store)
{
    const QString name = store.Get(Section, WritingKey, QString());
    if (name.isEmpty())
        return;
    SweepWorkbook(name);
    store.Save(Section, WritingKey, QString());
}

} // namespace px40
