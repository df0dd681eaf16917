// The life of a camera's record, in real time over the lab's network.

#include "lab_phones.h"

#include <QtTest>

using namespace vorn;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

class LiveAgingTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void initTestCase() { QVERIFY2(qEnvironmentVariableIsSet("VORN_LAB_PHONES"), "no lab"); }

    void listsACameraThatFellSilentForAWhile()
    {
        constexpr auto session = "3f2504e0-4f89-41d3-9a0c-0305e82c3301";
        const FileDescriptor phone = phoneSocket(u"10.77.0.11"_s);
        LiveCameraDiscovery discovery;
        QTRY_VERIFY(discovery.isListening());
        sendToGroup(phone, status(u"a"_s, 5, sequenced(session, 5)));
        QTRY_VERIFY(find(discovery, u"a"_s));
        const WallTime heard = find(discovery, u"a"_s)->lastSeen;

        // What each tick would show.
        std::chrono::milliseconds lastOnline{};
        std::chrono::milliseconds lastListed{};
        connect(&discovery, &LiveCameraDiscovery::livenessTickChanged, this, [&] {
            const auto age = std::chrono::duration_cast<std::chrono::milliseconds>(
                std::chrono::system_clock::now() - heard);
            if (const LiveCamera *camera = find(discovery, u"a"_s)) {
                lastListed = age;
                if (camera->isOnline(std::chrono::system_clock::now()))
                    lastOnline = age;
            }
        });
        QTRY_VERIFY_WITH_TIMEOUT(discovery.cameras().empty(), 40'000);
        QVERIFY(lastOnline >= 4s && lastOnline < 6500ms);
        QVERIFY(lastListed >= 27s && lastListed < 30s + 500ms);
        QVERIFY(discovery.livenessTick() >= 29 && discovery.livenessTick() <= 40);

        // Its record begins anew, its order does not.
        sendToGroup(phone, status(u"a"_s, 4, sequenced(session, 5)));
        QByteArray bare = status(u"a"_s, 0, sequenced(session, 6));
        sendToGroup(phone, bare.replace("\"battery\":0", ""));
        QTRY_VERIFY(find(discovery, u"a"_s));
        QCOMPARE(batteryOf(discovery, u"a"_s), std::nullopt);
    }
};

QTEST_GUILESS_MAIN(LiveAgingTest)
#include "live_aging_test.moc"
