#include "testing/operatedprogram.h"

#include <QAbstractButton>
#include <QDesktopServices>
#include <QFile>
#include <QPointer>
#include <QRegularExpression>
#include <QTest>
#include <QUrl>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace px40 {

namespace {

constexpr int HourMs = 3600 * 1000;
/// Three silent attempts do not take long; an instrument that answers does so much sooner.
constexpr int ReplyTimeoutMs = 400;

} // namespace

Desktop::Desktop() : path_(qgetenv("PATH"))
{
    QDesktopServices::setUrlHandler(u"file"_s, this, "Show");
    QFile command(folder_.filePath(u"xdg-open"_s));
    Require(command.open(QIODevice::WriteOnly), command.errorString());
    command.write("#!/bin/sh\necho \"$1\" >>\"${0%/*}/shown\"; test ! -e \"${0%/*}/nothing\"\n");
    command.setPermissions(command.permissions() | QFile::ExeOwner);
    qputenv("PATH", folder_.path().toLocal8Bit() + ':' + path_);
}

Desktop::~Desktop()
{
    qputenv("PATH", path_);
    QDesktopServices::unsetUrlHandler(u"file"_s);
}

void Desktop::ShowNothing()
{
    QFile nothing(folder_.filePath(u"nothing"_s));
    Require(nothing.open(QIODevice::WriteOnly), nothing.errorString());
    QDesktopServices::setUrlHandler(u"file"_s, this, "None");
}

QStringList Desktop::Shown() const
{
    QFile shown(folder_.filePath(u"shown"_s));
    return shown.open(QIODevice::ReadOnly)
               ? QString::fromLocal8Bit(shown.readAll()).split(u'\n', Qt::SkipEmptyParts)
               : shown_;
}

void Desktop::Show(const QUrl &file)
{
    shown_ << file.toLocalFile();
}

OperatedProgram::OperatedProgram(Port port) : Program(prompts, Unpaced(), &clock, port, ReplyTimeoutMs) {}

void OperatedProgram::HoldTimers()
{
    for (Timer *const timer : {&window->tmCheckStat, window->findChild<Timer *>(u"tmFade"_s)}) {
        if (timer->Interval() != 0 && timer->Interval() != HourMs)
            timer->SetInterval(HourMs);
    }
}

void OperatedProgram::Wait(const std::function<bool()> &done)
{
    const auto held = [&] {
        HoldTimers();
        return done();
    };
    Await(held, u"What was to come next did not."_s);
}

void OperatedProgram::Idle()
{
    Wait([this] { return services.jobs.Running() == 0; });
    for (int turn = 0; turn < 3; ++turn) // what windows put off until the next turn: scrolling, layouts
        QCoreApplication::processEvents();
}

void OperatedProgram::BeginSecond()
{
    HoldTimers();
    clock.Advance(1000);
    if (window->tmCheckStat.Enabled() && window->tmCheckStat.Interval() != 0)
        Q_EMIT window->tmCheckStat.tick();
    if (window->tmRealtime.Enabled())
        Q_EMIT window->tmRealtime.tick();
}

void OperatedProgram::Seconds(int count)
{
    for (int second = 0; second < count; ++second)
        Second();
}

void OperatedProgram::Second()
{
    BeginSecond();
    Idle();
}

void OperatedProgram::StartUp()
{
    Send([this] {
        Program::StartUp();
        Idle();
        Second();
    });
}

void OperatedProgram::Send(const std::function<void()> &act)
{
    const auto sent = [this] {
        static const QRegularExpression all(u"^(MO|SO|UP|DW|NM|ND|SR|TE|PU|SD)"_s);
        return Commands().filter(all).size();
    };
    const qsizetype before = sent();
    act();
    Wait([&] { return sent() > before; });
    Idle();
}

frmData *OperatedProgram::Data() const
{
    return DataWindows().last();
}

void OperatedProgram::BringToFront(QWidget *front)
{
    static constexpr int LittleMs = 500;
    front->activateWindow();
    // Where there is nobody to hand out the focus the picture is good without it.
    WaitUntil([front] { return front->isActiveWindow(); }, LittleMs);
}

void OperatedProgram::Click(QWidget *widget)
{
    const QWidget *const modal = QApplication::activeModalWidget();
    Require(widget->isVisible() && widget->isEnabled() && (!modal || widget->window() == modal),
            u"\"%1\" cannot be clicked."_s.arg(widget->objectName()));
    QTest::mouseClick(widget, Qt::LeftButton);
}

void OperatedProgram::Choose(const char *action)
{
    Require(Action(action)->isEnabled(), u"\"%1\" cannot be chosen."_s.arg(QLatin1StringView(action)));
    Action(action)->trigger();
}

void OperatedProgram::Close(QWidget *closing, const std::function<void()> &act)
{
    const QPointer<QWidget> open = closing;
    const QString name = closing->objectName();
    act();
    Wait([open] { return !open; });
}

void OperatedProgram::Answer(const QString &button)
{
    QMessageBox *const box = Box();
    const QList<QAbstractButton *> all = box->buttons();
    const auto found =
        std::find_if(all.begin(), all.end(), [&](auto *one) { return one->text().remove(u'&') == button; });
    Require(found != all.end(), u"The message box lacks the button: %1"_s.arg(box->text()));
    Close(box, [&] { Click(*found); });
}

void OperatedProgram::Dismiss()
{
    Answer(u"OK"_s);
    Idle();
}

void OperatedProgram::CloseDialog(QDialog *dialog, const char *button)
{
    Close(dialog, [&] { Click(button, dialog); });
}

} // namespace px40
