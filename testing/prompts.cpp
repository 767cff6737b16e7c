#include "testing/prompts.h"

#include "platform/waiting.h"

namespace px40 {

namespace {

/// The next answer of a script, or `otherwise` when there is none left.
template <typename T>
T Next(std::deque<T> &script, T otherwise)
{
    if (script.empty())
        return otherwise;
    const T next = script.front();
    script.pop_front();
    return next;
}

} // namespace

QCoro::Task<void> ScriptedPrompts::Warn(QString text)
{
    warnings.append(text);
    if (onWarn)
        onWarn();
    co_await NextEventLoopTurn();
}

QCoro::Task<Answer> ScriptedPrompts::AskYesNoCancel(QString text, PromptIcon)
{
    questions.append(text);
    if (onQuestion)
        onQuestion();
    const Answer answer = Next(answers, Answer::Cancel);
    co_await NextEventLoopTurn();
    co_return answer;
}

QCoro::Task<int> ScriptedPrompts::AskOneOf(QString text, QStringList options)
{
    questions.append(text);
    const int choice = Next(choices, static_cast<int>(options.size()) - 1);
    co_await NextEventLoopTurn();
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
    const QString file = Next(files, QString());
    co_await NextEventLoopTurn();
    co_return file;
}

void RecordedProgress::RenProgress(bool throttle, int current, int total)
{
    steps.append(QStringLiteral("%1 %2/%3").arg(throttle ? u"true" : u"false").arg(current).arg(total));
    if (onStep)
        onStep(current);
}

} // namespace px40
