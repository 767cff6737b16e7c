#include "platform/awake.h"
#include "testing/wait.h"

#include <QDBusConnection>
#include <QDBusContext>
#include <QDBusServer>
#include <QDBusUnixFileDescriptor>
#include <QSignalSpy>
#include <QTest>

#include <array>

#include <poll.h>
#include <unistd.h>

using namespace px40;

namespace {

/// Stands for the log-in service. It sees that an inhibitor has been given back by the other end of its pipe.
class Manager : public QObject, protected QDBusContext
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.login1.Manager")

  public:
    bool IsGivenBack() const
    {
        pollfd end = {readEnd, POLLIN, 0};
        return ::poll(&end, 1, 0) == 1 && (end.revents & POLLHUP) != 0;
    }

    QStringList asked;
    bool refuses = false;
    int readEnd = -1;

  public Q_SLOTS:
    QDBusUnixFileDescriptor Inhibit(const QString &what, const QString &, const QString &why,
                                    const QString &mode)
    {
        asked << what + u' ' + mode + u' ' + why;
        if (refuses) {
            sendErrorReply(QDBusError::AccessDenied, u"Not allowed."_qs);
            return {};
        }
        std::array<int, 2> ends{};
        if (::pipe(ends.data()) != 0)
            return {};
        readEnd = ends[0];
        QDBusUnixFileDescriptor given;
        given.giveFileDescriptor(ends[1]);
        return given;
    }
};

} // namespace

class AwakeTest : public QObject
{
    Q_OBJECT

  private Q_SLOTS:
    void InhibitorIsHeldUntilItIsReleased()
    {
        Manager manager;
        QDBusServer server(u"unix:tmpdir=/tmp"_qs);
        connect(&server, &QDBusServer::newConnection, this, [&manager](QDBusConnection connection) {
            connection.registerObject(u"/org/freedesktop/login1"_qs, &manager,
                                      QDBusConnection::ExportAllSlots);
        });
        const QDBusConnection bus = QDBusConnection::connectToPeer(server.address(), u"peer"_qs);
        QVERIFY(bus.isConnected());
        Awake awake(&bus);
        QSignalSpy held(&awake, &Awake::held);
        QSignalSpy refused(&awake, &Awake::refused);

        awake.Hold(u"Logging"_qs);
        QVERIFY(WaitUntil([&] { return held.size() == 1; }));
        QCOMPARE(manager.asked, QStringList(u"sleep:idle block Logging"_qs));
        QVERIFY(awake.IsHeld() && !manager.IsGivenBack());
        awake.Release();
        QVERIFY(WaitUntil([&] { return manager.IsGivenBack(); }));

        awake.Hold(u"Logging"_qs); // the run is over before the answer comes
        awake.Release();
        QVERIFY(WaitUntil([&] { return manager.asked.size() == 2 && manager.IsGivenBack(); }));
        QVERIFY(!awake.IsHeld() && held.size() == 1);

        manager.refuses = true;
        awake.Hold(u"Logging"_qs);
        QVERIFY(WaitUntil([&] { return refused.size() == 1; }));
        QCOMPARE(refused.constFirst().constFirst().toString(), u"Not allowed."_qs);
        QVERIFY(!awake.IsHeld());
        QDBusConnection::disconnectFromPeer(u"peer"_qs);
    }

    void ComputerWithoutTheServiceRefuses()
    {
        qputenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/gone");
        Awake awake;
        QSignalSpy refused(&awake, &Awake::refused);
        awake.Hold(u"Logging"_qs);
        QVERIFY(WaitUntil([&] { return refused.size() == 1; }));
        QVERIFY(refused.constFirst().constFirst().toString().contains(u"/gone"_qs));
    }
};

QTEST_GUILESS_MAIN(AwakeTest)
#include "awake_test.moc"
