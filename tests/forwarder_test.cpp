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
#include "testing/wait.h"
#include "tests/scriptedsheet.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <memory>
#include <stdexcept>

namespace px40 {

namespace {

using namespace Qt::Literals::StringLiterals;

constexpr int FullSheet = 1'048'572;

/// Of a task that comes to its end by itself.
template <typename T>
T ResultOf(QCoro::Task<T> task)
{
    const Running<T> running(std::move(task));
    return running.Finish() ? running.Value() : T();
}

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
        return {state, store, spreadsheet, AskForFileBy(prompts, clock),
                [this](const QString &text) { return prompts.Warn(text); }};
    }

    /// All in one go.
    Result<ForwardOutcome> Forward(const ForwardChoice &choice)
    {
        Forwarder forwarder(Services(), gate, progress);
        return ResultOf(forwarder.ForwardData(dataSet, choice));
    }

    QTemporaryDir folder;
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
    void WholeSetIsForwarded();
    void StatusCheckGoesOnBeside();
    void CancelAndFailureAreTold_data();
    void CancelAndFailureAreTold();
    void BusySpreadsheetGetsItsRowsLater();
    void FailedRunGivesTheSpreadsheetBack_data();
    void FailedRunGivesTheSpreadsheetBack();
    void HiddenSpreadsheetHoldsTheStart();
    void HeldWorkbookIsAskedAbout();
    void TooManyRowsAreRefused();
    void FullSheetIsFinishedWhileTheRunGoesOn();
};

void ForwarderTest::WholeSetIsForwarded()
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
        QVERIFY(!MayClose(rig.state));
        if (call.startsWith(u"cell 6"))
            const LinkUse command(rig.gate, ActivitySourceCommand); // forwarding takes it up again
    };
    const Result<ForwardOutcome> outcome = rig.Forward({QString(), u"Loop 7"_s, true});
    QVERIFY(outcome);
    QCOMPARE(outcome->samples, 3);
    QVERIFY(outcome->file.isEmpty());
    QCOMPARE(rig.progress.caption, u"Forward data to Microsoft Excel"_s);
    QVERIFY(!rig.progress.shown);
    QCOMPARE(rig.progress.steps, QStringList({u"true 1/4"_s, u"true 2/4"_s, u"true 3/4"_s, u"false 4/4"_s}));
    QCOMPARE(rig.script.calls.mid(0, 5),
             QStringList({u"attach"_s, u"attach"_s, u"attach"_s, u"visible 0"_s, u"open"_s}));
    QCOMPARE(rig.script.calls.mid(rig.script.calls.size() - 3),
             QStringList({u"chart"_s, u"visible 1"_s, u"visible 1"_s}));
    QCOMPARE(rig.state.LinkActivity, int(ActivityIdle));
    QVERIFY(MayClose(rig.state));
    QVERIFY(rig.prompts.warnings.isEmpty());
}

/// One that begins meanwhile has the link beyond the end of forwarding.
void ForwarderTest::StatusCheckGoesOnBeside()
{
    Rig rig;
    std::optional<LinkUse> check;
    rig.script.onCall = [&](const QString &call) {
        if (call == u"chart")
            check.emplace(rig.gate, ActivityStatusCheck);
    };
    Forwarder forwarder(rig.Services(), rig.gate, rig.progress);
    const Running<Result<ForwardOutcome>> running(forwarder.ForwardData(rig.dataSet, {}));
    QVERIFY(running.Finish() && running.Value());
    QCOMPARE(rig.state.LinkActivity, int(ActivityStatusCheck));
    check.reset();
    QCOMPARE(rig.state.LinkActivity, int(ActivityIdle));
}

void ForwarderTest::CancelAndFailureAreTold_data()
{
    QTest::addColumn<QString>("at"); // the call at which it is cancelled, or fails
    QTest::addColumn<bool>("cancels");
    QTest::addColumn<bool>("shownAgain");
    QTest::newRow("cancelled: the only instance is hidden") << u"attach"_s << true << false;
    QTest::newRow("cancelled at a row") << u"cell 6,2 10:00:01"_s << true << true;
    QTest::newRow("not attached") << u"attach"_s << false << false;
    QTest::newRow("not opened") << u"open"_s << false << true;
    QTest::newRow("no chart") << u"chart"_s << false << true;
    QTest::newRow("memory is short") << u"cell 5,3 0"_s << false << true;
}

