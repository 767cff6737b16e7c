#include "tools/stage.h"

#include "acquire/frmmoniter.h"
#include "app/startup.h"
#include "document/frmdata.h"
#include "source/frmsource.h"

#include <QApplication>
#include <QLabel>
#include <QMdiArea>
#include <QMessageBox>
#include <QTest>

namespace px40 {

namespace {

/// Short, so that three silent attempts do not take long; long enough for a picture to be taken meanwhile.
constexpr int ReplyTimeoutMs = 500;

/// Faster than the instrument's line: nobody watches.
sim::ServerOptions FasterLine(const QString &link)
{
    sim::ServerOptions options;
    options.line.baud = 38400;
    options.link = link.toStdString();
    return options;
}

/// The window of that kind that is open; another one may be about to go.
template <typename Window>
Window *OpenOne(const QObject *parent)
{
    const QList<Window *> all = parent->findChildren<Window *>();
    for (Window *const one : all) {
        if (one->isVisible())
            return one;
    }
    return nullptr;
}

} // namespace

Stage::Stage(Instrument instrument)
    : server(FasterLine(DemoLink())), services(UserStore::InFile(folder.filePath(QStringLiteral("user.ini"))),
                                               PathsIn(folder.path()), prompts, ReplyTimeoutMs)
{
    if (instrument == Instrument::Demo) {
        services.simulated = true;
        services.ports.Fix(PortMap::First, DemoLink());
    }
    window = std::make_unique<frmMain>(services);
    QObject::connect(window.get(), &frmMain::left, window.get(), [this] { left_ = true; });
}

Stage::~Stage()
{
    if (!left_) {
        Settle();
        const QList<frmData *> all = DataWindows();
        for (frmData *const data : all)
            data->Data()->MarkSaved();
        window->close();
        AwaitIfPossible([this] { return left_; });
    }
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

void Stage::KeepSourcePlace(const QPoint &place)
{
    static constexpr int TwipsPerPixel = 15;
    const auto keep = [this](const char16_t *key, int pixels) {
        services.store.Save(QStringLiteral("Settings"), QString::fromUtf16(key),
                            QString::number(pixels * TwipsPerPixel));
    };
    keep(u"SourceLeft", place.x());
    keep(u"SourceTop", place.y());
}

void Stage::Start(bool splash)
{
    services.jobs.Launch(RunStartup(&services, window.get(), splash), "start-up");
}

void Stage::SetFault(const QString &fault)
{
    sim::Faults faults;
    std::string error;
    Require(sim::ApplyFault(fault.toStdString(), faults, &error), QString::fromStdString(error));
    server.SetFaults(faults);
}

void Stage::AwaitFreeLink() const
{
    Await([this] { return !services.state.LinkBusy; }, QStringLiteral("The link does not become free."));
}

QMdiArea *Stage::Workspace() const
{
    auto *const workspace = qobject_cast<QMdiArea *>(window->centralWidget());
    Require(workspace != nullptr, QStringLiteral("The main window has no workspace."));
    return workspace;
}

QList<frmData *> Stage::DataWindows() const
{
    QList<frmData *> windows;
    const QList<QMdiSubWindow *> all = Workspace()->subWindowList(QMdiArea::CreationOrder);
    for (QMdiSubWindow *const one : all) {
        if (auto *const data = qobject_cast<frmData *>(one))
            windows.append(data);
    }
    return windows;
}

QString Stage::Message() const
{
    return Find<QLabel>(QStringLiteral("Msg"))->text();
}

QString Stage::PortPanel() const
{
    return Find<QLabel>(QStringLiteral("Port"))->text();
}

frmMoniter *Stage::Moniter() const
{
    return OpenOne<frmMoniter>(window.get());
}

frmSource *Stage::Source() const
{
    return OpenOne<frmSource>(window.get());
}

QList<QWidget *> Stage::Windows(const QList<QWidget *> &inFront) const
{
    QList<QWidget *> all = {window.get()};
    if (frmMoniter *const moniter = Moniter())
        all.append(moniter);
    if (frmSource *const source = Source())
        all.append(source);
    return all + inFront;
}

QMessageBox *Stage::Box()
{
    const QWidgetList windows = QApplication::topLevelWidgets();
    for (QWidget *const one : windows) {
        auto *const box = qobject_cast<QMessageBox *>(one);
        if (box && box->isVisible())
            return box;
    }
    return nullptr;
}

QDialog *Stage::Dialog(const QString &name) const
{
    const QList<QDialog *> dialogs = window->findChildren<QDialog *>(name);
    for (QDialog *const dialog : dialogs) {
        if (dialog->isVisible()) // another one may be about to go
            return dialog;
    }
    return nullptr;
}

void Stage::BringToFront(QWidget *window)
{
    static constexpr int LittleMs = 500;
    window->activateWindow();
    // Where there is nobody to hand out the focus the picture is good without it.
    AwaitIfPossible([window] { return window->isActiveWindow(); }, LittleMs);
}

QMessageBox *Stage::AwaitBox()
{
    Await([] { return Box() != nullptr; }, QStringLiteral("No message box appeared."));
    QMessageBox *const box = Box();
    BringToFront(box);
    return box;
}

QDialog *Stage::AwaitDialog(const QString &name)
{
    Await([&] { return Dialog(name) != nullptr; }, QStringLiteral("The dialog %1 did not open.").arg(name));
    QDialog *const dialog = Dialog(name);
    BringToFront(dialog);
    return dialog;
}

QDialog *Stage::AwaitFileDialog()
{
    return AwaitDialog(QStringLiteral("dlgCommon"));
}

void Stage::DiscardActiveData()
{
    const qsizetype before = DataWindows().size();
    Choose(QStringLiteral("mnuFile"), QStringLiteral("mnuFileClose"));
    Answer(AwaitBox(), QMessageBox::No);
    Await([&] { return DataWindows().size() == before - 1 && Idle(); },
          QStringLiteral("The data window did not close."));
}

void Stage::Settle()
{
    server.SetFaults({});
    const auto settled = [this] {
        if (QWidget *const popup = QApplication::activePopupWidget())
            popup->close();
        if (QWidget *const modal = QApplication::activeModalWidget())
            modal->close();
        if (services.state.RealtimeRun && !services.state.RealtimeStop)
            window->Run(Command::RealtimeStop);
        QDialog *const progress = window->findChild<QDialog *>(QStringLiteral("frmCancel"));
        if (progress && progress->isVisible())
            progress->close();
        if (QDialog *const value = Dialog(QStringLiteral("frmSrcValueSet")))
            value->close();
        return Idle() && !services.state.RealtimeRun;
    };
    AwaitIfPossible(settled);
}

} // namespace px40
