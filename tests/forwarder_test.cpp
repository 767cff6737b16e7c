// Forwarding to a spreadsheet program that is busy, hidden, closed or cancelled, and to files that others
// have open: what the user is asked and told, and that no reading is lost.

#include "app/askworkbook.h"
#include "document/dataset.h"
#include "forward/forwarder.h"
#include "forward/rowforwarder.h"
#include "link/linkstate.h"
#include "link/linkuse.h"
#include "platform/userstore.h"
#include "testing/books.h"
#include "testing/heldclock.h"
#include "testing/prompts.h"
#include "testing/rows.h"
#include "testing/wait.h"

#include <QFile>

namespace px40 {

namespace {

using namespace Qt::Literals::StringLiterals;

constexpr int FullSheet = 1'048'572;

/// The call at which it is cancelled, or else fails; whether the spreadsheet is shown again.
using Ending = std::tuple<QString, bool, bool>;
using FailingCall = std::pair<QString, bool>; // busy at first

/// How a spreadsheet takes a call.
enum class Reply { Done, Again, Busy, Failed };

/// What a spreadsheet was told, and how it is to answer.
struct Script
{
    QStringList calls;
    QHash<QString, QList<Reply>> answers; ///< by the call's first word; `Done` when there is none left
    std::function<void(const QString &)> onCall;
    int held = 0; ///< targets that somebody still has

    SheetStep Call(const QString &call)
    {
        calls.append(call);
        if (onCall)
            onCall(call);
        QList<Reply> &left = answers[call.section(u' ', 0, 0)];
        const Reply reply = left.isEmpty() ? Reply::Done : left.takeFirst();
        if (reply == Reply::Busy || reply == Reply::Failed)
            throw SpreadsheetError("The server is gone.", reply == Reply::Busy);
        return reply == Reply::Done ? SheetStep::Done : SheetStep::Again;
    }
    QStringList Cells() const { return calls.filter(QStringLiteral("cell ")); }
};

class ScriptedSheet : public Spreadsheet
{
  public:
    explicit ScriptedSheet(Script &script) : script_(&script) { ++script.held; }
    ~ScriptedSheet() override { --script_->held; }

    SheetStep Attach() override { return script_->Call(QStringLiteral("attach")); }
    SheetStep OpenOrAdd(const std::string &) override { return script_->Call(QStringLiteral("open")); }
    void SetVisible(bool on) override { script_->Call(QStringLiteral("visible %1").arg(on)); }
    void SetInteractive(bool on) override { script_->Call(QStringLiteral("interactive %1").arg(on)); }
    void SetCell(int row, int column, CellFormat, std::string_view text) override
    {
        script_->Call(QStringLiteral("cell %1,%2 %3")
                          .arg(row)
                          .arg(column)
                          .arg(QString::fromUtf8(text.data(), qsizetype(text.size()))));
    }
    void SetBorder(const CellRange &, Edge, BorderWeight) override {}
    void Centre(const CellRange &) override {}
    void Activate(int, int) override {}
    void AddChart(const SheetChart &) override { script_->Call(QStringLiteral("chart")); }

  private:
    Script *script_;
};

struct Rig
{
    Rig() { dataSet->OpenNew(KindRealtime); }

    void AddRows(int count) const
    {
        for (int i = 0; i < count; ++i) {
            static_cast<void>(dataSet->AddGridrow());
            dataSet->AddData(u"10:00:0%1"_s.arg(i), QString::number(i), u"DCmA"_s, u"1"_s, u"V"_s);
        }
    }

    void AdoptRows(int count) const
    {
        RowStore rows;
        for (int i = 0; i < count; ++i)
            rows.AppendLatin1({"", "1", "", "", ""});
        dataSet->Table().Adopt(std::move(rows), count);
    }

    ForwardServices Services()
    {
        return {state, store, spreadsheet, isThere ? AskForFileBy(prompts, clock) : AskForFile(),
                [this](const QString &text) { return prompts.Warn(text); }};
    }

    /// All in one go.
    Result<ForwardOutcome> Forward(const ForwardChoice &choice)
    {
        Forwarder forwarder(Services(), gate, progress);
        return Finish(forwarder.ForwardData(dataSet, choice));
    }

    /// To a file, without a spreadsheet. Once that is chosen, something happens.
    bool ForwardTo(
        const QString &name, const std::function<void()> &happens = [] {})
    {
        spreadsheet = nullptr;
        Forwarder forwarder(Services(), gate, progress);
        std::optional<LinkUse> exchange(std::in_place, gate, ActivityStatusCheck);
        const Running<Result<ForwardOutcome>> running(forwarder.ForwardData(dataSet, {name, {}, true}));
        if (WaitUntil([&] { return progress.shown || running.Done(); }))
            happens();
        exchange.reset();
        return running.Finish() && running.Value();
    }

