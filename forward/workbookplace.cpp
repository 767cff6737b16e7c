#include "forward/workbookplace.h"

#include "forward/filekind.h"
#include "forward/xlsxfile.h"
#include "link/linkstate.h"
#include "platform/filenames.h"
#include "platform/progressview.h"
#include "platform/prompts.h"
#include "platform/replacefile.h"
#include "platform/userstore.h"
#include "platform/waiting.h"
#include "resources/strings.h"

#include <QDir>
#include <QFileInfo>
#include <QStringList>

#include <algorithm>

namespace px40 {

namespace {

constexpr int ProgressEveryMs = 30;
constexpr int Permille = 1000;

const QString Section = QStringLiteral("Forward");
const QString WritingKey = QStringLiteral("Writing");

/// Why no workbook can be made under that name; empty when one can.
QString WhyNotNew(const QString &name)
{
    if (QFileInfo(name).suffix().compare(QStringLiteral("xlsx"), Qt::CaseInsensitive) != 0)
        return Text(Str::ForwardNewKind);
    return WhyNotMade(RealName(name));
}

/// The name for a new workbook; empty when the user gives up.
QCoro::Task<QString> AskNewName(const ForwardServices *services, QString title)
{
    const QString filter = Text(Str::ExcelWorkbooks) + QStringLiteral(" (*.xlsx)");
    const QString suffix = QStringLiteral("xlsx");
    QString name = ProposedName(title, services->clock, suffix);
    bool asking = true;
    while (asking) {
        name = co_await services->prompts.AskSaveFile(name, filter, suffix);
        const QString reason = name.isEmpty() ? QString() : WhyNotNew(name);
        asking = !reason.isEmpty();
        if (asking)
            co_await services->prompts.Warn(AboutFile(reason, name));
    }
    co_return name;
}

enum class Held { Retry, NewBook, GiveUp };

QCoro::Task<Held> AskAboutHolder(const ForwardServices *services, QString holder, QString name)
{
    const QStringList choices = {Text(Str::Retry), Text(Str::NewWorkbook), Text(Str::Cancel)};
    const QString text = AboutFile(Text(Str::BookInUse).arg(holder), name);
    const int choice = co_await services->prompts.AskOneOf(text, choices);
    co_return static_cast<Held>(choice);
}

/// Another name in place of that of a workbook which another program has open, or the same once that program
/// has closed it. Empty when the user gives up.
QCoro::Task<QString> NameNotHeld(const ForwardServices *services, QString name, QString title)
{
    QString holder = XlsxFile::HolderOf(name);
    while (!holder.isEmpty()) {
        const Held answer = co_await AskAboutHolder(services, holder, name);
        if (answer == Held::GiveUp)
            co_return QString();
        if (answer == Held::NewBook) {
            const QString other = co_await AskNewName(services, title);
            if (!other.isEmpty())
                name = other;
        }
        holder = XlsxFile::HolderOf(name);
    }
    co_return name;
}

/// Another name in place of one under which a file has appeared meanwhile. Empty when the user gives up.
QCoro::Task<QString> NameNotTaken(const ForwardServices *services, QString name, QString title)
{
    const QStringList choices = {Text(Str::NewWorkbook), Text(Str::Cancel)};
    const QString text = AboutFile(Text(Str::BookTaken), name);
    QString other;
    while (other.isEmpty()) {
        const int choice = co_await services->prompts.AskOneOf(text, choices);
        if (choice != 0)
            break;
        other = co_await AskNewName(services, title);
    }
    co_return other;
}

/// What is to be written instead, or again, after such a result. Empty when the user gives up.
QCoro::Task<QString> NameAfter(const ForwardServices *services, WriteResult result, QString name,
                               QString title)
{
    if (result == WriteResult::Taken) {
        const QString other = co_await NameNotTaken(services, name, title);
        co_return other;
    }
    const QString other = co_await NameNotHeld(services, name, title);
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

QCoro::Task<WriteResult> WriteOnce(const ForwardServices *services, std::shared_ptr<XlsxFile> file,
                                   ProgressView *progress)
{
    const auto watch = std::make_shared<WriteWatch>();
    const auto result = std::make_shared<WriteResult>(WriteResult::Failed);
    const UserStore *const store = &services->store;
    // Keeping the name waits for the disk, as the writing does.
    const OneShot<bool> ended = RunInThread([file, watch, result, store] {
        store->SaveNow(Section, WritingKey, file->Name());
        *result = file->Write(watch.get());
        store->SaveNow(Section, WritingKey, QString());
    });
    co_await FollowWriting(services, ended, watch, progress);
    const bool good = co_await ended;
    if (*result == WriteResult::Failed)
        services->state.ForwardErrorText = AboutFile(
            good ? QString::fromStdString(file->ErrorText()) : Text(Str::ExportFailed), file->Name());
    co_return *result;
}

} // namespace

QString AboutFile(const QString &sentence, const QString &file)
{
    return sentence + QStringLiteral("\r\n") + QDir::toNativeSeparators(file);
}

QCoro::Task<Workbook> ChooseWorkbook(const ForwardServices *services, ForwardChoice choice)
{
    Workbook workbook;
    if (services->spreadsheet)
        workbook.target = services->spreadsheet();
    if (workbook.target) {
        workbook.addTo = choice.fileName;
        co_return workbook;
    }
    QString name = choice.fileName;
    if (name.isEmpty())
        name = co_await AskNewName(services, choice.title);
    if (!name.isEmpty())
        name = co_await NameNotHeld(services, name, choice.title);
    if (name.isEmpty())
        co_return workbook;
    workbook.file = std::make_shared<XlsxFile>(choice.title);
    workbook.target = workbook.file;
    if (name == choice.fileName)
        workbook.addTo = name;
    else
        workbook.file->SetNewName(name);
    co_return workbook;
}

QCoro::Task<bool> WriteWorkbook(const ForwardServices *services, std::shared_ptr<XlsxFile> file,
                                QString title, ProgressView *progress)
{
    if (progress)
        progress->SetMessage(Text(Str::ForwardWriting));
    WriteResult result = co_await WriteOnce(services, file, progress);
    while (result == WriteResult::InUse || result == WriteResult::Taken) {
        const QString before = file->Name();
        const QString name = co_await NameAfter(services, result, before, title);
        if (name.isEmpty()) {
            services->state.ForwardErrorText = Text(Str::Canceled);
            co_return false;
        }
        if (name != before || result == WriteResult::Taken)
            file->SetNewName(name);
        result = co_await WriteOnce(services, file, progress);
    }
    co_return result == WriteResult::Done;
}

void SweepWorkbooks(UserStore &store)
{
    const QString name = store.Get(Section, WritingKey, QString());
    if (name.isEmpty())
        return;
    XlsxFile::Sweep(name);
    store.Save(Section, WritingKey, QString());
}

} // namespace px40
