#include "app/startup.h"

#include "acquire/statuscheck.h"
#include "app/about.h"
#include "app/frmmain.h"
#include "app/maincommands.h"
#include "app/services.h"
#include "forward/workbookplace.h"
#include "platform/prompts.h"
#include "platform/waiting.h"

#include <QWidget>

#include <memory>

namespace px40 {

namespace {
constexpr int SplashMs = 1000; // before the main window is shown, and as long after that
} // namespace

QCoro::Task<void> RunStartup(Services *services, frmMain *window, bool splash, QStringList files)
{
    services->settings.ReadFile();
    SweepWorkbooks(services->store);
    // The simulated instrument is on port 1 whatever the settings say.
    services->comm.SetPortNumber(services->simulated ? PortMap::First : services->settings.PortNumber());

    std::unique_ptr<QWidget> frmSplash;
    if (splash) {
        frmSplash = MakeSplash();
        frmSplash->show();
        co_await Delay(SplashMs);
    }
    if (services->leaving)
        co_return;
    window->ShowPlaced();
    if (frmSplash) {
        frmSplash->raise();
        co_await Delay(SplashMs);
        frmSplash.reset();
    }
    co_await window->Commands().Files().Open(files);
    if (services->leaving)
        co_return;
    co_await window->Commands().Files().Recover();
    if (services->leaving)
        co_return;

    window->tmCheckStat.SetInterval(StatusCheckIntervalMs);
    // The user may have opened it meanwhile.
    const Result<> opened = services->comm.IsOpen() ? Result<>() : services->comm.OpenPort();
    if (!opened)
        co_await services->prompts.Warn(opened.error().text);
    if (!opened && !services->leaving) {
        window->tmCheckStat.SetInterval(0);
        window->tmCheckStat.SetEnabled(false);
        co_await window->RunPortDialog();
    }
    if (!services->leaving)
        window->tmCheckStat.SetEnabled(true);
}

} // namespace px40
