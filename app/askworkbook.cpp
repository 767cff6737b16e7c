#include "app/askworkbook.h"

#include "forward/bookfailuretext.h"
#include "platform/filenames.h"
#include "platform/prompts.h"
#include "resources/strings.h"

#include <QStringList>

#include <optional>

namespace px40 {

namespace {

const QString Suffix = QStringLiteral("xlsx");

/// The buttons of the question, counted from the last: the first one, Retry, is not always there.
enum Choice { Cancel = 1, NewWorkbook, Retry };

/// A new workbook under a name that can be used.
QCoro::Task<Result<WorkbookFile>> AskForNew(Prompts *prompts, const Clock *clock, QString title)
{
    const QString filter = Text(Str::ExcelWorkbooks) + QStringLiteral(" (*.xlsx)");
    QString name = ProposedName(title, *clock, Suffix);
    while (true) {
        name = co_await prompts->AskSaveFile(name, filter);
        if (name.isEmpty())
            co_return Fail(Text(Str::Canceled), FailureCode::Cancelled);
        const Result<> fit = CheckNewName(name);
        if (fit)
            co_return WorkbookFile::New(name);
        co_await prompts->Warn(fit.error().text);
    }
}

QCoro::Task<Result<WorkbookFile>> Ask(Prompts *prompts, const Clock *clock, WorkbookFile file, QString title,
                                      FailureCode why)
{
    if (file.name.isEmpty()) {
        const Result<WorkbookFile> first = co_await AskForNew(prompts, clock, title);
        co_return first;
    }
    bool taken = why == FailureCode::FileTaken;
    std::optional<BookHolder> holder = HolderOf(file.name);
    while (taken || holder) {
        QString text = Text(Str::BookTaken);
        QStringList choices = {Text(Str::NewWorkbook), Text(Str::Cancel)};
        if (!taken) {
            text = Text(Str::BookInUse).arg(BookHolderText(*holder));
            choices.prepend(Text(Str::Retry));
        }
        const int answer = co_await prompts->AskOneOf(AboutFile(text, file.name), choices);
        const qsizetype choice = choices.size() - answer;
        if (choice == NewWorkbook) {
            const Result<WorkbookFile> other = co_await AskForNew(prompts, clock, title);
            taken = taken && !other;
            file = other.value_or(file); // without one the question is asked again
        } else if (choice == Cancel) {
            co_return Fail(Text(Str::Canceled), FailureCode::Cancelled);
        }
        holder = HolderOf(file.name);
    }
    co_return file;
}

} // namespace

AskForFile AskForFileBy(Prompts &prompts, const Clock &clock)
{
    return [&prompts, &clock](const WorkbookFile &file, const QString &title, FailureCode why) {
        return Ask(&prompts, &clock, file, title, why);
    };
}

} // namespace px40
