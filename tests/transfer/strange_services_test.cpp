// SPDX-License-Identifier: Apache-2.0

// Services that are announced as no phone would.

#include "multicast_dns.h"
#include "phones_side.h"

#include <QtTest>

using namespace vorn;
using namespace Qt::StringLiterals;

namespace {

constexpr int limitMs = 20'000;

/// A second network between the desktop and the phones, until it is pulled.
class SecondCable {
public:
    static inline const QString phone = u"10.78.0.26"_s;

    SecondCable()
    {
        ip(u"link add lab2 type veth peer name lab3 netns %1"_s.arg(
            qEnvironmentVariable("VORN_LAB_PHONES")));
        ip(u"address add 10.78.0.1/24 dev lab2"_s);
        ip(u"link set lab2 up"_s);
        ipBeyond(u"address add %1/24 dev lab3"_s.arg(phone));
        ipBeyond(u"link set lab3 up"_s);
    }
    ~SecondCable() { ip(u"link del lab2"_s); }
    SecondCable(const SecondCable &) = delete;
    SecondCable &operator=(const SecondCable &) = delete;
};

} // namespace

class StrangeServicesTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY2(qEnvironmentVariableIsSet("VORN_LAB_PHONES"), "no lab");
        hideSystemBus();
    }

    void init()
    {
        m_discovery = std::make_unique<LANDiscovery>();
        // A browser that has just begun may not be there yet.
        QTRY_VERIFY_WITH_TIMEOUT((complete("first"), !m_discovery->devices().empty()), limitMs);
    }

    void cleanup() { m_discovery.reset(); }

    void listsAServiceWithoutATextRecord()
    {
        m_dns.pointer("bare", transfer).server("bare", transfer, "host", 8443).address("host", 11);
        m_dns.send();
        QTRY_COMPARE_WITH_TIMEOUT(names(*m_discovery), QStringList({u"bare"_s, u"first"_s}),
                                  limitMs);
        const DiscoveredDevice &bare = m_discovery->devices().front();
        QCOMPARE(bare.catalogURL, QUrl(u"https://host.local:8443/vorn/v1/catalog"_s));
        QCOMPARE(bare.address, QHostAddress(u"10.77.0.11"_s));
        QVERIFY(!bare.supportsAuthenticatedTransfer());
    }

    void forgetsAServiceThatGoesWhileItIsResolved()
    {
        m_dns.pointer("brief", transfer).send();
        m_dns.pointer("brief", transfer, MulticastDns::goodbye).send();
        complete("second");
        QTRY_COMPARE_WITH_TIMEOUT(names(*m_discovery), QStringList({u"first"_s, u"second"_s}),
                                  limitMs);
        // It comes back, whole.
        complete("brief");
        QTRY_COMPARE_WITH_TIMEOUT(names(*m_discovery),
                                  QStringList({u"brief"_s, u"first"_s, u"second"_s}), limitMs);
    }

    void resolvesBehindServicesThatDoNot()
    {
        // Sixteen at once, five seconds each, would take 150 s.
        QElapsedTimer clock;
        clock.start();
        announceEmpty(480);
        complete("real");
        // One that waits for its turn goes.
        m_dns.pointer("empty-430", transfer, MulticastDns::goodbye).send();
        QTRY_COMPARE_WITH_TIMEOUT(names(*m_discovery), QStringList({u"first"_s, u"real"_s}),
                                  60'000);
        QVERIFY(clock.elapsed() >= 5'000);
    }

    void boundsTheList()
    {
        // These do not count.
        announceEmpty(40);
        constexpr int most = 512;
        const auto isListed = [&](int count) {
            for (int i = std::max(count - 20, 1); i < count; ++i)
                add("cam-" + QByteArray::number(i));
            m_dns.send();
            return int(m_discovery->devices().size()) == std::min(count, most);
        };
        for (int count = 20; count < most + 40; count += 20)
            QTRY_VERIFY_WITH_TIMEOUT(isListed(count), limitMs);
        // It makes room again.
        m_dns.pointer("cam-1", transfer, MulticastDns::goodbye).send();
        QTRY_VERIFY_WITH_TIMEOUT(!names(*m_discovery).contains(u"cam-1"_s), limitMs);
        QTRY_VERIFY_WITH_TIMEOUT((complete("late"), names(*m_discovery).contains(u"late"_s)),
                                 limitMs);
        QCOMPARE(m_discovery->devices().size(), std::size_t(most));
    }

    void asksTheOtherNetworkWhenOneIsSilent()
    {
        const SecondCable cable;
        MulticastDns other(SecondCable::phone);
        const auto isHeard = [&] {
            other.pointer("beside", transfer).server("beside", transfer, "beside", 8443);
            other.text("beside", transfer, {"sessionId=s"}).address("beside", 12).send();
            return names(*m_discovery).contains(u"beside"_s);
        };
        QTRY_VERIFY_WITH_TIMEOUT(isHeard(), limitMs);
        // The newer network is asked first, and there the phone says no more than its name.
        other.pointer("both", transfer).send();
        complete("both");
        QTRY_VERIFY_WITH_TIMEOUT(names(*m_discovery).contains(u"both"_s), limitMs);
    }

    void leavesOutWhatItCannotTake()
    {
        const auto send = [this](const QByteArray &name, const QByteArray &host, quint16 port,
                                 const QByteArrayList &text) {
            m_dns.pointer(name, transfer).server(name, transfer, host, port);
            m_dns.text(name, transfer, text).send();
        };
        QByteArrayList large;
        for (int i = 0; i < 33; ++i)
            large.append("k" + QByteArray::number(i) + '=' + QByteArray(248, 'x'));
        m_dns.address("evil@host", 11).address("far", 9, 0xCB00'7100).address("Télé", 13).send();
        send("beyond all links", "far", 8443, {"a=b"});
        send("no port", "first", 0, {"a=b"});
        send("bad host", "evil@host", 8443, {"a=b"});
        send("not UTF-8 \xFF", "first", 8443, {"a=b"});
        send("large", "first", 8443, large);
        send("large enough", "first", 8443, large.first(32));
        send("no ASCII", "Télé", 8443, {"a=b"});
        complete("real");
        QTRY_COMPARE_WITH_TIMEOUT(
            names(*m_discovery),
            QStringList({u"first"_s, u"large enough"_s, u"no ASCII"_s, u"real"_s}), limitMs);
        const DiscoveredDevice &accented = m_discovery->devices()[2];
        QCOMPARE(accented.catalogURL, QUrl(u"https://télé.local:8443/vorn/v1/catalog"_s));
        QCOMPARE(accented.address, QHostAddress(u"10.77.0.13"_s));
    }

private:
    void add(const QByteArray &name)
    {
        m_dns.pointer(name, transfer).server(name, transfer, name, 8443);
        m_dns.text(name, transfer, {"sessionId=s"}).address(name, 12);
    }

    void complete(const QByteArray &name)
    {
        add(name);
        m_dns.send();
    }

    /// Services that exist and say nothing else of themselves.
    void announceEmpty(int count)
    {
        for (int i = 0; i < count; ++i) {
            m_dns.pointer("empty-" + QByteArray::number(i), transfer);
            if (i % 40 == 39)
                m_dns.send();
        }
    }

    MulticastDns m_dns;
    std::unique_ptr<LANDiscovery> m_discovery;
};

QTEST_GUILESS_MAIN(StrangeServicesTest)
#include "strange_services_test.moc"
