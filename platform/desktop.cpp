#include "platform/desktop.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QDesktopServices>
#include <QProcess>
#include <QStandardPaths>
#include <QUrl>

#include <chrono>

#ifdef Q_OS_UNIX
#include <unistd.h>
#endif

namespace px40 {

void OpenByDesktop(const QString &file, QObject *context, const std::function<void()> &failed)
{
#ifdef Q_OS_UNIX
    // The toolkit would start this as well, but not look at what comes of it.
    const QString opener = QStandardPaths::findExecutable(QStringLiteral("xdg-open"));
    if (!opener.isEmpty()) {
        // Some openers end with the program that they have started, and as it does. A large one on a slow
        // machine may take this long to fail.
        const QDeadlineTimer started(std::chrono::minutes(1));
        auto *const process = new QProcess(qApp); // which ends no program that it has started
        QObject::connect(process, &QProcess::finished, context,
                         [failed, started](int code, QProcess::ExitStatus end) {
                             if (!started.hasExpired() && (code != 0 || end != QProcess::NormalExit))
                                 failed();
                         });
        QObject::connect(process, &QProcess::errorOccurred, context,
                         [failed, process](QProcess::ProcessError error) {
                             if (error != QProcess::FailedToStart)
                                 return;
                             process->deleteLater();
                             failed();
                         });
        QObject::connect(process, &QProcess::finished, process, &QObject::deleteLater);
        process->setStandardOutputFile(QProcess::nullDevice());
        process->setStandardErrorFile(QProcess::nullDevice());
        process->setChildProcessModifier([] { setsid(); }); // Ctrl+C in our terminal is not meant for it
        process->start(opener, {file});
        return;
    }
#endif
    if (!QDesktopServices::openUrl(QUrl::fromLocalFile(file)))
        QMetaObject::invokeMethod(context, failed, Qt::QueuedConnection);
}

} // namespace px40
