#include "testing/prompts.h"

#include "platform/oneshot.h"

#include <QCoreApplication>

namespace px40 {

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

QCoro::Task<QString> ScriptedPrompts::AskSaveFile(QString name, QString filter)
{
    return AnswerFile(QStringLiteral("save:%1:%2").arg(name, filter));
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

} // namespace px40
