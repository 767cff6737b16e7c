#include "link/command.h"

#include "resources/strings.h"

#include <iterator>

namespace px40 {

namespace {

constexpr int Attempts = 3;
constexpr int RecordAttempts = 5;

/// In the order of `SourceSetting`.
constexpr const char *SourceTexts[] = {"SO", "UP", "DW", "NM1", "NM0", "ND", "SR", "TE", "PU", "SD"};
static_assert(std::size(SourceTexts) == static_cast<std::size_t>(SourceSetting::Value) + 1);

LinkCommand Question(const QString &text, ReplyForm reply, int attempts = Attempts)
{
    return {text, attempts, reply, false};
}

} // namespace

std::array<LinkCommand, 2> Preparations()
{
    return {Question(QStringLiteral("AN1"), ReplyForm::Acknowledgement),
            Question(QStringLiteral("H1"), ReplyForm::Acknowledgement)};
}

std::array<LinkCommand, 3> AskCondition()
{
    const auto [first, second] = Preparations();
    return {first, second, Question(QStringLiteral("OC"), ReplyForm::Condition)};
}

LinkCommand AskReading(int n)
{
    return Question(QStringLiteral("OM%1").arg(n), ReplyForm::Reading);
}

LinkCommand BeginRecords()
{
    return {QStringLiteral("PL,1"), RecordAttempts};
}

LinkCommand AskRecord(int n)
{
    return Question(QStringLiteral("RS,%1").arg(n, 2, 10, QLatin1Char('0')), ReplyForm::Record,
                    RecordAttempts);
}

LinkCommand EndRecords()
{
    return {QStringLiteral("PL,0"), RecordAttempts};
}

LinkCommand EndRealtime()
{
    return {QStringLiteral("PL,0"), 1};
}

LinkCommand SetMeasuring(bool on)
{
    return {on ? QStringLiteral("MO1") : QStringLiteral("MO0")};
}

LinkCommand SetSource(SourceSetting setting, const QString &argument)
{
    return {QLatin1String(SourceTexts[static_cast<int>(setting)]) + argument};
}

Result<> Obeyed(const LinkCommand &command, const Result<QString> &reply)
{
    if (!reply)
        return Fail(FirstLine(reply.error().text), reply.error().code);
    if (reply->startsWith(u"ERR"))
        return Fail(Text(Str::CommandRefused).arg(command.text));
    return {};
}

} // namespace px40
