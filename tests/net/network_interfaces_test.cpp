// SPDX-License-Identifier: Apache-2.0

#include "net/network_interfaces.h"

#include <QtTest>

#include <net/if.h>

using namespace vorn;
using namespace Qt::StringLiterals;

class NetworkInterfacesTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void tellsNetworksOfPeopleFromOthers_data()
    {
        QTest::addColumn<unsigned>("flags");
        QTest::addColumn<LinkExclusion>("exclusion");
        const unsigned usual = IFF_UP | IFF_BROADCAST | IFF_RUNNING | IFF_MULTICAST;
        for (const char *name : {"eth0", "enp3s0", "wlan0", "wlp2s0", "lab0", "br0", "bond0"})
            QTest::newRow(name) << usual << LinkExclusion::none;
        for (const char *name : {"pdp_ip0", "utun3", "ipsec0", "ppp0", "gif0", "stf0", "tun0",
                                 "tap1", "wg0", "tailscale0", "ztabcdef"})
            QTest::newRow(name) << usual << LinkExclusion::tunnel;
        for (const char *name :
             {"docker0", "br-1a2b3c", "virbr0", "veth12ab", "lxcbr0", "cni0", "podman1"})
            QTest::newRow(name) << usual << LinkExclusion::container;
        QTest::newRow("eth1 down") << (usual & ~unsigned(IFF_UP)) << LinkExclusion::down;
        QTest::newRow("lo") << unsigned(IFF_UP | IFF_LOOPBACK) << LinkExclusion::loopback;
        QTest::newRow("vpn0") << (usual | IFF_POINTOPOINT) << LinkExclusion::pointToPoint;
    }

    void tellsNetworksOfPeopleFromOthers()
    {
        QFETCH(const unsigned, flags);
        QFETCH(const LinkExclusion, exclusion);
        const QByteArray name = QByteArray(QTest::currentDataTag()).split(' ').front();
        QCOMPARE(linkExclusion(name.toStdString(), flags), exclusion);
    }

    void tellsNeighboursFromTheInternet()
    {
        const std::vector<NetworkLink> links{
            {.interfaceIndex = 2, .name = {}, .address = u"198.51.100.130"_s, .prefixLength = 25},
            {.interfaceIndex = 3, .name = {}, .address = u"192.168.1.20"_s, .prefixLength = 24},
            {.interfaceIndex = 4, .name = {}, .address = u"100.64.0.1"_s, .prefixLength = 0}};
        for (const char *near :
             {"10.0.0.1", "10.255.255.254", "172.16.0.1", "172.31.255.1", "192.168.7.1",
              "169.254.3.3", "127.0.0.2", "198.51.100.129", "198.51.100.254"})
            QVERIFY2(isNearby(QHostAddress(QString::fromLatin1(near)), links), near);
        for (const char *far :
             {"9.255.255.255", "11.0.0.1", "172.15.255.255", "172.32.0.1", "192.167.1.1",
              "192.169.1.1", "169.253.1.1", "126.1.1.1", "128.0.0.1", "198.51.100.127",
              "198.51.101.129", "203.0.113.9", "100.64.0.2", "0.0.0.0", "255.255.255.255",
              "224.0.0.1", "fe80::1", "::1", ""})
            QVERIFY2(!isNearby(QHostAddress(QString::fromLatin1(far)), links), far);
    }
};

QTEST_APPLESS_MAIN(NetworkInterfacesTest)
#include "network_interfaces_test.moc"