void ForwarderTest::CancelAndFailureAreTold()
{
    QFETCH(QString, at);
    QFETCH(bool, cancels);
    QFETCH(bool, shownAgain);
    Rig rig;
    rig.AddRows(3);
    rig.script.onCall = [&](const QString &call) {
        if (call != at)
            return;
        if (call.endsWith(u" 0"))
            throw std::runtime_error("The server is gone.");
        const Reply held = call == u"attach" ? Reply::Busy : Reply::Done;
        rig.script.answers[call.section(u' ', 0, 0)] = {cancels ? held : Reply::Failed};
        rig.state.CancelRequest = cancels;
        if (cancels)
            rig.state.ForwardErrorText = u"Canceled."_s; // by the progress dialog
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

void ForwarderTest::BusySpreadsheetGetsItsRowsLater()
{
    Rig rig;
    rig.AddRows(2); // of an earlier run: table and statistics are those of the whole set
    RowForwarder rows(rig.Services());
    Result<ForwardOutcome> outcome;
    connect(&rows, &RowForwarder::closed, &rows, [&](const auto &closed) { outcome = closed; });
    QVERIFY(ResultOf(rows.Prepare({QString(), u"Run"_s, true})));
    QVERIFY(ResultOf(rows.Open(rig.dataSet)));
    QCOMPARE(rig.script.calls, QStringList({u"attach"_s, u"interactive 0"_s, u"open"_s}));

    rig.script.answers[u"cell"_s] = {Reply::Done, Reply::Busy, Reply::Busy, Reply::Busy};
    for (int row = 1; row <= 3; ++row) {
        rig.AddRows(1);
        QCOMPARE(*rows.Write(), RowForward::Row::Taken);
    }
    QVERIFY(ResultOf(rows.Close()));
    QCOMPARE(outcome.value_or(ForwardOutcome()).samples, 5);
    QCOMPARE(rig.script.held, 0); // the user may close it
    const QStringList cells = rig.script.Cells();
    QVERIFY(cells.contains(u"cell 4,2 TIME"_s));
    QCOMPARE(cells.filter(u",2 10:00:01"_s), QStringList(u"cell 6,2 10:00:01"_s));
    QCOMPARE(cells.filter(u",2 10:00:00"_s).constLast(), u"cell 9,2 10:00:00"_s);
    QCOMPARE(rig.script.calls.mid(rig.script.calls.size() - 2),
             QStringList({u"chart"_s, u"interactive 1"_s}));
}

void ForwarderTest::FailedRunGivesTheSpreadsheetBack_data()
{
    QTest::addColumn<QString>("at");
    QTest::addColumn<bool>("busy"); // before it fails
    QTest::newRow("not opened") << u"open"_s << false;
    QTest::newRow("at a row") << u"cell"_s << false;
    QTest::newRow("between two rows") << u"cell"_s << true;
}

void ForwarderTest::FailedRunGivesTheSpreadsheetBack()
{
    QFETCH(QString, at);
    QFETCH(bool, busy);
    Rig rig;
    RowForwarder rows(rig.Services());
    QVERIFY(ResultOf(rows.Prepare({})));
    rig.script.answers[at] = {Reply::Failed};
    if (busy)
        rig.script.answers[at].prepend(Reply::Busy);
    rig.script.answers[u"interactive"_s] = {Reply::Done, Reply::Busy}; // at first
    QCOMPARE(ResultOf(rows.Open(rig.dataSet)).has_value(), at == u"cell");
    rig.AddRows(1);
    const Result<RowForward::Row> written = rows.Write();
    QCOMPARE(written.has_value(), busy);
    QVERIFY(WaitUntil([&] { return rig.script.held == 0; }));
    QCOMPARE(rig.script.calls.count(u"interactive 1"_s), 2);
    const Result<> closed = ResultOf(rows.Close());
    QVERIFY(!closed);
    QCOMPARE(closed.error().text, u"The server is gone."_s);
}

/// Until the user stops the run.
void ForwarderTest::HiddenSpreadsheetHoldsTheStart()
{
    Rig rig;
    RowForwarder rows(rig.Services());
    QVERIFY(ResultOf(rows.Prepare({})));
    rig.script.onCall = [&](const QString &call) {
        rig.script.answers[call] = {Reply::Busy};
        rig.state.RealtimeStop = rig.script.calls.size() == 2;
    };
    QVERIFY(!ResultOf(rows.Open(rig.dataSet)));
    QCOMPARE(rig.script.calls, QStringList({u"attach"_s, u"attach"_s}));
}

void ForwarderTest::HeldWorkbookIsAskedAbout()
{
    Rig rig;
    rig.AddRows(1);
    const QString book = rig.folder.filePath(u"book.xlsx"_s);
    const QString other = rig.folder.filePath(u"other.xlsx"_s);
    const QString lock = rig.folder.filePath(u".~lock.book.xlsx#"_s);
    rig.spreadsheet = nullptr;
    const auto forward = [&](const QString &name) { return rig.Forward({name, {}, true}).has_value(); };
    rig.prompts.files = {rig.folder.filePath(u"book.ods"_s), book}; // what is no name for it is asked again
    QVERIFY(forward(QString()));
    QCOMPARE(rig.prompts.warnings.size(), 1);
    const QByteArray before = Contents(book);

    QVERIFY(Put(lock, ",ada,bench,21.11.2026 10:00,;"));
    rig.prompts.choices = {0, 2};
    QVERIFY(!forward(book));
    QCOMPARE(rig.prompts.questions.size(), 2);
    QVERIFY(rig.prompts.questions.constFirst().contains(u"ada"));
    QCOMPARE(Contents(book), before);
    rig.prompts.choices = {1};
    rig.prompts.files = {other};
    QVERIFY(forward(book));
    QCOMPARE(Contents(book), before);
    QVERIFY(QFile::exists(other));

    QVERIFY(QFile::remove(lock)); // and somebody opens it while the rows are written
    rig.progress.onStep = [&](int) { QVERIFY(Put(lock, {})); };
    rig.prompts.choices = {2};
    QVERIFY(!forward(book));
    QCOMPARE(rig.prompts.warnings.constLast(), u"Canceled."_s);
    QCOMPARE(Contents(book), before);
    QVERIFY(QFile::remove(lock));
    rig.progress.onStep = nullptr;
    QVERIFY(forward(book));
    QVERIFY(Contents(book) != before);
}

void ForwarderTest::TooManyRowsAreRefused()
{
    Rig rig;
    rig.AdoptRows(FullSheet + 1);
    QVERIFY(!rig.Forward({}));
    QCOMPARE(rig.prompts.warnings.size(), 1);
    QVERIFY(rig.prompts.warnings.constFirst().contains(u"1,048,573"));
    QVERIFY(rig.script.calls.isEmpty());
}

void ForwarderTest::FullSheetIsFinishedWhileTheRunGoesOn()
{
    Rig rig;
    rig.spreadsheet = nullptr;
    const QString book = rig.folder.filePath(u"book.xlsx"_s);
    rig.prompts.files = {book};
    RowForwarder rows(rig.Services());
    QVERIFY(ResultOf(rows.Prepare({})));
    rig.AdoptRows(FullSheet - 1);
    QVERIFY(ResultOf(rows.Open(rig.dataSet)));
    rig.AddRows(1);
    QCOMPARE(*rows.Write(), RowForward::Row::Taken);
    rig.AddRows(1);
    QCOMPARE(*rows.Write(), RowForward::Row::Full);
    const Running<Result<>> closing(rows.Close());
    constexpr int LongEnough = 120'000;
    rig.AddRows(1000);
    QVERIFY(WaitUntil([&] { return closing.Done(); }, LongEnough) && closing.Value());
    const QByteArray sheet = ReadPackage(book)["xl/worksheets/sheet1.xml"].text;
    QCOMPARE(sheet.count("<row "), FullSheet + 2); // and the title, and the heading
    QVERIFY(sheet.contains("<row r=\"1048576\"><c r=\"B1048576\""));
}

} // namespace px40

QTEST_GUILESS_MAIN(px40::ForwarderTest)
#include "forwarder_test.moc"
