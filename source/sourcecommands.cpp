#include "source/sourcecommands.h"

#include "link/comm.h"
#include "link/linkstate.h"
#include "link/linkuse.h"
#include "platform/jobs.h"
#include "resources/strings.h"

#include <QRegularExpression>

#include <cmath>
#include <utility>

namespace px40 {

namespace {

constexpr int ClickDelayMs = 10;

/// Without line breaks.
QString OneLine(QString text)
{
    static const QRegularExpression breaks(QStringLiteral("[\\r\\n\\x{2028}\\x{2029}]"));
    return text.remove(breaks);
}

QString WaitingText(const QString &command)
{
    return Text(Str::SourceWaits).arg(command);
}

} // namespace

SourceCommands::SourceCommands(const InstrumentLink &link) : link_(link)
{
    connect(&tmSrcInter, &Timer::tick, this, &SourceCommands::SendNow);
}

void SourceCommands::SwitchOnOff()
{
    const bool wasOn = link_.instrument.Status.SourceOn == 1;
    link_.instrument.Status.SourceOn ^= 1;
    Queue(SourceControl::OnOff, wasOn ? QStringLiteral("0") : QStringLiteral("1"));
}

void SourceCommands::StepUp(int digit)
{
    Queue(SourceControl::Up, QString::number(digit + 1));
}

void SourceCommands::StepDown(int digit)
{
    Queue(SourceControl::Down, QString::number(digit + 1));
}

void SourceCommands::SwitchRatio()
{
    Queue(SourceControl::Nm);
    fromUser_ = true;
    Arm();
}

void SourceCommands::SetRatio(const QString &n, const QString &m)
{
    Queue(SourceControl::NmSet, TwoDigits(n) + TwoDigits(m));
}

void SourceCommands::Select(SourceControl list, int position)
{
    Queue(list, QString::number(position));
}

void SourceCommands::LoadLists()
{
    // An instrument whose function has no such list refuses the command; the user need not know.
    loading_ = true;
    for (int list = 0; list < SourceLists; ++list)
        Select(SourceList(list), 0);
    loading_ = false;
}

bool SourceCommands::EnterValue(const QString &text)
{
    const QString value = OneLine(text);
    if (!Unsendable(value).isEmpty())
        return false;
    link_.instrument.Status.SourceValue = value;
    Store(SetSource(SourceSetting::Value, value));
    return true;
}

void SourceCommands::Queue(SourceControl control, const QString &argument)
{
    const std::optional<SourceSetting> setting = SettingOf(control, link_.instrument.Status.SourceMode);
    if (setting)
        Store(SetSource(*setting, OneLine(argument)));
}

void SourceCommands::Store(LinkCommand command)
{
    const QString unsendable = Unsendable(command.text);
    if (!unsendable.isEmpty()) {
        Report(Text(Str::SourceUnknownCharacter).arg(unsendable));
        return;
    }
    if (reason_.endsWith(WaitingText(pending_.text)))
        Report(QString());
    if (armed_ && fromUser_ && pending_.text != command.text) {
        replaced_ = Text(Str::SourceReplaced).arg(pending_.text, command.text);
        Q_EMIT failed(replaced_);
    }
    pending_ = std::move(command);
    fromUser_ = !loading_;
    Arm();
    // A wait for a status check takes only a moment and is not reported.
    const bool waits =
        LinkInUse(link_.state) ? !MayClose(link_.state) : !link_.state.StatusPolled && !link_.comm.IsOpen();
    if (fromUser_ && waits)
        Report(WaitingText(pending_.text));
}

void SourceCommands::Arm()
{
    armed_ = true;
    tmSrcInter.SetInterval(ClickDelayMs);
}

void SourceCommands::SendNow()
{
    if (!IsWaiting())
        return;
    if (pending_.text.isEmpty()) {
        tmSrcInter.SetInterval(0);
        return;
    }
    if (!link_.state.StatusPolled || LinkInUse(link_.state))
        return; // the timer goes on
    armed_ = false;
    link_.jobs.Launch(Send(pending_, fromUser_), "a source command");
}

QCoro::Task<void> SourceCommands::Send(LinkCommand command, bool asked)
{
    const LinkUse use(link_.gate, ActivitySourceCommand);
    const Result<QString> reply = co_await link_.comm.SendCommand(command);
    if (!armed_) // else a command came during the exchange: the timer sends it
        tmSrcInter.SetInterval(0);
    const Result<> obeyed = Obeyed(command, reply);
    if (asked)
        Report(obeyed ? QString() : obeyed.error().text);
}

void SourceCommands::Report(const QString &reason)
{
    const QString before = std::exchange(reason_, reason);
    const QString replaced = std::exchange(replaced_, QString());
    if (reason.isEmpty()) {
        if (!before.isEmpty())
            Q_EMIT recovered(before);
        return;
    }
    if (!replaced.isEmpty()) // do not hide that an earlier command was never sent
        reason_ = replaced + QStringLiteral("  ") + reason;
    Q_EMIT failed(reason_);
}

QString TwoDigits(const QString &text)
{
    bool known = false;
    const double number = std::round(text.toDouble(&known));
    if (!known || !std::isfinite(number))
        return text;
    const QString digits = QString::number(std::abs(number), 'f', 0).rightJustified(2, u'0');
    return number < 0 ? u'-' + digits : digits;
}

QString Unsendable(const QString &text)
{
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (text.at(i).unicode() > 0xFF)
            return text.mid(i, text.at(i).isHighSurrogate() ? 2 : 1);
    }
    return {};
}

} // namespace px40