    /// The workbook, under the last of the names that are ready for the file dialog.
    bool MakeBook()
    {
        prompts.files.push_back(book);
        return ForwardTo({});
    }

    QTemporaryDir folder;
    const QString book = folder.filePath(u"book.xlsx"_s);
    bool isThere = true; ///< the user, who can be asked
    UserStore store = UserStore::InFile(folder.filePath(u"user.ini"_s));
    HeldClock clock;
    LinkState state;
    LinkGate gate{state};
    ScriptedPrompts prompts;
    RecordedProgress progress;
    DocumentShared shared;
    std::shared_ptr<DataSet> dataSet = std::make_shared<DataSet>(shared);
    Script script;
    std::function<std::unique_ptr<Spreadsheet>()> spreadsheet = [this] {
        return std::make_unique<ScriptedSheet>(script);
    };
};

} // namespace

class ForwarderTest : public QObject
{
    Q_OBJECT

  private Q_SLOTS:
    void WholeSetIsForwarded()
    {
        Rig rig;
        rig.AddRows(3);
        rig.script.answers[u"attach"_s] = {Reply::Busy, Reply::Again};
        rig.script.answers[u"cell"_s] = {Reply::Done, Reply::Busy};
        rig.script.answers[u"visible"_s] = {Reply::Done, Reply::Busy};
        rig.script.onCall = [&](const QString &call) {
            if (!call.startsWith(u"cell")) // each in a row of its own
                QCOMPARE(rig.state.LinkActivity, int(ActivityForwarding));
            // The dialog is gone before the spreadsheet comes up.
            QCOMPARE(rig.progress.shown, call != u"visible 1");
            QVERIFY(!MayClose(rig.state) && !rig.state.LinkBusy);
            if (call.startsWith(u"cell 6"))
                const LinkUse command(rig.gate, ActivitySourceCommand); // forwarding takes it up again
        };
        const Result<ForwardOutcome> outcome = rig.Forward({QString(), u"Loop 7"_s, true});
        QVERIFY(outcome);
        QCOMPARE(outcome->samples, 3);
        QVERIFY(outcome->file.isEmpty());
        QCOMPARE(rig.progress.caption, u"Forward data to Microsoft Excel"_s);
        QVERIFY(!rig.progress.shown);
        QCOMPARE(rig.progress.steps,
                 QStringList({u"true 1/4"_s, u"true 2/4"_s, u"true 3/4"_s, u"false 4/4"_s}));
        QCOMPARE(rig.script.calls.mid(0, 5),
                 QStringList({u"attach"_s, u"attach"_s, u"attach"_s, u"visible 0"_s, u"open"_s}));
        QCOMPARE(rig.script.calls.mid(rig.script.calls.size() - 3),
                 QStringList({u"chart"_s, u"visible 1"_s, u"visible 1"_s}));
        QCOMPARE(rig.state.LinkActivity, int(ActivityIdle));
        QVERIFY(MayClose(rig.state));
        QVERIFY(rig.prompts.warnings.isEmpty());
    }

    void CancelAndFailureAreTold_data()
    {
        AddRows<Ending>({{"cancelled: the only instance is hidden", {u"attach"_s, true, false}},
                         {"cancelled at a row", {u"cell 6,2 10:00:01"_s, true, true}},
                         {"not attached", {u"attach"_s, false, false}},
                         {"not opened", {u"open"_s, false, true}},
                         {"no chart", {u"chart"_s, false, true}},
                         {"memory is short", {u"cell 5,3 0"_s, false, true}}});
    }

    void CancelAndFailureAreTold()
    {
        const auto [at, cancels, shownAgain] = ThisRow<Ending>();
        Rig rig;
        rig.AddRows(3);
        rig.script.onCall = [&, at = at, cancels = cancels](const QString &call) {
            if (call != at)
                return;
            if (call.endsWith(u" 0"))
                throw std::runtime_error("The server is gone.");
            const Reply held = call == u"attach" ? Reply::Busy : Reply::Done;
            rig.script.answers[call.section(u' ', 0, 0)] = {cancels ? held : Reply::Failed};
            rig.state.CancelRequest = cancels;
        };
        rig.prompts.onWarn = [&] {
            rig.script.calls << u"box"_s;
            QVERIFY(!rig.progress.shown && !MayClose(rig.state));
        };
        const Result<ForwardOutcome> outcome = rig.Forward({});
        QVERIFY(!outcome && (outcome.error().code == FailureCode::Cancelled) == cancels);
        QCOMPARE(rig.prompts.warnings, QStringList(cancels ? u"Canceled."_s : u"The server is gone."_s));
        const QStringList end = rig.script.calls.mid(rig.script.calls.size() - 2);
        QCOMPARE(end.constLast(), u"box"_s);
        QCOMPARE(end.constFirst() == u"visible 1", shownAgain);
        if (at.startsWith(u"cell 6")) // the row is finished, and no other begun
            QVERIFY(rig.script.Cells().constLast().startsWith(u"cell 6,6 "));
        QVERIFY(!rig.progress.shown && MayClose(rig.state));
    }

