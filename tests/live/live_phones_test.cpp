// Whole phones on the lab's network, as the rig plays them.

#include "lab_phones.h"
#include "rig_phones.h"

#include <QtTest>

using namespace vorn;
using namespace Qt::StringLiterals;

namespace {

constexpr int limitMs = 30'000;

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
            QVERIFY(camera.isOnline(std::chrono::system_clock::now()));
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
        constexpr auto taken = true;
        constexpr auto refused = false;
        const std::vector<std::pair<QString, bool>> packets{
            {u"largest"_s, taken},         {u"oversized"_s, refused},
            {u"jumbo"_s, refused},         {u"empty"_s, refused},
            {u"truncated"_s, refused},     {u"binary"_s, refused},
            {u"array"_s, refused},         {u"deep"_s, refused},
            {u"wrong-version"_s, refused}, {u"boolean-version"_s, refused},
            {u"other-sender"_s, refused},  {u"long-id"_s, refused},
            {u"null-session"_s, refused},  {u"huge-sequence"_s, refused},
            {u"huge-numbers"_s, taken},    {u"infinite"_s, refused},
            {u"wrong-types"_s, refused},   {u"duplicate-keys"_s, taken},
            {u"invalid-utf8"_s, refused},  {u"markup-name"_s, taken},
            {u"hidden-name"_s, taken},     {u"long-name"_s, taken}};
        RigPhones phones(few(2));
        phones.must(u"all interval 100"_s);
        LiveCameraDiscovery discovery;
        QTRY_COMPARE_WITH_TIMEOUT(discovery.cameras().size(), 2U, limitMs);
        phones.must(u"all status off"_s);
        phones.must(u"all identity garbage"_s);
        // Each would change what is known of cam-a, and is followed by a right one of cam-b.
        for (const auto &[name, isTaken] : packets) {
            const QString before = find(discovery, u"cam-a"_s)->takeId;
            phones.must(u"all set takeId \"%1\""_s.arg(name));
            phones.must(u"cam-a send "_s + name);
            phones.must(u"cam-b send largest"_s);
            QTRY_COMPARE_WITH_TIMEOUT(find(discovery, u"cam-b"_s)->takeId, name, limitMs);
            QCOMPARE(find(discovery, u"cam-a"_s)->takeId, isTaken ? name : before);
        }
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
