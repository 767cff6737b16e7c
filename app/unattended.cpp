#include "app/unattended.h"

#include "app/progressrules.h"
#include "document/dataset.h"
#include "platform/terminal.h"
#include "platform/waiting.h"
#include "resources/strings.h"

#include <QLoggingCategory>

namespace px40 {

QCoro::Task<void> NobodyToAsk::Warn(QString text)
{
    told = text;
    co_await NextEventLoopTurn();
}

void ProgressLine::RenProgress(bool throttle, int current, int total)
{
    if (current > 0 && total > 0 && (!throttle || current % ProgressStep(total) == 0))
        ShowOnTerminal(QStringLiteral("%1 %2/%3").arg(message_).arg(current).arg(total));
}

void ProgressLine::Unload()
{
    ShowOnTerminal(QString());
}

void KeepLogsQuiet()
{
    if (qEnvironmentVariableIsEmpty("QT_LOGGING_RULES"))
        QLoggingCategory::setFilterRules(QStringLiteral("default.warning=false\npx40.*=false"));
}

QString About(const QString &file, const QString &sentence)
{
    return file + QStringLiteral(": ") + sentence;
}

QString Sentence(const QString &text)
{
    return text.endsWith(u'.') ? text : text + u'.';
}

void TellWritten(const QString &file, const DataSet &dataSet, bool printed, Outcome *outcome)
{
    const int unreadable = dataSet.UnreadableCount();
    outcome->code = unreadable > 0 ? ExitWithNoise : ExitDone;
    if (!printed)
        outcome->told << Text(Str::NotPrinted);
    if (unreadable > 0)
        outcome->told << About(file, Text(Str::FileUnreadable).arg(unreadable).arg(dataSet.GetDatacount()));
}

int End(const Outcome &outcome)
{
    for (const QString &sentence : outcome.told)
        PrintError(sentence.simplified());
    return outcome.code;
}

int Fail(const QString &sentence)
{
    return End({ExitNothingChanged, {sentence}});
}

} // namespace px40
