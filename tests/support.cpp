#include "tests/support.h"

#include <QDeadlineTimer>
#include <QEventLoop>
#include <QFile>
#include <QTimer>

#ifdef Q_OS_UNIX
#include <csignal>
#endif

namespace px40 {

QByteArray Contents(const QString &name)
{
    QFile file(name);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QByteArray SampleFile(const char *kind, const char *shape)
{
    return QByteArray(kind) + "\r\n" + shape +
           "\r\n00,00,00,05\r\nTrue,,,,\r\n2\r\nFalse,1,1\r\nTrue,0,10,1,1\r\n"
           "10:00:00,1.5,VDC,,\r\n10:00:05,+OL,VDC,,\r\n10:00:10,2.5,VDC,,\r\n,,,,\r\n";
}

#ifdef Q_OS_UNIX
FullDisk::FullDisk(rlim_t bytes) : handler_(std::signal(SIGXFSZ, SIG_IGN))
{
    ::getrlimit(RLIMIT_FSIZE, &before_);
    const rlimit little{bytes, before_.rlim_max};
    ::setrlimit(RLIMIT_FSIZE, &little);
}

FullDisk::~FullDisk()
{
    ::setrlimit(RLIMIT_FSIZE, &before_);
    std::signal(SIGXFSZ, handler_);
}
#endif

bool WaitUntil(const std::function<bool()> &done, int timeoutMs)
{
    const QDeadlineTimer deadline(timeoutMs);
    QEventLoop loop;
    QTimer alarm;
    alarm.start(timeoutMs);
    while (!done() && !deadline.hasExpired()) {
        loop.processEvents(QEventLoop::WaitForMoreEvents);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
    return done();
}

namespace {

/// Completed by the event loop, as a user's answer is.
OneShot<bool> NextEventLoopTurn()
{
    OneShot<bool> turn;
    const auto complete = [turn] { turn.Complete(true); };
    QMetaObject::invokeMethod(QCoreApplication::instance(), complete, Qt::QueuedConnection);
    return turn;
}

} // namespace

QCoro::Task<void> ScriptedPrompts::Warn(QString text)
{
    warnings.append(text);
    if (onWarn)
        onWarn();
    const OneShot<bool> turn = NextEventLoopTurn();
    co_await turn;
}

QCoro::Task<Answer> ScriptedPrompts::AskYesNoCancel(QString text, PromptIcon)
{
    questions.append(text);
    Answer answer = Answer::Cancel;
    if (!answers.empty()) {
        answer = answers.front();
        answers.pop_front();
    }
    const OneShot<bool> turn = NextEventLoopTurn();
    co_await turn;
    co_return answer;
}

QCoro::Task<int> ScriptedPrompts::AskOneOf(QString text, QStringList options)
{
    questions.append(text);
    int choice = static_cast<int>(options.size()) - 1;
    if (!choices.empty()) {
        choice = choices.front();
        choices.pop_front();
    }
    const OneShot<bool> turn = NextEventLoopTurn();
    co_await turn;
    co_return choice;
}

QCoro::Task<QString> ScriptedPrompts::AskOpenFile(QString filter, QString)
{
    return AnswerFile(QStringLiteral("open:") + filter);
}

QCoro::Task<QString> ScriptedPrompts::AskSaveFile(QString name, QString filter, QString suffix)
{
    return AnswerFile(QStringLiteral("save:%1:%2:%3").arg(name, filter, suffix));
}

QCoro::Task<QString> ScriptedPrompts::AnswerFile(QString question)
{
    fileQuestions.append(question);
    QString file;
    if (!files.empty()) {
        file = files.front();
        files.pop_front();
    }
    const OneShot<bool> turn = NextEventLoopTurn();
    co_await turn;
    co_return file;
}

void RecordedProgress::RenProgress(bool throttle, int current, int total)
{
    steps.append(QStringLiteral("%1 %2/%3").arg(throttle ? u"true" : u"false").arg(current).arg(total));
    if (onStep)
        onStep(current);
}

sim::ServerOptions Named(sim::ServerOptions options, const QTemporaryDir &folder)
{
    options.link = folder.filePath(QStringLiteral("px40")).toStdString();
    return options;
}

LinkRig::LinkRig(sim::ServerOptions options, int replyTimeoutMs)
    : server(Named(std::move(options), folder)),
      store(UserStore::InFile(folder.filePath(QStringLiteral("user.ini")))), ports(store),
      comm(state, ports, prompts, replyTimeoutMs)
{
    ports.Fix(1, Device());
}

sim::ServerOptions LinkRig::Unpaced()
{
    sim::ServerOptions options;
    options.line.paced = false;
    return options;
}

void LinkRig::Fault(const char *text)
{
    sim::Faults faults = server.CurrentFaults();
    std::string error;
    QVERIFY2(sim::ApplyFault(text, faults, &error), error.c_str());
    server.SetFaults(faults);
}

void LinkRig::Open()
{
    // Another test's process may still hold the number of a terminal that its instrument has given back.
    QTRY_VERIFY(comm.TryOpenPort().isEmpty());
}

QString LinkRig::Expected(const QString &command)
{
    const std::string reply = server.WithInstrument(
        [&](sim::Instrument &instrument) { return instrument.Answer(command.toStdString()); });
    return QString::fromLatin1(reply.c_str());
}

QStringList LinkRig::Commands() const
{
    QStringList commands;
    for (const std::string &command : server.Commands())
        commands << QString::fromLatin1(command.c_str());
    return commands;
}

} // namespace px40
