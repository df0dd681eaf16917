#include "net/network_interfaces.h"

#include <QtTest>

#include <net/if.h>

using namespace vorn;

class NetworkInterfacesTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void tellsNetworksOfPeopleFromOthers_data()
    {
        QTest::addColumn<unsigned>("flags");
        QTest::addColumn<bool>("isLan");
        const unsigned usual = IFF_UP | IFF_BROADCAST | IFF_RUNNING | IFF_MULTICAST;
        for (const char *name : {"eth0", "enp3s0", "wlan0", "wlp2s0", "lab0", "br0", "bond0"})
            QTest::newRow(name) << usual << true;
        for (const char *name : {"pdp_ip0", "utun3", "ipsec0", "ppp0", "gif0", "stf0", "tun0",
                                 "tap1", "wg0", "tailscale0", "ztabcdef", "docker0", "br-1a2b3c",
                                 "virbr0", "veth12ab", "lxcbr0", "cni0", "podman1"})
            QTest::newRow(name) << usual << false;
        QTest::newRow("eth1 down") << (usual & ~unsigned(IFF_UP)) << false;
        QTest::newRow("lo") << unsigned(IFF_UP | IFF_LOOPBACK) << false;
        QTest::newRow("vpn0") << (usual | IFF_POINTOPOINT) << false;
    }

    void tellsNetworksOfPeopleFromOthers()
    {
        QFETCH(const unsigned, flags);
        QFETCH(const bool, isLan);
        const QByteArray name = QByteArray(QTest::currentDataTag()).split(' ').front();
        QCOMPARE(isLanInterface(name.toStdString(), flags), isLan);
    }
};

QTEST_APPLESS_MAIN(NetworkInterfacesTest)
#include "network_interfaces_test.moc"
