// SPDX-License-Identifier: Apache-2.0

// Cameras found over the lab's network, by their datagrams and by asking around.

#include "lab_phones.h"
#include "live/camera_probe.h"
#include "live/camera_scan.h"
#include "live/live_camera_discovery.h"
#include "phones_side.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QSignalSpy>
#include <QtTest>

#include <netinet/in.h>
#include <sys/socket.h>

using namespace vorn;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr auto session = "3f2504e0-4f89-41d3-9a0c-0305e82c3301";
constexpr int limitMs = 30'000;
constexpr auto otherSession = "6ba7b810-9dad-11d1-80b4-00c04fd430c8";

/// Sends the status of camera "a" to the group until it has been heard.
bool hears(const LiveCameraDiscovery &discovery, const FileDescriptor &phone, int battery)
{
    sendToGroup(phone, status(u"a"_s, battery));
    return batteryOf(discovery, u"a"_s) == battery;
}

/// True when this computer listens to the group on an interface.
bool isJoined(const QString &interface)
{
    QFile table(u"/proc/self/net/igmp"_s);
    if (!table.open(QFile::ReadOnly))
        return false;
    bool isThere = false;
    for (const QByteArray &line : table.readAll().split('\n')) {
        // An interface's line is followed by one for each group, its address as the wire has it.
        if (!line.startsWith('\t'))
            isThere = line.simplified().split(' ').value(1) == interface.toLatin1();
        else if (isThere && line.contains("2A47FFEF"))
            return true;
    }
    return false;
}

/// TCP sockets of this network that wait for their connection (state 2, SYN_SENT).
qsizetype connectingSockets()
{
    QFile table(u"/proc/self/net/tcp"_s);
    if (!table.open(QFile::ReadOnly))
        return -1;
    qsizetype count = 0;
    for (const QByteArray &line : table.readAll().split('\n')) {
        const auto fields = line.simplified().split(' ');
        count += fields.size() > 3 && fields[3] == "02";
    }
    return count;
}

} // namespace

class LiveDiscoveryTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void initTestCase() { QVERIFY2(qEnvironmentVariableIsSet("VORN_LAB_PHONES"), "no lab"); }

    void asksTheHostsOfPrivateNetworks()
    {
        for (const auto &near :
             {u"10.77.0."_s, u"172.16.0."_s, u"172.31.255."_s, u"192.168.1."_s}) {
            const auto asked = hostsToScan({near + u'2', u"8.8.4.4"_s});
            QCOMPARE(asked.size(), 253U); // not itself
            QCOMPARE(asked.front(), near + u'1');
            QCOMPARE(asked.back(), near + u"254"_s);
        }
        for (const char *other :
             {"172.15.0.5", "172.32.0.5", "169.254.3.3", "8.8.4.4", "192.169.1.1", "127.0.0.1",
              "10.0.0", "10.0.x.1", "10.0.0.1.2", "10.300.0.1", "10.-1.0.1", "camera.local", ""})
            QVERIFY2(hostsToScan({QString::fromLatin1(other)}).empty(), other);
    }

    void hearsCamerasAndScansNoMore()
    {
        const FileDescriptor phone = phoneSocket(u"10.77.0.11"_s);
        const FileDescriptor other = phoneSocket(u"10.77.0.12"_s);
        LiveCameraDiscovery discovery;
        const QSignalSpy scans(&discovery, &LiveCameraDiscovery::isActiveScanningChanged);
        QTRY_VERIFY(discovery.isListening());
        sendToGroup(phone, status(u"a"_s, 5));
        QTRY_COMPARE(batteryOf(discovery, u"a"_s), 5);
        QCOMPARE(find(discovery, u"a"_s)->host, u"10.77.0.11"_s);
        QVERIFY(find(discovery, u"a"_s)->isOnline(std::chrono::system_clock::now()));
        QCOMPARE(discovery.errorMessage(), std::nullopt);
        // By unicast, from another address: the camera has moved.
        sendTo(other, u"10.77.0.1"_s, status(u"a"_s, 6));
        QTRY_COMPARE(batteryOf(discovery, u"a"_s), 6);
        QCOMPARE(find(discovery, u"a"_s)->host, u"10.77.0.12"_s);
        // The first scan, before the first tick, has found a camera online.
        QTRY_VERIFY(discovery.livenessTick() >= 1);
        QCOMPARE(scans.count(), 0);
    }

    void appliesOnlyWhatIsNewer()
    {
        const FileDescriptor phone = phoneSocket(u"10.77.0.11"_s);
        LiveCameraDiscovery discovery;
        QTRY_VERIFY(discovery.isListening());
        for (const QByteArray &data :
             {status(u"a"_s, 1, sequenced(session, 5)), status(u"a"_s, 2, sequenced(session, 4)),
              status(u"a"_s, 3), status(u"b"_s, 4, sequenced(session, 1)),
              status(u"b"_s, 5, sequenced(otherSession, 0)),
              status(u"b"_s, 6, sequenced(session, 9))})
            sendToGroup(phone, data);
        sendToGroup(phone, status(u"last"_s, 7));
        QTRY_COMPARE(batteryOf(discovery, u"last"_s), 7);
        QCOMPARE(batteryOf(discovery, u"a"_s), 1);
        QCOMPARE(batteryOf(discovery, u"b"_s), 5);
        QCOMPARE(discovery.cameras().size(), 3U);
    }

    void findsSilentCamerasByAsking()
    {
        const LabNeighbours neighbours;
        const QByteArray longest =
            status(u"longest"_s, 8).leftJustified(int(maximumPacketBytes), ' ');
        const PhoneServer camera(u"10.77.0.11"_s, answering(status(u"found"_s, 5)));
        const PhoneServer big(u"10.77.0.12"_s, answering(longest));
        const PhoneServer tooBig(u"10.77.0.13"_s, answering(status(u"too big"_s, 1) + longest));
        const PhoneServer empty(u"10.77.0.14"_s, answering({}));
        const PhoneServer wrong(u"10.77.0.15"_s, answering("{}"));
        // Closes in the middle of its answer, and says nothing at all.
        const PhoneServer cut(u"10.77.0.16"_s,
                              [](TcpPeer &peer) { peer.send(QByteArray("\0\0\0\x50{", 5)); });
        const PhoneServer mute(u"10.77.0.17"_s, [](TcpPeer &peer) { peer.stayUntilClosed(); });
        // One byte at a time, of as many as there may be, would outlast any limit but a total one.
        const PhoneServer dripping(u"10.77.0.18"_s, [&longest](TcpPeer &peer) {
            for (const char byte : QByteArray("\0\0\x20\0", 4) + longest) {
                if (!peer.send(QByteArray(1, byte)))
                    return;
                std::this_thread::sleep_for(100ms);
            }
        });
        LiveCameraDiscovery discovery;
        QTRY_VERIFY(discovery.isActiveScanning());
        QTRY_VERIFY_WITH_TIMEOUT(!discovery.isActiveScanning(), 60'000);
        QTRY_COMPARE(discovery.cameras().size(), 2U);
        QCOMPARE(batteryOf(discovery, u"found"_s), 5);
        QCOMPARE(find(discovery, u"found"_s)->host, u"10.77.0.11"_s);
        QCOMPARE(batteryOf(discovery, u"longest"_s), 8);
        for (const PhoneServer *server : {&tooBig, &empty, &wrong, &cut, &mute, &dripping})
            QCOMPARE(server->connections(), 1);
    }

    void asksFewAtATime()
    {
        // On this thread, so that no socket comes or goes while the system counts them. None of
        // these hosts is there.
        auto hosts = hostsToScan({u"10.77.0.1"_s});
        hosts.erase(hosts.begin(), hosts.end() - 2 * CameraScan::maximumProbes);
        CameraScan scan([] { return 0; });
        const QSignalSpy finished(&scan, &CameraScan::finished);
        QElapsedTimer duration;
        duration.start();
        scan.start(hosts);
        qsizetype most = 0;
        while (scan.isRunning() && duration.elapsed() < 60'000) {
            most = std::max(most, connectingSockets());
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        }
        QCOMPARE(finished.count(), 1);
        QCOMPARE(most, CameraScan::maximumProbes);
        // Each is given 0.8 s, those of the second half after the first: neither less nor as long
        // as the system would wait, two minutes.
        QVERIFY2(duration.elapsed() >= 1'500, qPrintable(QString::number(duration.elapsed())));
    }

    void asksAgainOnDemand()
    {
        const LabNeighbours neighbours;
        std::atomic_int battery = 1;
        std::atomic<const char *> current = session;
        const FileDescriptor phone = phoneSocket(u"10.77.0.11"_s);
        const PhoneServer camera(u"10.77.0.11"_s, [&](TcpPeer &peer) {
            answering(status(u"a"_s, battery, sequenced(current, 10 + battery)))(peer);
        });
        LiveCameraDiscovery discovery;
        const QSignalSpy scans(&discovery, &LiveCameraDiscovery::isActiveScanningChanged);
        const auto scanOnce = [&] {
            const auto before = scans.count();
            discovery.rescan();
            discovery.rescan(); // under way already
            QTRY_COMPARE_WITH_TIMEOUT(scans.count(), before + 2, 60'000);
            QVERIFY(!discovery.isActiveScanning());
        };
        scanOnce();
        QCOMPARE(batteryOf(discovery, u"a"_s), 1);
        // Never heard by datagram, so that an answer may begin a session.
        battery = 2;
        current = otherSession;
        scanOnce();
        QCOMPARE(batteryOf(discovery, u"a"_s), 2);
        // Heard by datagram: an answer goes on in the session, and begins none.
        sendToGroup(phone, status(u"a"_s, 20, sequenced(otherSession, 13)));
        QTRY_COMPARE(batteryOf(discovery, u"a"_s), 20);
        battery = 4;
        scanOnce();
        QCOMPARE(batteryOf(discovery, u"a"_s), 4);
        battery = 5;
        current = "9c5b94b1-35ad-49bb-b118-8e8fc24abf80";
        scanOnce();
        QCOMPARE(batteryOf(discovery, u"a"_s), 4);
        QCOMPARE(camera.connections(), 4);
    }

    void findsCamerasWhileThePortIsTaken()
    {
        FileDescriptor taken(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(45454);
        QCOMPARE(::bind(taken.get(), reinterpret_cast<sockaddr *>(&address), sizeof address), 0);
        const FileDescriptor phone = phoneSocket(u"10.77.0.11"_s);
        const PhoneServer camera(u"10.77.0.11"_s, answering(status(u"a"_s, 5)));
        LiveCameraDiscovery discovery;
        QTRY_COMPARE(discovery.errorMessage(), u"UDP port 45454 is unavailable."_s);
        QVERIFY(!discovery.isListening());
        QTRY_COMPARE(batteryOf(discovery, u"a"_s), 5);
        // A request needs the socket.
        const auto request = discovery.requestTransferMode(
            *find(discovery, u"a"_s), QString::fromLatin1(session), u"Studio"_s);
        QVERIFY(request);
        QTRY_VERIFY(discovery.transferModeRequest() && discovery.transferModeRequest()->isFailure);
        QCOMPARE(discovery.transferModeRequest()->message,
                 u"VORN network discovery is not available."_s);

        taken = {};
        discovery.start();
        QTRY_VERIFY(discovery.isListening());
        QCOMPARE(discovery.errorMessage(), std::nullopt);
        sendToGroup(phone, status(u"a"_s, 6));
        QTRY_COMPARE(batteryOf(discovery, u"a"_s), 6);
    }

    void stopsAndGoesOn()
    {
        const FileDescriptor phone = phoneSocket(u"10.77.0.11"_s);
        LiveCameraDiscovery discovery;
        QTRY_VERIFY(discovery.isListening());
        sendToGroup(phone, status(u"a"_s, 5, sequenced(session, 5)));
        QTRY_COMPARE(batteryOf(discovery, u"a"_s), 5);
        discovery.rescan();
        QTRY_VERIFY(discovery.isActiveScanning());
        discovery.stop();
        QTRY_VERIFY(!discovery.isListening());
        QVERIFY(!discovery.isActiveScanning());
        QCOMPARE(discovery.cameras().size(), 1U);
        discovery.start();
        QTRY_VERIFY(discovery.isListening());
        // It still knows what was said before.
        sendToGroup(phone, status(u"a"_s, 4, sequenced(session, 4)));
        sendToGroup(phone, status(u"a"_s, 6, sequenced(session, 6)));
        QTRY_VERIFY(batteryOf(discovery, u"a"_s) != 5);
        QCOMPARE(batteryOf(discovery, u"a"_s), 6);
    }

    void followsItsNetworks()
    {
        const FileDescriptor phone = phoneSocket(u"10.77.0.11"_s);
        ip(u"link set lab0 down"_s);
        LiveCameraDiscovery discovery;
        const QSignalSpy scans(&discovery, &LiveCameraDiscovery::isActiveScanningChanged);
        QTRY_VERIFY_WITH_TIMEOUT(discovery.isListening(), limitMs);
        QTRY_VERIFY_WITH_TIMEOUT(discovery.livenessTick() >= 1, limitMs);
        QCOMPARE(scans.count(), 0); // nobody to ask
        // Nobody presses Scan, and the next look of its own would be 15 s away.
        ip(u"link set lab0 up"_s);
        QTRY_VERIFY_WITH_TIMEOUT(discovery.isActiveScanning(), 10'000);
        QTRY_VERIFY_WITH_TIMEOUT(hears(discovery, phone, 1), limitMs);
        // The cable at another network, before the scan of the first is over; the next one begins
        // though a camera is online.
        ip(u"address add 10.79.0.1/24 dev lab0"_s);
        ip(u"address del 10.77.0.1/24 dev lab0"_s);
        QTRY_VERIFY_WITH_TIMEOUT(scans.count() >= 3, limitMs);
        QTRY_VERIFY_WITH_TIMEOUT(hears(discovery, phone, 2), limitMs);
        // Another cable again and again: a socket has room for 20 memberships, if not fewer.
        QFile limit(u"/proc/sys/net/ipv4/igmp_max_memberships"_s);
        QVERIFY(limit.open(QFile::WriteOnly) && limit.write("3") == 1);
        limit.close();
        for (int i = 0; i < 4; ++i) {
            const auto cable = u"lab%1"_s.arg(20 + 2 * i);
            ip(u"link add %1 type veth peer name %1b"_s.arg(cable));
            ip(u"address add 10.81.0.1/24 dev %1"_s.arg(cable));
            ip(u"link set %1 up"_s.arg(cable));
            QTRY_VERIFY_WITH_TIMEOUT(isJoined(cable), limitMs);
            ip(u"link del %1"_s.arg(cable));
        }
        ip(u"address add 10.77.0.1/24 dev lab0"_s);
        ip(u"address del 10.79.0.1/24 dev lab0"_s);
        QTRY_VERIFY_WITH_TIMEOUT(hears(discovery, phone, 3), limitMs);
    }

    void listensOnNetworksOfPeopleOnly()
    {
        ip(u"link add docker7 type veth peer name lab7 netns %1"_s.arg(
            qEnvironmentVariable("VORN_LAB_PHONES")));
        ip(u"address add 172.17.0.1/24 dev docker7"_s);
        ip(u"link set docker7 up"_s);
        ipBeyond(u"address add 172.17.0.2/24 dev lab7"_s);
        ipBeyond(u"link set lab7 up"_s);
        const FileDescriptor phone = phoneSocket(u"10.77.0.11"_s);
        LiveCameraDiscovery discovery;
        QTRY_VERIFY_WITH_TIMEOUT(discovery.isListening(), limitMs);
        QTRY_VERIFY_WITH_TIMEOUT(hears(discovery, phone, 1), limitMs);
        QVERIFY(isJoined(u"lab0"_s));
        QVERIFY(!isJoined(u"docker7"_s));
        ip(u"link del docker7"_s);
    }

    void tellsWhatItKnowsOfTheNetwork()
    {
        const FileDescriptor phone = phoneSocket(u"10.77.0.11"_s);
        const FileDescriptor other = phoneSocket(u"10.77.0.12"_s);
        const LabNeighbours neighbours; // among them 10.77.0.12, which refuses
        const PhoneServer camera(u"10.77.0.11"_s, answering(status(u"a"_s, 5)));
        LiveCameraDiscovery discovery;
        ListeningReport report;
        connect(&discovery, &LiveCameraDiscovery::measured, this,
                [&](const ListeningReport &made) { report = made; });
        QTRY_VERIFY_WITH_TIMEOUT(discovery.isListening(), limitMs);
        for (const QByteArray &data :
             {status(u"a"_s, 1, sequenced(session, 5)), status(u"a"_s, 2, sequenced(session, 4)),
              QByteArray("{"), QByteArray(R"({"v":2,"type":"status","payload":{}})"),
              QByteArray(int(maximumPacketBytes) + 1, ' ')})
            sendToGroup(phone, data);
        sendToGroup(other, status(u"b"_s, 3));
        QTRY_COMPARE_WITH_TIMEOUT(batteryOf(discovery, u"b"_s), 3, limitMs);
        const auto isMeasured = [&] {
            discovery.measure();
            return report.reach[u"10.77.0.11"_s] == Reach::answered
                   && report.reach[u"10.77.0.12"_s] == Reach::refused;
        };
        QTRY_VERIFY_WITH_TIMEOUT(isMeasured(), limitMs);
        QVERIFY(report.listeningSince);
        const auto lab = std::ranges::find(report.links, u"lab0"_s,
                                           [](const auto &listened) { return listened.link.name; });
        QVERIFY(lab != report.links.end() && lab->isJoined);
        QCOMPARE(report.datagrams.of(DatagramFate::heard), 2U);
        QCOMPARE(report.datagrams.of(DatagramFate::outdated), 1U);
        QCOMPARE(report.datagrams.of(DatagramFate::unreadable), 1U);
        QCOMPARE(report.datagrams.of(DatagramFate::otherVersion), 1U);
        QCOMPARE(report.datagrams.of(DatagramFate::tooLong), 1U);
        discovery.rescan();
        const auto isScanned = [&] {
            discovery.measure();
            return report.lastScan && !report.lastScan->isRunning;
        };
        QTRY_VERIFY_WITH_TIMEOUT(isScanned(), limitMs);
        QCOMPARE(report.lastScan->asked, 253U);
        QCOMPARE(report.lastScan->answered, 1U);
        QVERIFY(!discovery.isSilent());
    }

    void leavesStrangersFromAfarAlone()
    {
        const auto far = u"203.0.113.9"_s;
        ipBeyond(u"address add 203.0.113.9/32 dev lab1"_s);
        ip(u"route add 203.0.113.0/24 dev lab0"_s);
        const FileDescriptor stranger = phoneSocket(far);
        const FileDescriptor phone = phoneSocket(u"10.77.0.11"_s);
        const PhoneServer server(far, answering(status(u"far"_s, 1)));
        LiveCameraDiscovery discovery;
        QTRY_VERIFY_WITH_TIMEOUT(discovery.isListening(), limitMs);
        sendTo(stranger, u"10.77.0.1"_s, status(u"far"_s, 2));
        sendTo(phone, u"10.77.0.1"_s, status(u"near"_s, 3));
        QTRY_COMPARE_WITH_TIMEOUT(batteryOf(discovery, u"near"_s), 3, limitMs);
        QCOMPARE(discovery.cameras().size(), 1U);
        // Nor does anything leave for there, whoever asks.
        const auto probe = [&] {
            CameraProbe asking(far, nullptr);
            QSignalSpy finished(&asking, &CameraProbe::finished);
            return finished.wait(limitMs)
                   && finished.front().front().value<std::optional<LiveCameraPacket>>().has_value();
        };
        QVERIFY(!probe());
        LiveCamera camera = discovery.cameras().front();
        camera.host = far;
        QVERIFY(discovery.requestTransferMode(camera, QString::fromLatin1(session), u"Studio"_s));
        QTRY_VERIFY_WITH_TIMEOUT(
            discovery.transferModeRequest() && discovery.transferModeRequest()->isFailure, limitMs);
        QCOMPARE(discovery.transferModeRequest()->message,
                 u"The transfer request could not reach near."_s);
        QCOMPARE(server.connections(), 0);
        // On a network of ours the same address is a neighbour's.
        ip(u"address add 203.0.113.1/24 dev lab0"_s);
        const auto isHeard = [&] {
            sendTo(stranger, u"10.77.0.1"_s, status(u"far"_s, 4));
            return batteryOf(discovery, u"far"_s) == 4;
        };
        QTRY_VERIFY_WITH_TIMEOUT(isHeard(), limitMs);
        QVERIFY(probe());
        ip(u"address del 203.0.113.1/24 dev lab0"_s);
    }

    void forgetsACameraThatFellSilent()
    {
        WallTime time = std::chrono::system_clock::now();
        const FileDescriptor phone = phoneSocket(u"10.77.0.11"_s);
        LiveCameraDiscovery discovery(nullptr, 10s, [&time] { return time; });
        const auto ticks = [&discovery] {
            QSignalSpy ticked(&discovery, &LiveCameraDiscovery::livenessTickChanged);
            return ticked.wait(limitMs);
        };
        QTRY_VERIFY_WITH_TIMEOUT(discovery.isListening(), limitMs);
        sendToGroup(phone, status(u"a"_s, 5, sequenced(session, 5)));
        QTRY_VERIFY_WITH_TIMEOUT(find(discovery, u"a"_s), limitMs);
        QCOMPARE(find(discovery, u"a"_s)->lastSeen, time);

        time += 30s - 1ms;
        QVERIFY(ticks());
        QVERIFY(find(discovery, u"a"_s));
        time += 1ms;
        QVERIFY(ticks());
        QVERIFY(!find(discovery, u"a"_s));

        // Its record begins anew, its order does not.
        sendToGroup(phone, status(u"a"_s, 4, sequenced(session, 5)));
        QByteArray bare = status(u"a"_s, 0, sequenced(session, 6));
        sendToGroup(phone, bare.replace("\"battery\":0", ""));
        QTRY_VERIFY_WITH_TIMEOUT(find(discovery, u"a"_s), limitMs);
        QCOMPARE(batteryOf(discovery, u"a"_s), std::nullopt);
    }
};

QTEST_GUILESS_MAIN(LiveDiscoveryTest)
#include "live_discovery_test.moc"
