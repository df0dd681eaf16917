// Whole phones on the lab's network, as the rig plays them.

#include "lab_phones.h"
#include "rig_phones.h"

#include <QtTest>

using namespace vorn;
using namespace Qt::StringLiterals;

namespace {

RigPhonesOptions few(int count)
{
    RigPhonesOptions options;
    options.count = count;
    return options;
}

} // namespace

class LivePhonesTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void initTestCase() { QVERIFY2(qEnvironmentVariableIsSet("VORN_LAB_PHONES"), "no lab"); }

    void listsThePhonesThatAreThere()
    {
        RigPhones phones;
        phones.must(u"all interval 100"_s);
        phones.must(u"cam-b record take-7"_s);
        LiveCameraDiscovery discovery;
        QTRY_COMPARE(discovery.cameras().size(), 4U);
        QTRY_COMPARE(find(discovery, u"cam-b"_s)->takeId, u"take-7"_s);
        QVERIFY(find(discovery, u"cam-b"_s)->displaysRecording(std::chrono::system_clock::now()));
        for (const LiveCamera &camera : discovery.cameras()) {
            QVERIFY(camera.isOnline());
            QCOMPARE(camera.host, phones.phone(camera.id).value(u"address").toString());
            QVERIFY(camera.name != camera.id);
            QCOMPARE(camera.role, u"CAMERA"_s);
            QCOMPARE(camera.channels, 2);
            QVERIFY(camera.battery && camera.freeGB && camera.leftDB > -60);
            QVERIFY(camera.previewCapabilities.supportsPersistentJPEG());
            QVERIFY(camera.previewTransport.supportsPersistentJPEG());
            QCOMPARE(camera.previewTransport.encodeCounters.size(), 3U);
        }
        QVERIFY(std::ranges::is_sorted(discovery.cameras(), [](const auto &a, const auto &b) {
            return a.name.compare(b.name, Qt::CaseInsensitive) < 0;
        }));
        phones.must(u"cam-c move 10.77.0.20"_s);
        QTRY_COMPARE(find(discovery, u"cam-c"_s)->host, u"10.77.0.20"_s);
        phones.must(u"cam-d set name \"a name that comes first\""_s);
        QTRY_COMPARE(discovery.cameras().front().id, u"cam-d"_s);
    }

    void neverGoesBackOnABadNetwork()
    {
        RigPhones phones(few(1));
        phones.must(u"cam-a reorder 0.4"_s);
        phones.must(u"cam-a duplicate 0.3"_s);
        phones.must(u"cam-a loss 0.2"_s);
        phones.must(u"cam-a interval 10"_s);
        LiveCameraDiscovery discovery;
        QTRY_VERIFY(find(discovery, u"cam-a"_s));
        std::int64_t last = 0;
        int steps = 0;
        bool hasGoneBack = false;
        connect(&discovery, &LiveCameraDiscovery::camerasChanged, this, [&] {
            const std::int64_t now = batteryOf(discovery, u"cam-a"_s).value_or(0);
            hasGoneBack = hasGoneBack || now < last;
            steps += now > last ? 1 : 0;
            last = now;
        });
        // The rig's own sequence does not show, so its battery is charged step by step.
        for (int battery = 1000; battery < 1100; ++battery) {
            phones.must(u"cam-a set battery %1"_s.arg(battery));
            QTest::qWait(10);
        }
        QTRY_COMPARE(last, 1099);
        QVERIFY(steps > 3);
        QVERIFY(!hasGoneBack);
        // A session that begins anew counts from the start.
        phones.must(u"cam-a restart"_s);
        phones.must(u"cam-a set battery 2000"_s);
        QTRY_COMPARE(last, 2000);
    }

    void outlivesHostilePackets()
    {
        RigPhones phones(few(2));
        phones.must(u"all interval 100"_s);
        LiveCameraDiscovery discovery;
        QTRY_COMPARE(discovery.cameras().size(), 2U);
        for (const QString &name :
             {u"largest"_s,       u"oversized"_s,       u"jumbo"_s,        u"empty"_s,
              u"truncated"_s,     u"binary"_s,          u"array"_s,        u"deep"_s,
              u"wrong-version"_s, u"boolean-version"_s, u"other-sender"_s, u"long-id"_s,
              u"null-session"_s,  u"huge-sequence"_s,   u"huge-numbers"_s, u"infinite"_s,
              u"wrong-types"_s,   u"duplicate-keys"_s,  u"invalid-utf8"_s, u"markup-name"_s,
              u"hidden-name"_s,   u"long-name"_s})
            phones.must(u"cam-a send "_s + name);
        phones.must(u"cam-b set battery 4"_s);
        phones.must(u"cam-a set battery 3"_s);
        QTRY_COMPARE(batteryOf(discovery, u"cam-b"_s), 4);
        QTRY_COMPARE(batteryOf(discovery, u"cam-a"_s), 3);
        QCOMPARE(discovery.cameras().size(), 2U);
    }

    void findsPhonesThatSendNothing()
    {
        const LabNeighbours neighbours;
        RigPhones phones(few(4));
        phones.must(u"all status off"_s);
        phones.must(u"cam-b identity garbage"_s);
        phones.must(u"cam-c identity oversized"_s);
        LiveCameraDiscovery discovery;
        QTRY_COMPARE(discovery.cameras().size(), 2U);
        QTRY_VERIFY(!discovery.isActiveScanning());
        QVERIFY(find(discovery, u"cam-a"_s) && find(discovery, u"cam-d"_s));
        QCOMPARE(find(discovery, u"cam-d"_s)->host, u"10.77.0.14"_s);
    }

    void asksAPhoneToShare()
    {
        const auto collector = u"6ba7b810-9dad-11d1-80b4-00c04fd430c8"_s;
        RigPhones phones(few(2)); // who approve
        LiveCameraDiscovery discovery;
        QTRY_COMPARE(discovery.cameras().size(), 2U);
        const auto ask = [&](const QString &id) {
            const auto request =
                discovery.requestTransferMode(*find(discovery, id), collector, u"Studio"_s);
            QVERIFY(request);
        };
        const auto message = [&] {
            const auto &state = discovery.transferModeRequest();
            return state ? state->message : QString();
        };
        ask(u"cam-a"_s);
        QTRY_COMPARE(message(), u"Approved — waiting for secure Transfer Mode."_s);
        phones.must(u"cam-b transfer decline No space left"_s);
        ask(u"cam-b"_s);
        QTRY_COMPARE(message(), u"No space left"_s);
        QVERIFY(discovery.transferModeRequest()->isFailure);
        phones.must(u"cam-b transfer pending"_s);
        ask(u"cam-b"_s);
        QTRY_COMPARE(message(), u"Approve the request on %1 within 30 seconds."_s.arg(
                                    find(discovery, u"cam-b"_s)->name));
        phones.must(u"cam-b approve"_s);
        QTRY_COMPARE(message(), u"Approved — waiting for secure Transfer Mode."_s);
    }
};

QTEST_GUILESS_MAIN(LivePhonesTest)
#include "live_phones_test.moc"
