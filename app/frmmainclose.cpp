// The way out: questions about unsaved data, and the order in which the program is taken down.

#include "app/frmmain.h"

#include "app/frmcancel.h"
#include "app/live.h"
#include "app/services.h"
#include "app/workspace.h"
#include "document/frmdata.h"
#include "platform/geometry.h"
#include "platform/prompts.h"
#include "resources/strings.h"

#include <QCloseEvent>
#include <QMdiSubWindow>

namespace px40 {

void frmMain::closeEvent(QCloseEvent *event)
{
    if (mayGo_) {
        event->accept();
        return;
    }
    event->ignore();
    if (services_->state.RealtimeRun)
        ShowWarning(Text(Str::RunHoldsWindows));
    if (asking_ || services_->leaving || !MayClose(services_->state))
        return;
    asking_ = true;
    services_->jobs.Launch(CloseAll(), "closing the program");
}

QCoro::Task<void> frmMain::CloseAll()
{
    const QList<QMdiSubWindow *> windows = workspace_->subWindowList();
    QList<QPointer<frmData>> waiting;
    for (QMdiSubWindow *const window : windows)
        waiting.append(qobject_cast<frmData *>(window));

    bool mayGo = true;
    for (int i = 0; mayGo && i < waiting.size(); ++i) {
        const QPointer<frmData> window = waiting.at(i);
        if (window)
            mayGo = co_await frmData::ConfirmClose(window);
    }
    asking_ = false;
    // The link may have been taken while the questions stood open; then the user leaves once more.
    if (mayGo && MayClose(services_->state))
        Leave();
}

void frmMain::Leave()
{
    services_->leaving = true;
    services_->settings.WriteSettingsFile();
    SavePlacement();
    live_->Leave();
    tmCheckInter.SetEnabled(false);
    tmCheckStat.SetEnabled(false);
    tmRealtime.SetEnabled(false);
    services_->gate.Shut();
    services_->comm.Shut();
    services_->prompts.DismissAll();
    const QList<QDialog *> dialogs = findChildren<QDialog *>(Qt::FindDirectChildrenOnly);
    for (QDialog *const dialog : dialogs) {
        if (dialog != frmCancel_)
            dialog->close();
    }
    services_->jobs.WhenNone([window = QPointer<frmMain>(this)] {
        if (!window)
            return;
        window->mayGo_ = true;
        window->close();
        Q_EMIT window->left();
    });
}

/// A window that is minimised leaves the state that was kept last.
void frmMain::SavePlacement()
{
    if (!isMinimized()) {
        const int state = isMaximized() ? WindowShape::Maximised : WindowShape::Normal;
        services_->store.Save(QStringLiteral("Settings"), QStringLiteral("MainState"),
                              QString::number(state));
    }
    SaveGeometry(*this, QStringLiteral("Main"), services_->store);
}

} // namespace px40
