#include "app/unattended.h"

#include "app/progressrules.h"
#include "platform/terminal.h"
#include "platform/turns.h"

#include <QLoggingCategory>

namespace px40 {

QCoro::Task<void> NobodyToAsk::Warn(QString text)
{
    told = text;
    co_await NextTurn();
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

int Fail(const QString &sentence)
{
    PrintError(sentence.simplified());
    return 1;
}

} // namespace px40