    void BusySpreadsheetGetsItsRowsLater()
    {
        Rig rig;
        rig.AddRows(2); // of an earlier run: table and statistics are those of the whole set
        RowForwarder rows(rig.Services());
        Result<ForwardOutcome> outcome;
        connect(&rows, &RowForwarder::closed, &rows, [&](const auto &closed) { outcome = closed; });
        QVERIFY(Finish(rows.Prepare({QString(), u"Run"_s, true})));
        QVERIFY(Finish(rows.Open(rig.dataSet)));
        QCOMPARE(rig.script.calls, QStringList({u"attach"_s, u"interactive 0"_s, u"open"_s}));

        rig.script.answers[u"cell"_s] = {Reply::Done, Reply::Busy, Reply::Busy, Reply::Busy};
        rig.script.onCall = [&](const QString &call) {
            if (call.startsWith(u"cell 7,3")) // messages are handled within a call
                QVERIFY(rows.Write());
        };
        for (int row = 1; row <= 3; ++row) {
            rig.AddRows(1);
            QCOMPARE(*rows.Write(), RowForward::Row::Taken);
        }
        QVERIFY(Finish(rows.Close()));
        QCOMPARE(outcome.value_or(ForwardOutcome()).samples, 5);
        QCOMPARE(rig.script.held, 0); // the user may close it
        const QStringList cells = rig.script.Cells();
        QVERIFY(cells.contains(u"cell 4,2 TIME"_s));
        QCOMPARE(cells.filter(u",2 10:00:01"_s), QStringList(u"cell 6,2 10:00:01"_s));
        QCOMPARE(cells.filter(u",2 10:00:00"_s).constLast(), u"cell 9,2 10:00:00"_s);
        QCOMPARE(rig.script.calls.mid(rig.script.calls.size() - 2),
                 QStringList({u"chart"_s, u"interactive 1"_s}));
    }

    void FailedRunGivesTheSpreadsheetBack_data()
    {
        AddRows<FailingCall>({{"not opened", {u"open"_s, false}},
                              {"at a row", {u"cell"_s, false}},
                              {"between two rows", {u"cell"_s, true}}});
    }

    void FailedRunGivesTheSpreadsheetBack()
    {
        const auto [at, busy] = ThisRow<FailingCall>();
        Rig rig;
        RowForwarder rows(rig.Services());
        QVERIFY(Finish(rows.Prepare({})));
        rig.script.answers[at] = {Reply::Failed};
        if (busy)
            rig.script.answers[at].prepend(Reply::Busy);
        rig.script.answers[u"interactive"_s] = {Reply::Done, Reply::Busy}; // at first
        QCOMPARE(Finish(rows.Open(rig.dataSet)).has_value(), at == u"cell");
        rig.AddRows(1);
        const Result<RowForward::Row> written = rows.Write();
        QCOMPARE(written.has_value(), busy);
        QVERIFY(WaitUntil([&] { return rig.script.held == 0; }));
        QCOMPARE(rig.script.calls.count(u"interactive 1"_s), 2);
        const Result<> closed = Finish(rows.Close());
        QVERIFY(!closed);
        QCOMPARE(closed.error().text, u"The server is gone."_s);
    }

    /// Until the user stops the run.
    void HiddenSpreadsheetHoldsTheStart()
    {
        Rig rig;
        RowForwarder rows(rig.Services());
        QVERIFY(Finish(rows.Prepare({})));
        rig.script.onCall = [&](const QString &call) {
            rig.script.answers[call] = {Reply::Busy};
            rig.state.RealtimeStop = rig.script.calls.size() == 2;
        };
        QVERIFY(!Finish(rows.Open(rig.dataSet)));
        QCOMPARE(rig.script.calls, QStringList({u"attach"_s, u"attach"_s}));
    }

