#include "platform/awake.h"
#include "testing/wait.h"

#include <QDBusConnection>
#include <QDBusContext>
#include <QDBusServer>
#include <QDBusUnixFileDescriptor>
#include <QSignalSpy>
#include <QSocketNotifier>
#include <QTemporaryDir>
#include <QTest>

#include <array>
#include <cstring>

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
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
        wakes_ = std::make_unique<QSocketNotifier>(readEnd, QSocketNotifier::Read);
        QDBusUnixFileDescriptor given;
        given.giveFileDescriptor(ends[1]);
        return given;
    }

  private:
    std::unique_ptr<QSocketNotifier> wakes_; ///< whoever waits for the other end to be given back
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

    /// The system's bus is there and says nothing; then it is gone.
    void NobodyWaitsForTheBus()
    {
        const QTemporaryDir folder;
        const QByteArray path = folder.filePath(u"bus"_qs).toLocal8Bit();
        sockaddr_un address = {AF_UNIX, {}};
        std::strncpy(address.sun_path, path.constData(), sizeof address.sun_path - 1);
        const int bus = ::socket(AF_UNIX, SOCK_STREAM, 0);
        Require(::bind(bus, reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0 &&
                    ::listen(bus, 1) == 0,
                u"There is no bus."_qs);
        qputenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=" + path);
        Awake awake;
        QSignalSpy refused(&awake, &Awake::refused);
        awake.Hold(u"Logging"_qs);
        QVERIFY(refused.isEmpty());
        ::close(bus);
        QVERIFY(WaitUntil([&] { return refused.size() == 1; }));
        QVERIFY(!refused.constFirst().constFirst().toString().isEmpty());
    }
};

QTEST_GUILESS_MAIN(AwakeTest)
#include "awake_test.moc"
