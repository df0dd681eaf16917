// SPDX-License-Identifier: Apache-2.0

// The list of file servers, with phones that announce themselves over the lab's network.

#include "phones_side.h"

#include <QSignalSpy>
#include <QtTest>

#include <future>

using namespace vorn;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr int limitMs = 20'000;

} // namespace

class LANDiscoveryTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY2(qEnvironmentVariableIsSet("VORN_LAB_PHONES"), "no lab");
        hideSystemBus();
    }

    void init()
    {
        m_phones = std::make_unique<PhonesSide>();
        m_discovery = std::make_unique<LANDiscovery>();
    }

    void cleanup()
    {
        m_discovery.reset();
        m_phones.reset();
    }

    void listsThePhonesInOrder()
    {
        QVERIFY(m_discovery->isSearching() && m_discovery->devices().empty());
        m_phones->announce(u"charlie"_s, transfer, 13, 8443,
                           {{u"sessionId"_s, "s3"}, {u"fp"_s, QByteArray(64, 'c')}});
        m_phones->announce(u"alpha"_s, transfer, 11, 8441);
        m_phones->announce(u"Bravo"_s, legacy, 12, 8442, {{u"catalog"_s, "list"}});
        m_phones->announce(u"Dödö's Kamera. (2)"_s, transfer, 14, 8444);
        QTRY_COMPARE_WITH_TIMEOUT(
            names(*m_discovery),
            QStringList({u"alpha"_s, u"Bravo"_s, u"charlie"_s, u"Dödö's Kamera. (2)"_s}), limitMs);

        QVERIFY(find(*m_discovery, u"charlie"_s)->supportsAuthenticatedTransfer());
        const DiscoveredDevice &bravo = *find(*m_discovery, u"Bravo"_s);
        QCOMPARE(bravo.serviceType, u"_vorn._tcp."_s);
        QCOMPARE(bravo.catalogURL.path(), u"/list"_s);
        QCOMPARE(bravo.address, QHostAddress(u"10.77.0.12"_s));
    }

    void followsAPhone()
    {
        m_phones->announce(u"cam"_s, transfer, 11, 8443, {{u"sessionId"_s, "1"}});
        m_phones->announce(u"other"_s, transfer, 12, 8443);
        QTRY_COMPARE_WITH_TIMEOUT(names(*m_discovery), QStringList({u"cam"_s, u"other"_s}),
                                  limitMs);
        m_phones->setText(u"cam"_s, transfer, {{u"sessionId"_s, "2"}});
        QTRY_COMPARE_WITH_TIMEOUT(find(*m_discovery, u"cam"_s)->sessionId, u"2"_s, limitMs);
        // At another place.
        m_phones->withdraw(u"cam"_s, transfer);
        m_phones->announce(u"cam"_s, transfer, 13, 9000, {{u"sessionId"_s, "3"}});
        QTRY_VERIFY_WITH_TIMEOUT(find(*m_discovery, u"cam"_s)
                                     && find(*m_discovery, u"cam"_s)->sessionId == u"3",
                                 limitMs);
        QCOMPARE(find(*m_discovery, u"cam"_s)->address, QHostAddress(u"10.77.0.13"_s));
        QCOMPARE(find(*m_discovery, u"cam"_s)->catalogURL.port(), 9000);
        QCOMPARE(m_discovery->devices().size(), 2);
        m_phones->withdraw(u"cam"_s, transfer);
        QTRY_COMPARE_WITH_TIMEOUT(names(*m_discovery), QStringList({u"other"_s}), limitMs);
        QVERIFY(m_discovery->isSearching());
    }

    void listsOneNameOnceForEachType()
    {
        m_phones->announce(u"cam"_s, transfer, 11, 8443);
        QTRY_COMPARE_WITH_TIMEOUT(m_discovery->devices().size(), 1, limitMs);
        m_phones->announce(u"cam"_s, legacy, 11, 8080);
        QTRY_COMPARE_WITH_TIMEOUT(m_discovery->devices().size(), 2, limitMs);
        QCOMPARE(m_discovery->devices()[0].serviceType, transferServiceType);
        QCOMPARE(m_discovery->devices()[1].serviceType, legacyServiceType);
        m_phones->withdraw(u"cam"_s, transfer);
        QTRY_COMPARE_WITH_TIMEOUT(m_discovery->devices().size(), 1, limitMs);
        QCOMPARE(m_discovery->devices()[0].serviceType, legacyServiceType);
    }

    void beginsAnewAndStops()
    {
        m_phones->announce(u"a"_s, transfer, 11, 8443);
        m_phones->announce(u"b"_s, transfer, 12, 8443);
        QTRY_COMPARE_WITH_TIMEOUT(m_discovery->devices().size(), 2, limitMs);
        for (int round = 0; round < 3; ++round) {
            QSignalSpy changes(m_discovery.get(), &LANDiscovery::devicesChanged);
            m_discovery->restart();
            QVERIFY(m_discovery->devices().empty() && m_discovery->isSearching());
            QCOMPARE(changes.size(), 1);
            QTRY_COMPARE_WITH_TIMEOUT(names(*m_discovery), QStringList({u"a"_s, u"b"_s}), limitMs);
        }

        m_discovery->stop();
        QVERIFY(!m_discovery->isSearching());
        m_phones->withdraw(u"a"_s, transfer);
        // Somebody who does search has seen it go.
        LANDiscovery other;
        QTRY_COMPARE_WITH_TIMEOUT(names(other), QStringList({u"b"_s}), limitMs);
        QCOMPARE(names(*m_discovery), QStringList({u"a"_s, u"b"_s}));

        m_discovery->start();
        m_discovery->start();
        QVERIFY(m_discovery->isSearching());
        m_phones->withdraw(u"b"_s, transfer);
        m_phones->announce(u"c"_s, transfer, 13, 8443);
        QTRY_VERIFY_WITH_TIMEOUT(find(*m_discovery, u"c"_s) && !find(other, u"b"_s), limitMs);
        // It was away before anybody asked again.
        QVERIFY(find(*m_discovery, u"a"_s));
    }

    void forgetsWhatWasOnItsWayWhenItStops()
    {
        // This thread looks away until another has seen the phone.
        std::promise<void> seen;
        const WorkerThread<LANDiscovery> other(u"other"_s, [&seen] {
            auto watching = std::make_unique<LANDiscovery>();
            connect(watching.get(), &LANDiscovery::devicesChanged, watching.get(),
                    [&seen] { seen.set_value(); });
            return watching;
        });
        m_phones->announce(u"a"_s, transfer, 11, 8443);
        QVERIFY(seen.get_future().wait_for(20s) == std::future_status::ready);
        m_discovery->restart();
        m_discovery->stop();
        QCoreApplication::processEvents();
        QVERIFY(m_discovery->devices().empty());
    }

private:
    std::unique_ptr<PhonesSide> m_phones;
    std::unique_ptr<LANDiscovery> m_discovery;
};

QTEST_GUILESS_MAIN(LANDiscoveryTest)
#include "lan_discovery_test.moc"
