#include "platform/awake.h"

#ifdef Q_OS_LINUX
#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusError>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusUnixFileDescriptor>
#include <QThread>
#endif
#ifdef Q_OS_WIN
#include <windows.h>
#endif

namespace px40 {

#ifdef Q_OS_LINUX

/// As long as the descriptor is open the computer stays awake.
struct Awake::Inhibitor
{
    QDBusConnection bus;
    QDBusUnixFileDescriptor descriptor;
};

Awake::Awake(const QDBusConnection *bus)
    : inhibitor_(new Inhibitor{bus ? *bus : QDBusConnection(QString()), {}})
{
}

void Awake::Hold(const QString &purpose)
{
    Release();
    if (inhibitor_->bus.isConnected()) {
        Ask(purpose);
        return;
    }
    // Whoever opens the system's bus waits for it, which may be for ever.
    QThread *const opening = QThread::create([] { static_cast<void>(QDBusConnection::systemBus()); });
    connect(opening, &QThread::finished, this, [this, purpose, question = asked_] {
        inhibitor_->bus = QDBusConnection::systemBus();
        if (question == asked_)
            Ask(purpose);
    });
    connect(opening, &QThread::finished, opening, &QObject::deleteLater);
    opening->start();
}

void Awake::Ask(const QString &purpose)
{
    QDBusMessage inhibit = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.login1"), QStringLiteral("/org/freedesktop/login1"),
        QStringLiteral("org.freedesktop.login1.Manager"), QStringLiteral("Inhibit"));
    inhibit << QStringLiteral("sleep:idle") << QCoreApplication::applicationName() << purpose
            << QStringLiteral("block");
    // A call on no connection would never be answered.
    const QDBusPendingCall call = inhibitor_->bus.isConnected()
                                      ? inhibitor_->bus.asyncCall(inhibit)
                                      : QDBusPendingCall::fromError(inhibitor_->bus.lastError());
    auto *const watcher = new QDBusPendingCallWatcher(call, this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher, question = asked_] {
        watcher->deleteLater();
        const QDBusPendingReply<QDBusUnixFileDescriptor> reply = *watcher;
        if (question != asked_)
            return; // it is no longer wanted, and goes with the reply
        if (reply.isError()) {
            Q_EMIT refused(reply.error().message());
            return;
        }
        inhibitor_->descriptor = reply.value();
        Q_EMIT held();
    });
}

void Awake::Release()
{
    ++asked_;
    inhibitor_->descriptor = {};
}

bool Awake::IsHeld() const
{
    return inhibitor_->descriptor.isValid();
}

Awake::~Awake() = default;

#else

struct Awake::Inhibitor
{
    bool holds = false;
};

Awake::Awake(const QDBusConnection *) : inhibitor_(new Inhibitor) {}

void Awake::Hold(const QString &purpose)
{
    Release();
    QMetaObject::invokeMethod(
        this,
        [this, purpose, question = asked_] {
            if (question == asked_)
                Ask(purpose);
        },
        Qt::QueuedConnection);
}

void Awake::Ask(const QString &)
{
#ifdef Q_OS_WIN
    inhibitor_->holds = SetThreadExecutionState(ES_CONTINUOUS | ES_SYSTEM_REQUIRED) != 0;
    if (inhibitor_->holds)
        Q_EMIT held();
    else
        Q_EMIT refused(qt_error_string());
#endif
}

void Awake::Release()
{
    ++asked_;
#ifdef Q_OS_WIN
    if (inhibitor_->holds)
        SetThreadExecutionState(ES_CONTINUOUS);
#endif
    inhibitor_->holds = false;
}

bool Awake::IsHeld() const
{
    return inhibitor_->holds;
}

Awake::~Awake()
{
    Release();
}

#endif

} // namespace px40