    /// Another program has it open, or opens it before it is written.
    void HeldWorkbookIsAskedAbout()
    {
        Rig rig;
        rig.AddRows(1);
        const QString other = rig.folder.filePath(u"other.xlsx"_s);
        const QString lock = rig.folder.filePath(u".~lock.book.xlsx#"_s);
        QVERIFY(rig.MakeBook());
        const QByteArray before = Contents(rig.book);

        QVERIFY(Put(lock, ",ada,bench,21.11.2026 10:00,;"));
        rig.prompts.choices = {0, 2};
        QVERIFY(!rig.ForwardTo(rig.book));
        QCOMPARE(rig.prompts.questions.size(), 2);
        QVERIFY(rig.prompts.questions.constFirst().contains(u"ada"));
        QCOMPARE(Contents(rig.book), before);
        rig.prompts.choices = {1, 1};
        rig.prompts.files = {QString(), other}; // back to the question, then a name
        QVERIFY(rig.ForwardTo(rig.book));
        QCOMPARE(Contents(rig.book), before);
        QVERIFY(QFile::exists(other));

        QVERIFY(QFile::remove(lock));
        rig.prompts.choices = {2};
        QVERIFY(!rig.ForwardTo(rig.book, [&] { Put(lock, {}); }));
        QCOMPARE(rig.prompts.warnings.constLast(), u"Canceled."_s);
        QCOMPARE(Contents(rig.book), before);
        QVERIFY(QFile::remove(lock));
        QVERIFY(rig.ForwardTo(rig.book));
        QVERIFY(Contents(rig.book) != before);
    }

    /// What is no name for a new workbook is asked again, and so is one under which a file has come
    /// meanwhile.
    void NewNameIsAskedFor()
    {
        Rig rig;
        rig.AddRows(1);
        const QString other = rig.folder.filePath(u"other.xlsx"_s);
        const QString nowhere = rig.folder.filePath(u"gone/new.xlsx"_s);
        rig.prompts.files = {rig.folder.filePath(u"book.ods"_s), nowhere};
        QVERIFY(rig.MakeBook());
        QCOMPARE(rig.prompts.warnings.size(), 2);
        QVERIFY(rig.prompts.warnings.constLast().endsWith(u"\r\n"_s + QDir::toNativeSeparators(nowhere)));

        rig.prompts.choices = {0, 0};
        rig.prompts.files = {rig.book, QString(), other}; // back to the question, then a name
        QVERIFY(rig.ForwardTo({}, [&] { Put(rig.book, "theirs"); }));
        QCOMPARE(rig.prompts.questions.size(), 2);
        QVERIFY(rig.prompts.questions.constFirst().contains(u" name by now."));
        QCOMPARE(Contents(rig.book), QByteArray("theirs"));
        QCOMPARE(SheetNames(other), QStringList(u"PX40 1"_s));

        rig.isThere = false;
        const Result<ForwardOutcome> alone = rig.Forward({{}, {}, true, rig.book});
        QVERIFY(!alone && alone.error().code == FailureCode::FileTaken);
        QCOMPARE(Contents(rig.book), QByteArray("theirs"));
    }

    void TooManyRowsAreRefused()
    {
        Rig rig;
        rig.AdoptRows(FullSheet + 1);
        QVERIFY(!rig.Forward({}));
        QCOMPARE(rig.prompts.warnings.size(), 1);
        QVERIFY(rig.prompts.warnings.constFirst().contains(u"1,048,573"));
        QVERIFY(rig.script.calls.isEmpty());
    }

    void FullSheetIsFinishedWhileTheRunGoesOn()
    {
        Rig rig;
        rig.spreadsheet = nullptr;
        rig.prompts.files = {rig.book};
        RowForwarder rows(rig.Services());
        QVERIFY(Finish(rows.Prepare({})));
        rig.AdoptRows(FullSheet - 1);
        QVERIFY(Finish(rows.Open(rig.dataSet)));
        rig.AddRows(1);
        QCOMPARE(*rows.Write(), RowForward::Row::Taken);
        rig.AddRows(1);
        QCOMPARE(*rows.Write(), RowForward::Row::Full);
        const Running<Result<>> closing(rows.Close());
        constexpr int LongEnough = 120'000;
        rig.AddRows(1000);
        QVERIFY(WaitUntil([&] { return closing.Done(); }, LongEnough) && closing.Value());
        const QByteArray sheet = ReadPackage(rig.book)["xl/worksheets/sheet1.xml"].text;
        QCOMPARE(sheet.count("<row "), FullSheet + 2); // and the title, and the heading
        QVERIFY(sheet.contains("<row r=\"1048576\"><c r=\"B1048576\""));
    }
};

} // namespace px40

QTEST_GUILESS_MAIN(px40::ForwarderTest)
#include "forwarder_test.moc"
