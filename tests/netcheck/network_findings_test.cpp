// SPDX-License-Identifier: Apache-2.0

#include "live/ports.h"
#include "net/ipv4_socket.h"
#include "netcheck/network_findings.h"
#include "netcheck/network_report.h"
#include "phones_side.h"

#include <QProcess>
#include <QtTest>

#include <functional>

using namespace vorn;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

using Change = std::function<void(NetworkFacts &)>;
Q_DECLARE_METATYPE(Change)

namespace {

const MonotonicClock::time_point now{1000s};
const auto phone = u"192.168.1.40"_s;

NetworkLink linkAt(const QString &name, const QString &address)
{
    return {.interfaceIndex = 2,
            .name = name,
            .address = address,
            .prefixLength = 24,
            .hasCarrier = true};
}

/// One network, one phone, all well.
NetworkFacts soundFacts()
{
    NetworkFacts facts;
    facts.listening.made = now;
    facts.listening.listeningSince = now - 60s;
    const NetworkLink link = linkAt(u"wlan0"_s, u"192.168.1.20"_s);
    facts.listening.links = {{.link = link, .isJoined = true, .since = now - 60s}};
    facts.listening.datagrams.byFate[std::size_t(DatagramFate::heard)] = 40;
    facts.listening.reach = {{phone, Reach::answered}};
    facts.system.interfaces = {{link, LinkExclusion::none}};
    facts.system.sources = {{link.address, link.address}, {phone, link.address}};
    facts.system.statusPortUsers = {{.isThisProcess = true, .program = u"vorn-desktop"_s}};
    facts.services = ServiceSource::daemon;
    facts.cameras = {{.name = u"Mara's phone"_s, .host = phone}};
    return facts;
}

void hearNothing(NetworkFacts &facts)
{
    facts.listening.datagrams = {};
    facts.cameras.clear();
}

void addTunnel(NetworkFacts &facts)
{
    facts.system.interfaces->push_back({linkAt(u"wg0"_s, u"10.9.0.2"_s), LinkExclusion::tunnel});
}

const NetworkFinding *findingOf(const std::vector<NetworkFinding> &findings, const QString &title,
                                const QString &part)
{
    const auto found = std::ranges::find_if(findings, [&](const NetworkFinding &finding) {
        return finding.title == title && (finding.statement + u' ' + finding.advice).contains(part);
    });
    return found == findings.end() ? nullptr : &*found;
}

} // namespace

class NetworkFindingsTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void saysWhatStandsInTheWay_data()
    {
        QTest::addColumn<Change>("change");
        QTest::addColumn<QString>("title");
        QTest::addColumn<bool>("isGood");
        QTest::addColumn<QString>("part");
        const auto row = [](const QString &title, bool isGood, const QString &part,
                            const Change &change) {
            QTest::newRow(qPrintable(title + u": "_s + part)) << change << title << isGood << part;
        };
        const auto port = u"Port 45454"_s;
        row(port, true, u"Open"_s, [](NetworkFacts &) {});
        row(port, false, u"is unavailable. It is used by “chat”. End that program"_s,
            [](NetworkFacts &facts) {
                facts.listening.listeningSince.reset();
                facts.listeningProblem = u"UDP port 45454 is unavailable."_s;
                facts.system.statusPortUsers = {{.program = u"chat"_s}};
            });
        row(port, false, u"another user's program"_s, [](NetworkFacts &facts) {
            facts.listening.listeningSince.reset();
            facts.system.statusPortUsers = {PortUser{}};
        });
        row(port, false, u"shared with “vorn-probe”"_s, [](NetworkFacts &facts) {
            facts.system.statusPortUsers->push_back({.program = u"vorn-probe"_s});
        });
        row(port, true, u"Open"_s, // the system does not tell who uses it
            [](NetworkFacts &facts) { facts.system.statusPortUsers.reset(); });

        const auto wifi = u"Network wlan0"_s;
        row(wifi, true, u"192.168.1.20/24 is listened on, multicast joined."_s,
            [](NetworkFacts &) {});
        row(wifi, true, u"came up 7 s ago"_s,
            [](NetworkFacts &facts) { facts.listening.links[0].since = now - 7s; });
        row(wifi, false, u"could not be joined"_s,
            [](NetworkFacts &facts) { facts.listening.links[0].isJoined = false; });
        row(wifi, false, u"no signal"_s,
            [](NetworkFacts &facts) { facts.listening.links[0].link.hasCarrier = false; });
        row(wifi, false, u"not listened on yet"_s,
            [](NetworkFacts &facts) { facts.listening.links.clear(); });

        const auto leftOut = u"Left out"_s;
        row(leftOut, true, u"wg0 (tunnel or mobile link)."_s, addTunnel);
        row(leftOut, false, u"wlan0 (no IPv4 address). There is no network"_s,
            [](NetworkFacts &facts) {
                facts.system.interfaces = {
                    {linkAt(u"wlan0"_s, QString()), LinkExclusion::noAddress}};
            });
        row(leftOut, false, u"does not tell"_s,
            [](NetworkFacts &facts) { facts.system.interfaces.reset(); });

        const auto packets = u"Status packets"_s;
        row(packets, true,
            u"43 packets in the last minute, 40 of them new. Refused: 2 unreadable, "
            "1 from beyond the local networks."_s,
            [](NetworkFacts &facts) {
                facts.listening.datagrams.byFate[std::size_t(DatagramFate::unreadable)] = 2;
                facts.listening.datagrams.byFate[std::size_t(DatagramFate::beyond)] = 1;
            });
        row(packets, false, u"0 packets"_s, hearNothing);
        row(packets, false, u"Update VORN"_s, [](NetworkFacts &facts) {
            hearNothing(facts);
            facts.listening.datagrams.byFate[std::size_t(DatagramFate::otherVersion)] = 5;
        });

        const auto scan = u"Last scan"_s;
        row(scan, true, u"None was needed"_s, [](NetworkFacts &) {});
        row(scan, false, u"14 s ago: 253 addresses asked, 0 answered."_s, [](NetworkFacts &facts) {
            hearNothing(facts);
            facts.listening.lastScan = {.begun = now - 14s, .asked = 253};
        });
        row(scan, true, u"answered so far"_s, [](NetworkFacts &facts) {
            hearNothing(facts);
            facts.listening.lastScan = {.begun = now, .isRunning = true, .asked = 253};
        });
        row(scan, false, u"nobody to ask"_s, [](NetworkFacts &facts) {
            hearNothing(facts);
            facts.listening.lastScan = {.begun = now};
        });

        const auto firewall = u"Firewall"_s;
        row(firewall, true, u"ufw is on, and status packets come in"_s,
            [](NetworkFacts &facts) { facts.system.firewalls = {u"ufw"_s}; });
        row(firewall, false, u"sudo ufw allow"_s, [](NetworkFacts &facts) {
            hearNothing(facts);
            facts.system.firewalls = {u"ufw"_s};
        });
        row(firewall, false, u"firewall-cmd"_s, [](NetworkFacts &facts) {
            hearNothing(facts);
            facts.system.firewalls = {u"firewalld"_s};
        });
        row(firewall, false, u"their packets do not come in"_s, [](NetworkFacts &facts) {
            facts.listening.datagrams = {};
            facts.listening.lastScan = {.begun = now, .asked = 253, .answered = 1};
        });
        row(firewall, true, u"Neither"_s, hearNothing);

        const auto several = u"Several networks"_s;
        const Change another = [](NetworkFacts &facts) {
            facts.system.interfaces->push_back(
                {linkAt(u"eth0"_s, u"10.1.2.3"_s), LinkExclusion::none});
        };
        row(several, true, u"on one"_s, [](NetworkFacts &facts) {
            // By cable and by Wi-Fi.
            facts.system.interfaces->push_back(
                {linkAt(u"eth0"_s, u"192.168.1.21"_s), LinkExclusion::none});
        });
        row(several, true, u"192.168.1.0/24 and 10.1.2.0/24"_s, another);
        row(several, false, u"on one of them"_s, [another](NetworkFacts &facts) {
            hearNothing(facts);
            another(facts);
        });

        const auto vpn = u"Virtual private network"_s;
        row(vpn, true, u"wg0 is on and leaves the local networks alone."_s, addTunnel);
        row(vpn, false, u"What goes to 192.168.1.0/24 leaves by wg0."_s, [](NetworkFacts &facts) {
            addTunnel(facts);
            facts.system.sources[u"192.168.1.20"_s] = u"10.9.0.2"_s;
        });
        row(vpn, false, u"No way is known to 192.168.1.40."_s,
            [](NetworkFacts &facts) { facts.system.sources[phone].clear(); });

        const auto previews = u"Previews"_s;
        row(previews, true, u"can be reached"_s, [](NetworkFacts &) {});
        row(previews, true, u"being tried"_s,
            [](NetworkFacts &facts) { facts.listening.reach.clear(); });
        row(previews, false, u"Mara's phone (192.168.1.40) is heard but cannot be reached."_s,
            [](NetworkFacts &facts) { facts.listening.reach[phone] = Reach::unreachable; });
        row(previews, false, u"gives no previews"_s,
            [](NetworkFacts &facts) { facts.listening.reach[phone] = Reach::refused; });
        row(previews, false, u"No camera is heard"_s, hearNothing);

        const auto services = u"File servers (DNS-SD)"_s;
        row(services, true, u"Avahi daemon; 0 phones listed."_s, [](NetworkFacts &) {});
        row(services, false, u"5353"_s,
            [](NetworkFacts &facts) { facts.services = ServiceSource::none; });
    }

    void saysWhatStandsInTheWay()
    {
        QFETCH(const Change, change);
        QFETCH(const QString, title);
        QFETCH(const bool, isGood);
        QFETCH(const QString, part);
        NetworkFacts facts = soundFacts();
        change(facts);
        const auto findings = networkFindings(facts);
        const NetworkFinding *finding = findingOf(findings, title, part);
        QVERIFY2(finding, qPrintable(networkReport(findings, u"test"_s, {})));
        QCOMPARE(finding->isGood, isGood);
        QCOMPARE(finding->advice.isEmpty(), isGood); // what is amiss comes with what to do
    }

    void isContentWhenAllIsWell()
    {
        for (const NetworkFinding &finding : networkFindings(soundFacts()))
            QVERIFY2(finding.isGood, qPrintable(finding.title));
    }

    void claimsNothingOfWhatItCannotSee()
    {
        NetworkFacts facts = soundFacts();
        facts.system.interfaces.reset();
        for (const NetworkFinding &finding : networkFindings(facts))
            QVERIFY(finding.title != u"Several networks"
                    && finding.title != u"Virtual private network");
    }

    void countsTheLastMinute()
    {
        DatagramTally tally;
        const MonotonicClock::time_point start{500s};
        tally.count(DatagramFate::heard, start);
        tally.count(DatagramFate::heard, start + 59s);
        tally.count(DatagramFate::outdated, start + 59s);
        QCOMPARE(tally.lastMinute(start + 59s).of(DatagramFate::heard), 2U);
        QCOMPARE(tally.lastMinute(start + 61s).of(DatagramFate::heard), 1U);
        tally.count(DatagramFate::heard, start + 60s); // where the first stood
        QCOMPARE(tally.lastMinute(start + 61s).of(DatagramFate::heard), 2U);
        QCOMPARE(tally.lastMinute(start + 61s).of(DatagramFate::outdated), 1U);
        QCOMPARE(tally.lastMinute(start + 1h), DatagramCounts{});
    }

    void readsTheSettingsOfTheFirewall()
    {
        QVERIFY(isUfwEnabled(u"# ufw\nENABLED=yes\nLOGLEVEL=low\n"_s));
        QVERIFY(!isUfwEnabled(u"# ENABLED=yes\nENABLED=no\n"_s));
    }

    void looksAtThisComputer()
    {
        const FileDescriptor own = openUdpSocket();
        QVERIFY(bindToSharedPort(own, statusPort));
        QProcess other;
        other.start(u"python3"_s,
                    {u"-c"_s,
                     u"import socket, sys\n"
                     "s = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)\n"
                     "for o in (socket.SO_REUSEADDR, socket.SO_REUSEPORT):\n"
                     "    s.setsockopt(socket.SOL_SOCKET, o, 1)\n"
                     "s.bind(('', 45454)); print('bound', flush=True); sys.stdin.read()"_s});
        QVERIFY(other.waitForReadyRead(30'000));
        SystemLook look = lookAtSystem({u"10.77.0.11"_s});
        QCOMPARE(look.sources[u"10.77.0.11"_s], u"10.77.0.1"_s);
        QCOMPARE(look.sources[u"10.77.0.1"_s], u"10.77.0.1"_s); // the network's own
        auto users = look.statusPortUsers.value();
        QCOMPARE(users.size(), 2U);
        QCOMPARE(std::ranges::count(users, true, &PortUser::isThisProcess), 1);
        const auto stranger = std::ranges::find(users, false, &PortUser::isThisProcess);
        QVERIFY2(stranger->program.startsWith(u"python3"), qPrintable(stranger->program));
        other.closeWriteChannel();
        QVERIFY(other.waitForFinished());

        // A tunnel takes the way to half of the network.
        ip(u"link add wg7 type veth peer name wg8"_s);
        ip(u"address add 10.9.0.2/32 dev wg7"_s);
        ip(u"link set wg7 up"_s);
        ip(u"route add 10.77.0.0/25 dev wg7"_s);
        NetworkFacts facts = soundFacts();
        facts.system = lookAtSystem({});
        QVERIFY(findingOf(networkFindings(facts), u"Virtual private network"_s,
                          u"What goes to 10.77.0.0/24 leaves by wg7."_s));
        QVERIFY(findingOf(networkFindings(facts), u"Left out"_s, u"wg7 (tunnel"_s));
        ip(u"link del wg7"_s);
    }
};

QTEST_GUILESS_MAIN(NetworkFindingsTest)
#include "network_findings_test.moc"
